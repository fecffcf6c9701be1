// The page judges as the engine's own review does: the tables that the engine's tests read.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import test from "node:test";
import { isOnlyMove, lostCentipawns, lostChances, markOfLoss, moveAccuracy, winningChances } from "../src/chances.js";
import { judgeGame } from "../src/judgement.js";

function rows(name) {
    const text = readFileSync(new URL(`../../tests/data/tools/${name}`, import.meta.url), "utf8");
    return text
        .split("\n")
        .filter((line) => line && !line.startsWith("#"))
        .map((line) => line.split("|").map((s) => s.trim()));
}

test("chances, losses, marks and accuracies", () => {
    for (const [before, after, ...expected] of rows("chances.tsv")) {
        const [b, a] = [Number(before), Number(after)];
        const loss = lostChances(b, a);
        const found = [winningChances(b), winningChances(a), loss].map((x) => x.toFixed(1));
        found.push(markOfLoss(loss), moveAccuracy(loss).toFixed(1), lostCentipawns(b, a), Number(isOnlyMove(b, a)));
        assert.deepEqual(found.map(String), expected, `${before} to ${after}`);
    }
});

function scoredMoves(scores, first) {
    const values = scores.split(" ").filter(Boolean);
    const number = (text) => (text === "x" ? null : Number.parseInt(text, 10));
    return values.slice(1).map((text, i) => {
        const sign = (i % 2 === 0) === (first === "w") ? 1 : -1;
        const [before, after] = [number(values[i]), number(text)];
        const only = text.endsWith("!");
        return {
            judged: before !== null && after !== null,
            best: only || text.endsWith("="),
            only,
            before: sign * before,
            after: sign * after,
        };
    });
}

test("marks, sums of both sides and turning points of games", () => {
    for (const [result, first, scores, marks, white, black, turn] of rows("game_review.tsv")) {
        const judged = judgeGame(scoredMoves(scores, first), first, result);
        const side = (s) =>
            `${s.moves}: ${s.accuracy.toFixed(1)} ${s.averageLoss.toFixed(1)} ${s.inaccuracies} ${s.mistakes} ${s.blunders}`;
        const found = [judged.moves.map((m) => m.mark).join(""), side(judged.sides.w), side(judged.sides.b)];
        assert.deepEqual([...found, String(judged.turningPoint)], [marks, white, black, turn], scores);
    }
});
