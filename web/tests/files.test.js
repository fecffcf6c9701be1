// Files that are dropped on the page, hostile ones among them.
import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import { clickMove, drop, fen, openPage } from "./browser.js";

let tab, page;

before(async () => {
    tab = await openPage();
    page = tab.page;
});
after(() => tab?.close());

const hasFen = (start) =>
    page.waitForFunction((f) => document.getElementById("fen").value.startsWith(f), start, { timeout: 5000 });
// Files are read in the background: what is seen of them comes a little later.
const isSeen = (selector, pattern) =>
    page.waitForFunction(
        ([of, source]) => new RegExp(source, "s").test(document.querySelector(of)?.textContent ?? ""),
        [selector, pattern.source],
    );
// A message, which is gone then, so that the next one is no old one.
async function isTold(pattern) {
    await isSeen("#message", pattern);
    await page.evaluate(() => (document.getElementById("message").textContent = ""));
}

test("five hundred games are listed at once, found and opened", async () => {
    const games = Array.from(
        { length: 500 },
        (_, i) =>
            `[Event "Match"]\n[White "W${i}"]\n[Black "B${i}"]\n[Result "1-0"]\n\n1. e4 {[%clk 0:01]} e5 (1... c5 2. Nf3 (2. c3)) 2. Nf3 $1 Nc6 3. Bb5 a6 1-0\n`,
    );
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
        '[__proto__ "x"]\n[constructor "y"]\n\n1. e4 e5 *',
    ];
    for (const text of hostile) {
        await drop(page, `${MARKUP}.pgn`, text);
        await page.waitForSelector("#viewer .list button", { timeout: 20000 });
        assert.equal(await page.evaluate(() => document.querySelectorAll("img, b, main script").length), 0);
    }
    await drop(page, "first.pgn", hostile[0]);
    assert.match(await page.textContent("#game-title"), /<img src=x onerror=/);
    assert.match(await page.textContent("#moves"), /<script>window\.broken=1<\/script>/);
    for (const text of [
        "\u0000".repeat(1e7),
        "8/8/8/8/8/8/8/8 w - - 0 1",
        "k7/8/8/8/8/8/8/K6R b - - 0 1".repeat(3e5),
        MARKUP,
        "4k3/8/8/8/8/8/8/4R1K1 w - - 0 1",
    ]) {
        await page.evaluate((t) => (document.getElementById("fen").value = t), text);
        await page.press("#fen", "Enter");
        await isTold(/no position/);
    }
    assert.equal(await page.evaluate(() => window.broken), undefined);
    await page.click("#new-game");
    await clickMove(page, "e2e4");
    await hasFen("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b");
});

const HEADING =
    "id fen verdict move expected score depth seconds nodes first_seconds first_nodes last_seconds last_nodes".split(
        " ",
    );

test("the files of the tools are known by their content", async () => {
    const run = (...verdicts) =>
        [
            HEADING,
            ...verdicts.map((verdict, i) => [
                `P.${i}`,
                `8/8/8/8/8/k7/8/K${i}R${5 - i} w - -`,
                verdict,
                "Rb1",
                "bm Rb1",
                "1",
                "5",
                "0.1",
                "10",
                ...(verdict === "right" ? ["0.1", "5", "0.1", "5"] : ["", "", "", ""]),
            ]),
        ]
            .map((row) => row.join("\t"))
            .join("\n") + "\n";
    await drop(page, "a", run("right", "wrong", "wrong"));
    await drop(page, "b", run("wrong", "right", "wrong"));
    await isSeen("#changes", /^1 won, 1 lost, 0 right in both, 1 wrong in both/);
    await drop(
        page,
        "c",
        "tuning file is x\n\npass= 0, k0= 1e3\n** p1 = 5\nerr= 0.3\n\npass= 1, k0= 1e3\n** p1 = 7\nerr= 0.2\n",
    );
    await isSeen("#viewer", /2 passes, 1 weights, error 0\.3 to 0\.2.*p1572?/s);
    await drop(page, "d", "ngames= 0\n * p1 :  10.0    9\nngames= 6\n * p1 :  12.0   14\n");
    await isSeen("#viewer", /6 games, 1 weights.*1012/s);
    const game = (white, black, result) =>
        `[Event selfplay]\n[Game 1]\n[White "${white}"]\n[Black "${black}"]\n[Result "${result}"]\ne2e4 {0.16/2}   e7e5 {-0.17/2}\n\n`;
    await drop(page, "e", game("Player1", "Player2", "1-0") + game("Player2", "Player1", "1-0"));
    await isSeen("#balance", /won 1, drew 0, lost 1: 50\.0 \u00b1 70\.7 percent/);
    await drop(page, "f", "nothing of ours");
    await isTold(/neither games nor a file/);
});

test("nothing of it has asked for anything, or failed", () => {
    assert.deepEqual(
        tab.requests.filter((url) => !url.startsWith(tab.url) && !/^(blob|data):/.test(url)),
        [],
    );
    assert.deepEqual(tab.errors, []);
});
