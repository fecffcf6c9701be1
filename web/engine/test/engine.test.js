// Both builds in a real browser, as a page uses them. Needs engine/build.sh to have run.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { after, before, describe, test } from "node:test";
import { openBrowser, openPage } from "./pages.js";

const SIGNATURE = readFileSync(new URL("../../../tests/bench_signature", import.meta.url), "utf8").trim();
const TABLES = ["KQvK.rtbw", "KQvK.rtbz"].map((name) => [
    name,
    [...readFileSync(new URL(`../../../tests/data/syzygy/${name}`, import.meta.url))],
]);

const PAGES = [
    { name: "isolated page, with threads", isolated: true, threads: true },
    { name: "isolated page, threads not wanted", isolated: true, options: { threads: false }, threads: false },
    { name: "page without the headers", isolated: false, threads: false },
];

let browser;
before(async () => (browser = await openBrowser()));
after(() => browser.close());

for (const { name, isolated, options = {}, threads } of PAGES) {
    describe(name, { timeout: 120000 }, () => {
        let page, close;
        before(async () => ({ page, close } = await openPage(browser, { isolated })));
        after(() => close());

        const evaluate = (procedure, argument) => page.evaluate(procedure, argument);
        const start = async (more = {}) =>
            assert.equal(await evaluate((all) => window.start(all), { ...options, ...more }), threads);

        test("searches as many nodes as anywhere", async () => {
            await start({ args: ["bench", "8"] });
            const ended = evaluate(() => new Promise((resolve) => (dral.onEnd = () => resolve(dral.lines))));
            assert.match((await ended).at(-1), new RegExp(`^${SIGNATURE} nodes \\d+ nps$`));
        });

        test("starts and stops fifty times, and loses no line", async () => {
            await start();
            const lines = await evaluate(async () => {
                dral.send("uci");
                await until("uciok");
                for (let i = 0; i < 50; ++i) {
                    const from = dral.lines.length;
                    dral.send("go infinite");
                    // At once, or with a search under way.
                    if (i % 2 === 1) await until("info depth", from);
                    dral.send("stop");
                    await until("bestmove", from);
                }
                dral.send("isready");
                await until("readyok");
                return dral.lines;
            });
            assert.equal(lines.filter((line) => line.startsWith("bestmove ")).length, 50);
            assert.equal(lines.filter((line) => line.startsWith("option name ")).length > 20, true);
            assert.equal(lines.at(-1), "readyok");
        });

        test("answers and obeys during a search", async () => {
            await start();
            const { waited, lines } = await evaluate(async () => {
                dral.send("uci");
                dral.send("setoption name Hash value 4");
                dral.send("go infinite");
                await until("info depth 9");
                const asked = performance.now();
                let waited = 0;
                for (let i = 0; i < 20; ++i) {
                    const from = dral.lines.length;
                    dral.send("isready");
                    await until("readyok", from);
                    waited = performance.now() - asked;
                }
                dral.send("setoption name MultiPV value 3");
                dral.send("stop");
                const from = (await until("bestmove"))[1];
                dral.send("go depth 6");
                await until("bestmove", from + 1);
                return { waited, lines: dral.lines.slice(from + 1) };
            });
            assert.equal(lines.some((line) => / multipv 3 /.test(line)), true);
            assert.ok(waited < 2000, `20 answers took ${waited} ms`);
        });

        test("keeps its time", async () => {
            await start();
            const ms = await evaluate(async () => {
                dral.send("uci");
                dral.send("isready");
                await until("readyok");
                const from = performance.now();
                dral.send("go movetime 500");
                await until("bestmove");
                return performance.now() - from;
            });
            assert.ok(ms > 300 && ms < 900, `${ms} ms`);
        });

        test("reads books from memory and from the person's files", async () => {
            await start();
            const moves = await evaluate(async () => {
                // 1. a4 in the starting position, as the only move of a book.
                const key = [0x46, 0x3b, 0x96, 0x18, 0x16, 0x91, 0xfc, 0x9c];
                const bytes = Uint8Array.of(...key, 0x02, 0x18, 0, 1, 0, 0, 0, 0);
                dral.send("uci");
                dral.send("setoption name OwnBook value true");
                const moves = [];
                for (const content of [bytes, new File([bytes], "other"), new Blob([bytes])]) {
                    const path = await dral.addFile("one.bin", content);
                    dral.send(`setoption name OwnBook_File value ${path}`);
                    dral.send("position startpos");
                    const from = dral.lines.length;
                    dral.send("go depth 1");
                    moves.push((await until("bestmove", from))[0].split(" ")[1]);
                }
                return moves;
            });
            assert.deepEqual(moves, ["a2a4", "a2a4", "a2a4"]);
        });

        test("reads tablebases", async () => {
            await start();
            const hits = await evaluate(async (files) => {
                for (const [name, bytes] of files) await dral.addFile(name, new File([Uint8Array.from(bytes)], name));
                dral.send("uci");
                dral.send("setoption name SyzygyPath value /files");
                dral.send("position fen 8/8/8/8/3k4/8/8/KQ6 w - - 0 1");
                dral.send("go depth 6");
                await until("bestmove");
                return dral.lines.map((line) => Number(/ tbhits (\d+)/.exec(line)?.[1] ?? 0));
            }, TABLES);
            assert.ok(Math.max(...hits) > 0);
        });

        test("ends by the word and by the call", async () => {
            await start();
            const ended = () => evaluate(() => new Promise((resolve) => (dral.onEnd = () => resolve(true))));
            const word = ended();
            await evaluate(() => dral.send("quit"));
            assert.equal(await word, true);
            await start();
            const call = ended();
            await evaluate(() => (dral.send("go infinite"), dral.quit()));
            assert.equal(await call, true);
        });
    });
}
