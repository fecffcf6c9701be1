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
const hasFen = (start) => page.waitForFunction((f) => document.getElementById("fen").value.startsWith(f), start, { timeout: 5000 });
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
    await page.waitForFunction(() => document.querySelectorAll("#lines-list li").length === 5, null, { timeout: 10000 });
    const lines = await page.$$eval("#lines-list li", (items) => items.map((item) => item.textContent));
    for (const line of lines) assert.match(line, /^[+-]?\d+\.\d\d3\.\.\.[a-hNBRQKO]/, line);
    assert.equal(new Set(lines.map((line) => line.replace(/^[^.]*\.\d\d3\.\.\./, "").split(/\d/)[0])).size > 1, true);
    assert.match(await page.textContent("#search-state"), /^Depth \d+\/\d+, .* nodes\/s/);
    await page.click("#lines-list li:first-child .move");
    await page.waitForSelector("#line-note:not([hidden])");
    await page.click("#leave-line");
    await page.click("#analyse");
    await page.click("#terms summary");
    await page.waitForFunction(() => document.querySelectorAll("#terms tbody tr").length === 9, null, { timeout: 5000 });
    await page.click("#terms summary");
});

test("a game against Dral: it answers, loses by mate, and its clock runs", async () => {
    await setFen("6k1/5ppp/8/8/8/8/r4PPP/1R4K1 w - - 0 1");
    await page.click("#tab-play");
    await page.selectOption("#play-from", "here");
    await page.fill("#minutes", "1");
    await page.click("#play-start");
    await clickMove(page, "b1b8");
    await page.waitForFunction(() => document.getElementById("standing").textContent.startsWith("Checkmate, White wins"));
    assert.match(await page.textContent("#play-state"), /^Checkmate, White wins\. 1-0/);
    await page.selectOption("#play-from", "start");
    await page.selectOption("#play-side", "b");
    await page.click("#play-start");
    await page.waitForFunction(() => document.getElementById("fen").value.includes(" b "), null, { timeout: 20000 });
    const clock = await page.textContent("#player-bottom .clock");
    await page.waitForFunction((old) => document.querySelector("#player-bottom .clock").textContent !== old, clock, { timeout: 3000 });
    await page.click("#resign");
    assert.match(await page.textContent("#play-state"), /^You resigned\. 1-0/);
    await page.selectOption("#play-side", "w");
    await page.click("#flip");
});

const data = (name) => new URL(`../../tests/data/${name}`, import.meta.url).pathname;

test("a book and tables are taken from the person's own files", { skip: Boolean(process.env.DRAL_NATIVE) }, async () => {
    await page.click("#engine-settings summary");
    await page.setInputFiles("#table-files", ["KPvK.rtbw", "KPvK.rtbz"].map((name) => data(`syzygy/${name}`)));
    await page.waitForFunction(() => /^Tables: 2 files/.test(document.getElementById("own-files").textContent));
    await setFen("8/8/8/8/8/1k6/1P6/2K5 w - - 0 1");
    await page.click("#analyse");
    await page.waitForFunction(() => /table hits/.test(document.getElementById("search-state").textContent), null, { timeout: 10000 });
    await page.click("#analyse");
    await page.setInputFiles("#book-file", data("polyglot/performance.bin"));
    await page.waitForFunction(() => /^Book: performance\.bin/.test(document.getElementById("own-files").textContent));
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
});

const dialogue = readFileSync(new URL("../../tests/dialogues/tools_review.txt", import.meta.url), "utf8");

test("a game gone through has the accuracy that the engine's own review writes", async () => {
    const summary = dialogue.replace(/\n\| /g, " ").replaceAll("%%", "%");
    const side = (name) =>
        new RegExp(`${name}: accuracy ([\\d.]+) %, average loss (\\d+), (\\d+) inaccurac\\w+, (\\d+) mistakes?, (\\d+) blunder`).exec(summary).slice(1);
    await drop(page, "game.pgn", "1. e4 c5 2. c4 Nc6 3. Ne2 Nf6 4. Nbc3 Nb4 5. g3 Nd3 0-1");
    await page.fill("#review-depth", "5");
    await page.click("#review-start");
    await page.waitForSelector("#accuracy", { timeout: 30000 });
    const rows = await page.$$eval("#accuracy tbody tr", (trs) => trs.map((tr) => [...tr.children].slice(2).map((td) => td.textContent.replace(" %", ""))));
    assert.deepEqual(rows, [side("White"), side("Black")]);
    assert.match(await page.textContent("#review-summary"), /Turning point: 5\. g3 \(White's chances 59 to 0 percent/);
    assert.match(await page.textContent("#moves"), /5\.g3\?\?.*5\.\.\.Nd3#!/);
});

test("five hundred games are listed at once, found and opened", async () => {
    const games = Array.from({ length: 500 }, (_, i) =>
        `[Event "Match"]\n[White "W${i}"]\n[Black "B${i}"]\n[Result "1-0"]\n\n1. e4 {[%clk 0:01]} e5 (1... c5 2. Nf3 (2. c3)) 2. Nf3 $1 Nc6 3. Bb5 a6 1-0\n`);
    const began = Date.now();
    await drop(page, "500.pgn", games.join("\n"));
    await page.waitForSelector("#viewer .list button");
    assert.ok(Date.now() - began < 2000);
    await page.fill("#viewer input[type=search]", "W499");
    await page.waitForFunction(() => document.querySelectorAll("#viewer .list button").length === 1);
    await page.click("#viewer .list button");
    await page.click("[data-step=last]");
    await hasFen("r1bqkbnr/1ppp1ppp/p1n5/1B2p3/4P3/5N2/PPPP1PPP/RNBQK2R w");
    await page.click("#moves .variation .move");
    await hasFen("rnbqkbnr/pp1ppppp/8/2p5/4P3/8/PPPP1PPP/RNBQKBNR w");
});

const MARKUP = '<img src=x onerror="window.broken=1"><script>window.broken=1</script>';

test("hostile games and positions are shown as text, and the page goes on", async () => {
    const tags = `[Event "${MARKUP.replaceAll('"', '\\"')}"]\n[White "<b>\u0000\u001b\u202e"]\n\n`;
    const hostile = [
        `${tags}1. e4 {${MARKUP}} e5 *`,
        tags + "(".repeat(1e7),
        tags + "1. e4 {" + "x".repeat(1e7),
        `${tags}1. e4 ${"(1. d4 ".repeat(1.4e6)}`,
        '[Event "' + "\\".repeat(1e7),
        '[Event "a"]\n\n*\n'.repeat(6e5),
        `[FEN "${MARKUP}"]\n\n1. e4 *`,
        "[__proto__ \"x\"]\n[constructor \"y\"]\n\n1. e4 e5 *",
    ];
    for (const text of hostile) {
        await drop(page, `${MARKUP}.pgn`, text);
        await page.waitForSelector("#viewer .list button", { timeout: 20000 });
        assert.equal(await page.evaluate(() => document.querySelectorAll("img, b, main script").length), 0);
    }
    await drop(page, "first.pgn", hostile[0]);
    assert.match(await page.textContent("#game-title"), /<img src=x onerror=/);
    assert.match(await page.textContent("#moves"), /<script>window\.broken=1<\/script>/);
    for (const text of ["\u0000".repeat(1e7), "8/8/8/8/8/8/8/8 w - - 0 1", "k7/8/8/8/8/8/8/K6R b - - 0 1".repeat(3e5), MARKUP, "4k3/8/8/8/8/8/8/4R1K1 w - - 0 1"]) {
        await page.evaluate((t) => (document.getElementById("fen").value = t), text);
        await page.press("#fen", "Enter");
        assert.match(await message(), /no position/);
    }
    assert.equal(await page.evaluate(() => window.broken), undefined);
    await page.click("#new-game");
    await play(["e2e4"]);
});

const HEADING = "id fen verdict move expected score depth seconds nodes first_seconds first_nodes last_seconds last_nodes".split(" ");

test("the files of the tools are known by their content", async () => {
    const run = (...verdicts) => [HEADING, ...verdicts.map((verdict, i) => [`P.${i}`, `8/8/8/8/8/k7/8/K${i}R${5 - i} w - -`, verdict, "Rb1", "bm Rb1", "1", "5",
        "0.1", "10", ...(verdict === "right" ? ["0.1", "5", "0.1", "5"] : ["", "", "", ""])])].map((row) => row.join("\t")).join("\n") + "\n";
    await drop(page, "a", run("right", "wrong", "wrong"));
    await drop(page, "b", run("wrong", "right", "wrong"));
    assert.match(await page.textContent("#changes"), /^1 won, 1 lost, 0 right in both, 1 wrong in both/);
    await drop(page, "c", "tuning file is x\n\npass= 0, k0= 1e3\n** p1 = 5\nerr= 0.3\n\npass= 1, k0= 1e3\n** p1 = 7\nerr= 0.2\n");
    assert.match(await page.textContent("#viewer"), /2 passes, 1 weights, error 0\.3 to 0\.2.*p1572?/s);
    await drop(page, "d", "ngames= 0\n * p1 :  10.0    9\nngames= 6\n * p1 :  12.0   14\n");
    assert.match(await page.textContent("#viewer"), /6 games, 1 weights.*1012/s);
    const game = (white, black, result) => `[Event selfplay]\n[Game 1]\n[White "${white}"]\n[Black "${black}"]\n[Result "${result}"]\ne2e4 {0.16/2}   e7e5 {-0.17/2}\n\n`;
    await drop(page, "e", game("Player1", "Player2", "1-0") + game("Player2", "Player1", "1-0"));
    assert.match(await page.textContent("#balance"), /won 1, drew 0, lost 1: 50\.0 \u00b1 70\.7 percent/);
    await drop(page, "f", "nothing of ours");
    assert.match(await message(), /neither games nor a file/);
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
    assert.deepEqual(tab.requests.filter((url) => !url.startsWith(tab.url) && !/^(blob|data):/.test(url)), []);
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
