// Keeps the page, and of the engine the build that this browser runs, for times without a network, and adds the headers
// that an engine with threads needs, whatever server the page comes from. The build fills in the version and the list.
const CACHE = "dral-" + "VERSION";
const FILES = ["FILES"];

self.addEventListener("install", (event) => {
    event.waitUntil(
        caches
            .open(CACHE)
            .then((cache) => cache.addAll(FILES.map((name) => new Request(name, { cache: "no-cache" }))))
            .then(() => self.skipWaiting()),
    );
});

async function takeOver() {
    for (const name of await caches.keys()) if (name.startsWith("dral-") && name !== CACHE) await caches.delete(name);
    await self.clients.claim();
}

self.addEventListener("activate", (event) => event.waitUntil(takeOver()));

function isolated(response) {
    if (response.status === 0) return response;
    const headers = new Headers(response.headers);
    headers.set("Cross-Origin-Opener-Policy", "same-origin");
    headers.set("Cross-Origin-Embedder-Policy", "require-corp");
    headers.set("Cross-Origin-Resource-Policy", "same-origin");
    return new Response(response.body, { status: response.status, statusText: response.statusText, headers });
}

async function answer(request) {
    const cache = await caches.open(CACHE);
    const kept = await cache.match(request, { ignoreSearch: request.mode === "navigate" });
    if (kept) return isolated(kept);
    const response = await fetch(request);
    if (response.ok && new URL(request.url).pathname.includes("/engine/build/"))
        await cache.put(request, response.clone());
    return isolated(response);
}

self.addEventListener("fetch", (event) => {
    const { request } = event;
    if (request.method !== "GET" || new URL(request.url).origin !== self.location.origin) return;
    event.respondWith(answer(request));
});
