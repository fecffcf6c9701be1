// Finds the engine and starts it. It lies beside the page and is loaded from there as it is.

const RELOADED = "dral-isolated";

const PATIENCE = 5000; // milliseconds

// The engine is loaded through the service worker, so that it is there without a network, too. Only an isolated page
// may have threads: where the server does not send the headers for that, the worker adds them from the second load on;
// so the page loads once more, by itself, and never twice.
export async function registerWorker() {
    if (!("serviceWorker" in navigator) || !window.isSecureContext || !location.protocol.startsWith("http")) return;
    try {
        const workers = navigator.serviceWorker;
        const controlled = new Promise((resolve) =>
            workers.addEventListener("controllerchange", resolve, { once: true }),
        );
        await workers.register("./sw.js");
        if (!workers.controller)
            await Promise.race([controlled, new Promise((resolve) => setTimeout(resolve, PATIENCE))]);
        if (window.crossOriginIsolated || !workers.controller || sessionStorage.getItem(RELOADED)) return;
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
