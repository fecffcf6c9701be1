// The page in a real browser: what a person does with it, and what a hostile file does not.
import assert from "node:assert/strict";
import { mkdtempSync, readFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, beforeEach, test } from "node:test";
import { clickMove, clickSquare, drop, fen, openPage } from "./browser.js";

const START = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";
let tab, page;

before(async () => {
    tab = await openPage();
    page = tab.page;
});
after(() => tab?.close());
beforeEach(async () => {
    await page.click("#new-game");
    await page.click("#tab-analysis");
});

async function setFen(text) {
    await page.fill("#fen", text);
    await page.press("#fen", "Enter");
}
const hasFen = (start) =>
    page.waitForFunction((f) => document.getElementById("fen").value.startsWith(f), start, { timeout: 5000 });
const standing = () => page.textContent("#standing");
const message = () => page.textContent("#message");
async function play(moves) {
    for (const move of moves) {
        const old = await fen(page);
        await clickMove(page, move);
        await page.waitForFunction((f) => document.getElementById("fen").value !== f, old, { timeout: 5000 });
    }
}

test("a game is played to mate by clicks, with legal moves only", async () => {
    for (const refused of ["e2e5", "e1e2", "e7e5"]) await clickMove(page, refused);
    assert.equal(await fen(page), START);
    await play(["f2f3", "e7e5", "g2g4", "d8h4"]);
    assert.equal(await standing(), "Checkmate, Black wins");
    await clickMove(page, "a2a3");
    assert.match(await fen(page), /^rnb1kbnr\/pppp1ppp\/8\/4p3\/6Pq\/5P2\/PPPPP2P\/RNBQKBNR w/);
    await page.click("#take-back");
    await hasFen("rnbqkbnr/pppp1ppp/8/4p3/6P1/5P2/PPPPP2P/RNBQKBNR b");
});

test("moves by dragging, by typing and by keys on the board", async () => {
    const box = await page.locator("#board svg.cm-chessboard").boundingBox();
    const at = (file, rank) => [box.x + ((file + 0.5) * box.width) / 8, box.y + ((7.5 - rank) * box.height) / 8];
    await page.mouse.move(...at(4, 1));
    await page.mouse.down();
    await page.mouse.move(...at(4, 2), { steps: 4 });
    await page.mouse.move(...at(4, 3), { steps: 4 });
    await page.mouse.up();
    await hasFen("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b");
    for (const typed of ["Nc6", "d2d4"]) {
        await page.fill("#move-entry", typed);
        await page.press("#move-entry", "Enter");
    }
    await hasFen("r1bqkbnr/pppppppp/2n5/8/3PP3/8/PPP2PPP/RNBQKBNR b");
    await page.fill("#move-entry", "Ke7");
    await page.press("#move-entry", "Enter");
    assert.match(await message(), /^Ke7 is no legal move here/);
    await page.keyboard.press("Escape");
    await page.click("h1");
    for (const key of ["Home", "ArrowRight"]) await page.keyboard.press(key);
    await hasFen("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b");
});

test("the promoted piece is chosen, and the board turns", async () => {
    await setFen("8/4P1k1/8/8/8/8/8/4K3 w - - 0 1");
    await clickMove(page, "e7e8");
    await page.click('.promotion-dialog-button[data-piece="wn"]');
    await hasFen("4N3/6k1/8/8/8/8/8/4K3 b");
    await page.click("#flip");
    await clickMove(page, "g7f8", "b");
    await hasFen("4Nk2/8/8/8/8/8/8/4K3 w");
    await page.click("#flip");
});

test("analysis that is begun anew fifty times shows lines of its own position only", async () => {
    await page.selectOption("#lines", "5");
    await page.click("#analyse");
    const moves = "e2e4 e7e5 g1f3 b8c6 f1b5".split(" ");
    for (const move of moves) {
        await page.fill("#move-entry", move);
        await page.press("#move-entry", "Enter");
    }
    for (let i = 0; i < 50; ++i) await page.click(`[data-step=${["first", "last", "back", "on"][i % 4]}]`);
    await page.click("[data-step=last]");
    await page.waitForFunction(() => document.querySelectorAll("#lines-list li").length === 5, null, {
        timeout: 10000,
    });
    const lines = await page.$$eval("#lines-list li", (items) => items.map((item) => item.textContent));
    for (const line of lines) assert.match(line, /^[+-]?\d+\.\d\d3\.\.\.[a-hNBRQKO]/, line);
    assert.equal(new Set(lines.map((line) => line.replace(/^[^.]*\.\d\d3\.\.\./, "").split(/\d/)[0])).size > 1, true);
    assert.match(await page.textContent("#search-state"), /^Depth \d+\/\d+, .* nodes\/s/);
    await page.click("#lines-list li:first-child .move");
    await page.waitForSelector("#line-note:not([hidden])");
    await page.click("#leave-line");
    await page.click("#analyse");
    await page.click("#terms summary");
    await page.waitForFunction(() => document.querySelectorAll("#terms tbody tr").length === 9, null, {
        timeout: 5000,
    });
    await page.click("#terms summary");
});

test("a game against Dral: it answers, loses by mate, and its clock runs", async () => {
    await setFen("6k1/5ppp/8/8/8/8/r4PPP/1R4K1 w - - 0 1");
    await page.click("#tab-play");
    await page.selectOption("#play-from", "here");
    await page.fill("#minutes", "1");
    await page.click("#play-start");
    await clickMove(page, "b1b8");
    await page.waitForFunction(() =>
        document.getElementById("standing").textContent.startsWith("Checkmate, White wins"),
    );
    assert.match(await page.textContent("#play-state"), /^Checkmate, White wins\. 1-0/);
    await page.selectOption("#play-from", "start");
    await page.selectOption("#play-side", "b");
    await page.click("#play-start");
    await page.waitForFunction(() => document.getElementById("fen").value.includes(" b "), null, { timeout: 20000 });
    const clock = await page.textContent("#player-bottom .clock");
    await page.waitForFunction((old) => document.querySelector("#player-bottom .clock").textContent !== old, clock, {
        timeout: 3000,
    });
    await page.click("#resign");
    assert.match(await page.textContent("#play-state"), /^You resigned\. 1-0/);
    await page.selectOption("#play-side", "w");
    await page.click("#flip");
});

const data = (name) => new URL(`../../tests/data/${name}`, import.meta.url).pathname;

test(
    "a book and tables are taken from the person's own files",
    { skip: Boolean(process.env.DRAL_NATIVE) },
    async () => {
        await page.click("#engine-settings summary");
        await page.setInputFiles(
            "#table-files",
            ["KPvK.rtbw", "KPvK.rtbz"].map((name) => data(`syzygy/${name}`)),
        );
        await page.waitForFunction(() => /^Tables: 2 files/.test(document.getElementById("own-files").textContent));
        await setFen("8/8/8/8/8/1k6/1P6/2K5 w - - 0 1");
        await page.click("#analyse");
        await page.waitForFunction(() => /table hits/.test(document.getElementById("search-state").textContent), null, {
            timeout: 10000,
        });
        await page.click("#analyse");
        await page.setInputFiles("#book-file", data("polyglot/performance.bin"));
        await page.waitForFunction(() =>
            /^Book: performance\.bin/.test(document.getElementById("own-files").textContent),
        );
        await page.click("#engine-settings summary");
        await page.click("#tab-play");
        await page.selectOption("#play-side", "b");
        await page.selectOption("#play-from", "start");
        await page.fill("#elo", "2939");
        await page.fill("#minutes", "180"); // without a book the move would take more than a minute
        await page.click("#play-start");
        await page.waitForFunction(() => document.getElementById("fen").value.includes(" b "), null, { timeout: 5000 });
        await page.click("#resign");
        await page.selectOption("#play-side", "w");
        await page.click("#flip");
    },
);

const dialogue = readFileSync(new URL("../../tests/dialogues/tools_review.txt", import.meta.url), "utf8");

test("a game gone through has the accuracy that the engine's own review writes", async () => {
    const summary = dialogue.replace(/\n\| /g, " ").replaceAll("%%", "%");
    const side = (name) =>
        new RegExp(
            `${name}: accuracy ([\\d.]+) %, average loss (\\d+), (\\d+) inaccurac\\w+, (\\d+) mistakes?, (\\d+) blunder`,
        )
            .exec(summary)
            .slice(1);
    await drop(page, "game.pgn", "1. e4 c5 2. c4 Nc6 3. Ne2 Nf6 4. Nbc3 Nb4 5. g3 Nd3 0-1");
    await page.fill("#review-depth", "5");
    await page.click("#review-start");
    await page.waitForSelector("#accuracy", { timeout: 30000 });
    const rows = await page.$$eval("#accuracy tbody tr", (trs) =>
        trs.map((tr) => [...tr.children].slice(2).map((td) => td.textContent.replace(" %", ""))),
    );
    assert.deepEqual(rows, [side("White"), side("Black")]);
    assert.match(await page.textContent("#review-summary"), /Turning point: 5\. g3 \(White's chances 59 to 0 percent/);
    assert.match(await page.textContent("#moves"), /5\.g3\?\?.*5\.\.\.Nd3#!/);
});

test("memory does not grow with the positions that are analysed", async () => {
    const session = await tab.context.newCDPSession(page);
    const used = async () => {
        await session.send("HeapProfiler.collectGarbage");
        const { usedSize } = await session.send("Runtime.getHeapUsage");
        return { bytes: usedSize, nodes: await page.evaluate(() => document.getElementsByTagName("*").length) };
    };
    await page.click("#analyse");
    const walk = async (count) => {
        for (let i = 0; i < count; ++i) {
            await setFen(`4k3/8/8/8/8/8/${i % 7}P${6 - (i % 7)}/${["K7", "4K3"][i % 2]} w - - 0 ${i + 1}`);
            await page.waitForSelector("#lines-list li");
        }
    };
    await walk(15);
    const early = await used();
    await walk(100);
    const late = await used();
    await page.click("#analyse");
    assert.ok(late.bytes - early.bytes < 1e6, `${early.bytes} to ${late.bytes} bytes`);
    assert.ok(late.nodes - early.nodes < 50, `${early.nodes} to ${late.nodes} elements`);
});

test("nothing leaves the page, and nothing has failed in it", () => {
    assert.deepEqual(
        tab.requests.filter((url) => !url.startsWith(tab.url) && !/^(blob|data):/.test(url)),
        [],
    );
    assert.deepEqual(tab.errors, []);
});

test("no width needs sideways scrolling, in neither scheme", async () => {
    const folder = mkdtempSync(join(tmpdir(), "dral-page-"));
    for (const width of [390, 768, 1280]) {
        for (const colorScheme of ["light", "dark"]) {
            await page.setViewportSize({ width, height: 900 });
            await page.emulateMedia({ colorScheme });
            await page.screenshot({ path: join(folder, `${width}-${colorScheme}.png`), fullPage: true });
            assert.ok((await page.evaluate(() => document.documentElement.scrollWidth)) <= width, `${width}`);
        }
    }
    console.log(`# pictures are in ${folder}`);
    await page.setViewportSize({ width: 1280, height: 900 });
});
