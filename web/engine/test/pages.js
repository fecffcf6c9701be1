// A page in Debian's chromium, served by a static server on loopback, with or without the headers that threads need.
import { createServer } from "node:http";
import { chromium } from "playwright-core";
import sirv from "sirv";

const ENGINE = new URL("..", import.meta.url).pathname;
const ISOLATION = { "Cross-Origin-Opener-Policy": "same-origin", "Cross-Origin-Embedder-Policy": "require-corp" };

export async function openBrowser() {
    return chromium.launch({
        executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
        args: ["--no-sandbox"],
    });
}

// A page with nothing in it but `createDral`; `close` ends it and its server.
export async function openPage(browser, { isolated }) {
    const setHeaders = (response) => {
        for (const [name, value] of Object.entries(isolated ? ISOLATION : {})) response.setHeader(name, value);
    };
    const server = createServer(sirv(ENGINE, { dev: true, setHeaders }));
    await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
    const page = await browser.newPage();
    page.on("console", (message) => console.error(`page: ${message.text()}`));
    await page.goto(`http://127.0.0.1:${server.address().port}/test/empty.html`);
    await page.evaluate(async () => {
        const { createDral } = await import("/dral.js");
        // One engine at a time, and what tests ask of it.
        window.start = async (options) => {
            const dral = (window.dral = await createDral(options));
            dral.lines = [];
            dral.watchers = [];
            dral.onLine = (line) => {
                dral.lines.push(line);
                for (const watcher of dral.watchers.splice(0)) watcher();
            };
            return dral.threads;
        };
        // The next line from line `from` on that begins so, and its number.
        window.until = async (start, from = 0) => {
            for (let i = from; ; ++i) {
                while (i >= dral.lines.length) await new Promise((resolve) => dral.watchers.push(resolve));
                if (dral.lines[i].startsWith(start)) return [dral.lines[i], i];
            }
        };
    });
    return {
        page,
        close: async () => {
            await page.close();
            server.close();
        },
    };
}
