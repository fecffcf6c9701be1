// One search at a time, and every line to the search it belongs to, with an engine that answers late.
import assert from "node:assert/strict";
import test from "node:test";
import { EngineSession } from "../src/engine_session.js";

// Answers a little later, in order. Its lines name the position that they are about.
function lateEngine() {
    const engine = { sent: [], position: "", searching: false, overlaps: 0, onLine: () => {} };
    const say = (line) => setTimeout(() => engine.onLine(line), 1);
    const end = () => {
        engine.searching = false;
        say(`info depth 9 score cp 0 pv ${engine.position}`);
        say(`bestmove ${engine.position}`);
    };
    engine.send = (line) => {
        engine.sent.push(line);
        setTimeout(() => {
            const [word, ...rest] = line.split(" ");
            if (word === "isready") say("readyok");
            if (word === "position") engine.overlaps += engine.searching;
            if (word === "position") engine.position = rest.join(" ");
            if (word === "eval") say(`eval= ${engine.position}`);
            if (word === "stop" && engine.searching) end();
            if (word !== "go") return;
            engine.overlaps += engine.searching;
            engine.searching = true;
            say(`info depth 1 score cp 0 pv ${engine.position}`);
            if (rest[0] !== "infinite") end();
        }, 1);
    };
    return engine;
}

test("fifty searches, each ended by the next, lose and mix up nothing", async () => {
    const engine = lateEngine();
    const session = new EngineSession(engine);
    const foreign = [];
    const results = [];
    for (let i = 0; i < 50; ++i) {
        const onInfo = (line) => line.endsWith(` p${i}`) || foreign.push(line);
        results.push(
            session.search({ commands: [`position p${i}`], go: "go infinite", options: { MultiPV: i % 3 }, onInfo }),
        );
        if (i % 4 === 0) await new Promise((resolve) => setTimeout(resolve, 10));
    }
    const last = session.search({ commands: ["position end"], go: "go depth 1" });
    assert.equal((await last).move, "end");
    assert.ok((await Promise.all(results)).every((result) => result.ended && result.move === null));
    assert.deepEqual(foreign, []);
    assert.equal(engine.overlaps, 0);
});

test("a question waits for the search that stop() ends, and gets its own answer only", async () => {
    const engine = lateEngine();
    const session = new EngineSession(engine);
    const search = session.search({ commands: ["position a"], go: "go infinite" });
    await new Promise((resolve) => setTimeout(resolve, 20));
    session.stop();
    session.setOptions({ Hash: 32 });
    assert.deepEqual(await session.ask(["position b", "eval"]), ["eval= b"]);
    assert.equal((await search).ended, true);
    assert.equal(engine.sent.filter((line) => line === "stop").length, 1);
    assert.equal(engine.sent.filter((line) => line.startsWith("setoption name Hash")).length, 1);
});
