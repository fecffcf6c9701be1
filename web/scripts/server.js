// Serves the built page on this machine, with the headers that let a page use threads.
import { createServer } from "node:http";
import { fileURLToPath } from "node:url";
import sirv from "sirv";

const HEADERS = {
    "Cross-Origin-Opener-Policy": "same-origin",
    "Cross-Origin-Embedder-Policy": "require-corp",
    "Cross-Origin-Resource-Policy": "same-origin",
    "Cache-Control": "no-cache",
};

// Resolves to { server, url }. `before(request, response)` may answer a request itself, and returns true when it does.
// Without `isolate` it is a server that knows nothing of threads. Port 0: any free one.
export function serve({ folder, port = 0, isolate = true, before = () => false }) {
    const setHeaders = (response) => {
        if (isolate) for (const [name, value] of Object.entries(HEADERS)) response.setHeader(name, value);
    };
    const files = sirv(folder, { dev: true, setHeaders });
    const server = createServer((request, response) => {
        if (before(request, response)) return;
        files(request, response, () => {
            response.statusCode = 404;
            response.end("not found");
        });
    });
    return new Promise((resolve, reject) => {
        server.on("error", reject);
        server.listen(port, "127.0.0.1", () => resolve({ server, url: `http://127.0.0.1:${server.address().port}/` }));
    });
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
    const folder = fileURLToPath(new URL("../dist", import.meta.url));
    const { url } = await serve({ folder, port: Number(process.argv[2] ?? 8017) });
    console.log(`Dral is at ${url}`);
}
