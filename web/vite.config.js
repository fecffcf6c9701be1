// The page's build: relative addresses, so that any folder of any server works; the engine beside it as it is.
import { createHash } from "node:crypto";
import { cpSync, existsSync, readFileSync, readdirSync, statSync, writeFileSync } from "node:fs";
import { join, relative } from "node:path";
import { fileURLToPath } from "node:url";
import { defineConfig } from "vite";

const root = fileURLToPath(new URL(".", import.meta.url));

function filesUnder(folder) {
    return readdirSync(folder).flatMap((name) => {
        const path = join(folder, name);
        return statSync(path).isDirectory() ? filesUnder(path) : [path];
    });
}

// What is part of the page is named there with its terms, and so are the drawings of the pieces.
function licences() {
    const modules = join(root, "node_modules");
    const parts = ["cm-chessboard", "chess.js", "uplot"].map((name) => {
        return `${name}\n\n${readFileSync(join(modules, name, "LICENSE"), "utf8").trim()}\n`;
    });
    const pieces = readFileSync(join(modules, "cm-chessboard", "assets", "pieces", "standard.svg"), "utf8");
    const terms = pieces.slice(pieces.indexOf("<!--") + 4, pieces.indexOf("-->")).trim();
    const own = readFileSync(join(root, "..", "LICENSE"), "utf8").trim();
    return [`Dral\n\n${own}\n`, ...parts, `The drawings of the pieces\n\n${terms}\n`].join(`\n${"=".repeat(78)}\n\n`);
}

// The engine finds its own parts by their places, so it is copied, not bundled.
function copyEngine(dist) {
    const engine = join(root, "engine");
    if (!existsSync(engine)) return;
    for (const name of ["dral.js", "dral.d.ts", "worker.js", "build"]) {
        const from = join(engine, name);
        if (existsSync(from)) cpSync(from, join(dist, "engine", name), { recursive: true });
    }
}

// Tells the service worker what to keep, and gives it a new name whenever any of it is new.
function writeServiceWorker(dist) {
    const files = filesUnder(dist)
        .filter((path) => !/(sw\.js|report\.html)$/.test(path) && !path.endsWith(".d.ts"))
        .sort();
    const hash = createHash("sha256");
    for (const path of files) hash.update(relative(dist, path)).update(readFileSync(path));
    // Of the engine's two builds a browser runs one; the worker keeps that when it is loaded.
    const names = files.map((path) => relative(dist, path).replaceAll("\\", "/"));
    const first = names.filter((name) => !name.startsWith("engine/build/"));
    const text = readFileSync(join(root, "src", "sw.js"), "utf8")
        .replace('"VERSION"', JSON.stringify(hash.digest("hex").slice(0, 16)))
        .replace('["FILES"]', JSON.stringify(["./", ...first]));
    writeFileSync(join(dist, "sw.js"), text);
}

// The same page in one file, without the engine, with a place for what it is to show: an object of name and text as
// JSON, every "<" in it written as \u003c. Where scripts may only be this page's own, its code is named by its hash.
function writeReport(dist) {
    const page = readFileSync(join(dist, "index.html"), "utf8");
    const asset = (pattern) => readFileSync(join(dist, pattern.exec(page)[1]), "utf8");
    const code = asset(/<script type="module"[^>]* src="\.\/([^"]+)"/).replaceAll("</script", "<\\/script");
    const style = asset(/<link rel="stylesheet"[^>]* href="\.\/([^"]+)"/);
    const hash = createHash("sha256").update(code).digest("base64");
    const policy = `default-src 'none'; script-src 'sha256-${hash}'; style-src 'unsafe-inline'; img-src data:; base-uri 'none'`;
    const text = page
        .replace(/<script type="module"[^>]*><\/script>/, "")
        .replace(/<link rel="stylesheet"[^>]*>/, () => `<style>${style}</style>`)
        .replace(/(http-equiv="Content-Security-Policy" content=")[^"]*/, (_, start) => start + policy)
        .replace(
            "</body>",
            () =>
                `<script type="application/json" id="report-data">null</script>\n<script type="module">${code}</script>\n</body>`,
        );
    const terms = licences().replaceAll("--", "- -");
    writeFileSync(join(dist, "report.html"), `${text}<!--\n${terms}-->\n`);
}

const finish = {
    name: "dral-finish",
    apply: "build",
    closeBundle() {
        const dist = join(root, "dist");
        copyEngine(dist);
        writeFileSync(join(dist, "licences.txt"), licences());
        writeReport(dist);
        writeServiceWorker(dist);
    },
};

export default defineConfig({
    root,
    base: "./",
    publicDir: "public",
    build: { outDir: "dist", emptyOutDir: true, target: "es2022", modulePreload: { polyfill: false } },
    plugins: [finish],
});
