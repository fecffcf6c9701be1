// The page on a telephone: pieces are dragged with a finger.
import assert from "node:assert/strict";
import test from "node:test";
import { openPage } from "./browser.js";

test("a finger drags a piece", async () => {
    const { page, context, errors, close } = await openPage({ viewport: { width: 390, height: 844 }, touch: true });
    try {
        const box = await page.locator("#board svg.cm-chessboard").boundingBox();
        const at = (file, rank) => ({
            x: box.x + ((file + 0.5) * box.width) / 8,
            y: box.y + ((7.5 - rank) * box.height) / 8,
        });
        const session = await context.newCDPSession(page);
        const touch = (type, ...points) => session.send("Input.dispatchTouchEvent", { type, touchPoints: points });
        await touch("touchStart", at(6, 0));
        for (const rank of [0.5, 1, 1.5, 2]) await touch("touchMove", at(5.5, rank));
        await touch("touchMove", at(5, 2));
        await touch("touchEnd");
        await page.waitForFunction(() =>
            document.getElementById("fen").value.startsWith("rnbqkbnr/pppppppp/8/8/8/5N2/PPPPPPPP/RNBQKB1R b"),
        );
        assert.ok((await page.evaluate(() => document.documentElement.scrollWidth)) <= 390);
        assert.deepEqual(errors, []);
    } finally {
        await close();
    }
});
