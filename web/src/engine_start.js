// Finds the engine and starts it. It lies beside the page and is loaded from there as it is.

const RELOADED = "dral-isolated";

// Only an isolated page may have threads. Where the server does not send the headers for that, the service worker adds them,
// from the second load on; so the page loads once more, by itself, and never twice.
export async function registerWorker() {
    if (!("serviceWorker" in navigator) || !window.isSecureContext || !location.protocol.startsWith("http")) return;
    try {
        await navigator.serviceWorker.register("./sw.js");
        if (window.crossOriginIsolated || sessionStorage.getItem(RELOADED)) return;
        await navigator.serviceWorker.ready;
        sessionStorage.setItem(RELOADED, "1");
        location.reload();
        await new Promise(() => {});
    } catch {
        // It works without: on line, and with one thread.
    }
}

export async function startEngine() {
    const place = new URL("./engine/dral.js", document.baseURI).href;
    const { createDral } = await import(/* @vite-ignore */ place);
    return createDral({ threads: "try" });
}
