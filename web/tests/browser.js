// A browser with the built page in it, for tests. The page talks to its own engine; where DRAL_NATIVE names a native
// program, to that, for work without the compiler for the browser.
import { existsSync } from "node:fs";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";
import { nativeBridge } from "../dev/bridge.js";
import { serve } from "../scripts/server.js";

export const DIST = fileURLToPath(new URL("../dist", import.meta.url));
const CHROMIUM = process.env.CHROMIUM ?? "/usr/bin/chromium";

// { page, context, requests, errors, close() }: an empty page, what it asks for, and what goes wrong in it.
export async function openBrowser({ viewport, colorScheme, touch = false, workers = true } = {}) {
    const browser = await chromium.launch({ executablePath: CHROMIUM, args: ["--no-sandbox"] });
    const context = await browser.newContext({
        viewport: viewport ?? { width: 1280, height: 900 },
        colorScheme,
        hasTouch: touch,
        reducedMotion: "reduce",
        serviceWorkers: workers ? "allow" : "block",
    });
    const page = await context.newPage();
    const requests = [];
    const errors = [];
    context.on("request", (request) => requests.push(request.url()));
    page.on("pageerror", (error) => errors.push(String(error)));
    page.on("console", (message) => message.type() === "error" && errors.push(message.text()));
    return { page, context, requests, errors, close: () => browser.close() };
}

// The same with the built page in it, ready, and its address `url`; stop() ends the server alone. `isolate`: the server
// sends the headers that threads need; `workers`: the page may have its service worker.
export async function openPage({ isolate = true, ...options } = {}) {
    if (!existsSync(DIST)) throw new Error("build the page first: npm run build");
    const native = process.env.DRAL_NATIVE;
    const { server, url } = await serve({ folder: DIST, isolate, before: native ? nativeBridge(native) : undefined });
    const stop = () => {
        server.closeAllConnections();
        return new Promise((resolve) => server.close(resolve));
    };
    const opened = await openBrowser(options);
    const close = async () => {
        await opened.close();
        await stop();
    };
    await opened.page.goto(url);
    await opened.page.waitForSelector("html[data-engine]", { timeout: 60000 });
    return { ...opened, url, stop, close };
}

// Drops a file on the page, as a person would.
export async function drop(page, name, text) {
    await page.evaluate(
        ([fileName, content]) => {
            const transfer = new DataTransfer();
            transfer.items.add(new File([content], fileName));
            dispatchEvent(new DragEvent("drop", { dataTransfer: transfer, cancelable: true }));
        },
        [name, text],
    );
}

// Clicks a square of the board, seen from White's side.
export async function clickSquare(page, square, seenFrom = "w") {
    const box = await page.locator("#board svg.cm-chessboard").boundingBox();
    const file = "abcdefgh".indexOf(square[0]);
    const rank = Number(square[1]) - 1;
    const [x, y] = seenFrom === "w" ? [file, 7 - rank] : [7 - file, rank];
    await page.mouse.click(box.x + ((x + 0.5) * box.width) / 8, box.y + ((y + 0.5) * box.height) / 8);
}

// The board passes over clicks while it moves pieces, which takes a few frames.
export const settled = (page) =>
    page.evaluate(async () => {
        for (let i = 0; i < 6; ++i) await new Promise((resolve) => requestAnimationFrame(resolve));
    });

export async function clickMove(page, move, seenFrom) {
    await settled(page);
    await clickSquare(page, move.slice(0, 2), seenFrom);
    await clickSquare(page, move.slice(2, 4), seenFrom);
}

export const fen = (page) => page.inputValue("#fen");
