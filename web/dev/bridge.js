// For work on the page only: lets it talk to a native engine. `node dev/bridge.js PROGRAM [PORT]` serves the built page
// so.
import { spawn } from "node:child_process";
import { readFileSync } from "node:fs";
import { createInterface } from "node:readline";
import { fileURLToPath } from "node:url";
import { serve } from "../scripts/server.js";

export function nativeBridge(program) {
    const engines = new Map();
    const lines = (id, request, response) => {
        const engine = spawn(program);
        engines.set(id, engine);
        response.writeHead(200, { "Content-Type": "text/event-stream" });
        response.flushHeaders();
        createInterface(engine.stdout).on("line", (line) => response.write(`data: ${JSON.stringify(line)}\n\n`));
        request.on("close", () => engine.kill());
    };
    return (request, response) => {
        const url = new URL(request.url, "http://localhost");
        const id = url.searchParams.get("id");
        if (url.pathname === "/engine/dral.js") {
            response.setHeader("Content-Type", "text/javascript");
            response.end(readFileSync(fileURLToPath(new URL("native.js", import.meta.url))));
        } else if (url.pathname === "/native/lines") {
            lines(id, request, response);
        } else if (url.pathname === "/native/send") {
            let body = "";
            request.on("data", (part) => (body += part));
            request.on("end", () => {
                engines.get(id)?.stdin.write(body + "\n");
                response.end();
            });
        } else {
            return false;
        }
        return true;
    };
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
    const folder = fileURLToPath(new URL("../dist", import.meta.url));
    const { url } = await serve({
        folder,
        port: Number(process.argv[3] ?? 8018),
        before: nativeBridge(process.argv[2]),
    });
    console.log(url);
}
