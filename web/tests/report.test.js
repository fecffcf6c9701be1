// The page in one file, opened from a folder, without a server.
import assert from "node:assert/strict";
import { mkdtempSync, readFileSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import test from "node:test";
import { pathToFileURL } from "node:url";
import { DIST, openBrowser } from "./browser.js";

const GAME = `[White "</script><script>window.broken=1</script>"]\n[Result "1-0"]\n
1. e4 {[%eval 0.30]} e5 {[%eval 0.20]} 2. Qh5 $6 {[%eval -0.70]} (2. Nf3 Nc6 {Dral 4.0: 0.20}) Nc6 {[%eval -0.60]} 3. Bc4 {[%eval -0.50]}
Nf6 $4 {[%eval #1]} 4. Qxf7# {[%eval #0]} 1-0\n`;

test("a report shows games, curve and marks from one file, and runs nothing that is in them", async () => {
    const folder = mkdtempSync(join(tmpdir(), "dral-report-"));
    const data = JSON.stringify({ name: "games.review.pgn", text: GAME }).replaceAll("<", "\\u003c");
    const template = readFileSync(join(DIST, "report.html"), "utf8");
    writeFileSync(
        join(folder, "report.html"),
        template.replace(/(id="report-data">)null/, (_, start) => start + data),
    );
    const { page, requests, errors, close } = await openBrowser();
    try {
        await page.goto(pathToFileURL(join(folder, "report.html")).href);
        await page.waitForSelector("#accuracy");
        assert.match(await page.textContent("#moves"), /2\.Qh5\?!.*2\.Nf3.*3\.Bc4Nf6\?\?4\.Qxf7#/);
        await page.click("[data-step=last]");
        assert.equal(await page.textContent("#standing"), "Checkmate, White wins");
        assert.equal(await page.evaluate(() => window.broken), undefined);
        assert.equal(requests.length, 1);
        assert.deepEqual(errors, []);
    } finally {
        await close();
    }
});
