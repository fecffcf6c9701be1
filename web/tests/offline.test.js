// A server that knows of nothing, and then none: the page brings its own headers, and works without a network.
import assert from "node:assert/strict";
import test from "node:test";
import { clickMove, fen, openPage } from "./browser.js";

const skip = Boolean(process.env.DRAL_NATIVE);

test("threads without the server's help, little to load, and no network after that", { skip }, async () => {
    const tab = await openPage({ isolate: false });
    const { page } = tab;
    try {
        await page.waitForFunction(() => window.crossOriginIsolated);
        await page.waitForSelector("html[data-engine=threads]", { timeout: 60000 });
        const bytes = await page.evaluate(async () => {
            let sum = 0;
            for (const name of await caches.keys())
                for (const response of await (await caches.open(name)).matchAll()) sum += (await response.blob()).size;
            return sum;
        });
        assert.ok(bytes > 2e5 && bytes < 1.5e6, `${bytes} bytes kept`);
        await tab.stop();
        await page.reload();
        await page.waitForSelector("html[data-engine=threads]", { timeout: 60000 });
        await clickMove(page, "e2e4");
        await page.waitForFunction(() => document.getElementById("fen").value.includes(" b "));
        await page.click("#analyse");
        await page.waitForSelector("#lines-list li", { timeout: 10000 });
        assert.match(await fen(page), /^rnbqkbnr\/pppppppp\/8\/8\/4P3/);
        assert.deepEqual(tab.errors, []);
    } finally {
        await tab.close();
    }
});

test("where a page cannot be isolated, the build without threads plays and stops", { skip }, async () => {
    const { page, errors, close } = await openPage({ isolate: false, workers: false });
    try {
        assert.equal(await page.getAttribute("html", "data-engine"), "single");
        for (let i = 0; i < 5; ++i) {
            await page.click("#analyse");
            await page.waitForSelector("#lines-list li", { timeout: 10000 });
            await page.click("#analyse");
        }
        await page.click("#tab-play");
        await page.selectOption("#play-side", "b");
        await page.fill("#minutes", "1");
        await page.click("#play-start");
        await page.waitForFunction(() => document.getElementById("fen").value.includes(" b "), null, {
            timeout: 20000,
        });
        assert.deepEqual(errors, []);
    } finally {
        await close();
    }
});
