// What counts as a position: what the engine takes, too.
import assert from "node:assert/strict";
import test from "node:test";
import { readFen } from "../src/position.js";

test("positions are completed, mended or refused", () => {
    const table = [
        ["4k3/8/8/8/8/8/8/4K2R w K -", "4k3/8/8/8/8/8/8/4K2R w K - 0 1"],
        ["  4k3/8/8/8/8/8/8/4K2R w KQkq - 3 9 ", "4k3/8/8/8/8/8/8/4K2R w K - 3 9"],
        ["4k3/8/8/8/8/8/8/4K2R w - - 0 0", "4k3/8/8/8/8/8/8/4K2R w - - 0 1"],
        ["4k3/8/8/8/8/8/8/4K2R b Q - 0 1", "4k3/8/8/8/8/8/8/4K2R b - - 0 1"],
        ["k7/pppppppp/pppppppp/8/8/8/8/7K w - - 0 1", null], // too many men
        ["4k3/8/8/8/8/8/8/K3R3 w - - 0 1", null], // a king could be taken
        ["8/8/8/8/8/8/8/K7 w - - 0 1", null],
        ["", null],
    ];
    for (const [text, expected] of table) assert.equal(readFen(text), expected, text);
});
