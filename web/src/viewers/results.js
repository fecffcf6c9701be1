// The results of a suite: how many are solved after which time, and what was won and lost against another run.
import { drawCurve } from "../curve.js";
import { el, plain } from "../dom.js";
import { RESULTS_HEADING } from "./detect.js";

const COLUMNS = RESULTS_HEADING.split("\t");
const MOST_SHOWN = 400; // rows

// Rows as objects; lines of another shape are counted in `bad`.
export function readResults(text) {
    const rows = [];
    let bad = 0;
    for (const line of text.split(/\r?\n/).slice(1)) {
        if (!line) continue;
        const fields = line.split("\t");
        if (fields.length !== COLUMNS.length || !["right", "wrong", "unscored"].includes(fields[2])) {
            ++bad;
            continue;
        }
        const row = Object.fromEntries(COLUMNS.map((name, i) => [name, fields[i]]));
        const solved = row.verdict === "right" && row.last_seconds !== "" && Number.isFinite(Number(row.last_seconds));
        rows.push({ ...row, solvedAfter: solved ? Number(row.last_seconds) : null });
    }
    return { rows, bad };
}

// Positions are told by their FEN, equal ones by their order. [{ now, before }], either undefined.
export function compareResults(before, now) {
    const waiting = new Map();
    for (const row of before) {
        if (!waiting.has(row.fen)) waiting.set(row.fen, []);
        waiting.get(row.fen).push(row);
    }
    const pairs = now.map((row) => ({ now: row, before: waiting.get(row.fen)?.shift() }));
    for (const rest of waiting.values()) for (const row of rest) pairs.push({ now: undefined, before: row });
    return pairs.map((pair) => ({ ...pair, change: changeOf(pair) }));
}

function changeOf({ now, before }) {
    if (!before) return "new";
    if (!now) return "gone";
    if (now.verdict === "unscored" || before.verdict === "unscored") return "unscored";
    if (now.verdict === before.verdict) return now.verdict === "right" ? "right in both" : "wrong in both";
    return now.verdict === "right" ? "won" : "lost";
}

// Shares of the scored positions that are solved at each of `times`, percent.
function shares(rows, times) {
    const scored = rows.filter((row) => row.verdict !== "unscored").length;
    const solved = rows
        .filter((row) => row.solvedAfter !== null)
        .map((row) => row.solvedAfter)
        .sort((a, b) => a - b);
    let count = 0;
    return times.map((time) => {
        while (count < solved.length && solved[count] <= time) ++count;
        return scored ? (100 * count) / scored : 0;
    });
}

function timesOf(runs) {
    const ends = runs.flatMap((run) => run.rows.map((row) => row.solvedAfter)).filter((time) => time !== null);
    const longest = ends.reduce((a, b) => Math.max(a, b), 0.01);
    const steps = 120;
    return Array.from({ length: steps + 1 }, (_, i) => 0.001 * (longest / 0.001) ** (i / steps));
}

const count = (rows, verdict) => rows.filter((row) => row.verdict === verdict).length;

// Shows the last of `runs` ([{ name, rows, bad }]), and the one before it beside it. `onPosition(fen)` at a click.
export function showResults(element, runs, onPosition) {
    const now = runs.at(-1);
    const before = runs.length > 1 ? runs.at(-2) : null;
    const parts = [];
    for (const run of [now, before].filter(Boolean)) {
        const scored = run.rows.length - count(run.rows, "unscored");
        const right = count(run.rows, "right");
        const share = scored ? ((100 * right) / scored).toFixed(1) : "0.0";
        const bad = run.bad ? `, ${run.bad} lines are none of such a file` : "";
        parts.push(
            el("h3", { text: plain(run.name) }),
            el("p", {
                class: "figures",
                text: `${right} of ${scored} right (${share} %), ${run.rows.length - scored} not scored${bad}`,
            }),
        );
    }
    const figure = el("div", { class: "figure" });
    parts.push(figure);
    const pairs = compareResults(before?.rows ?? [], now.rows);
    if (before) {
        const number = (change) => pairs.filter((pair) => pair.change === change).length;
        parts.push(
            el("p", {
                id: "changes",
                text:
                    `${number("won")} won, ${number("lost")} lost, ${number("right in both")} right in both, ` +
                    `${number("wrong in both")} wrong in both, ${number("new")} only in ${plain(now.name)}, ${number("gone")} only in ${plain(before.name)}`,
            }),
        );
    } else {
        parts.push(el("p", { class: "note", text: "Open a second file of results to compare." }));
    }
    const order = { lost: 0, won: 1 };
    const shown = pairs.filter((pair) => pair.now).sort((a, b) => (order[a.change] ?? 2) - (order[b.change] ?? 2));
    const names = [
        "Position",
        before ? "Against the other" : "Verdict",
        "Move",
        "Expected",
        "Score",
        "Depth",
        "Seconds",
        "Solved after",
    ];
    const body = shown.slice(0, MOST_SHOWN).map(({ now: row, before: old, change }) => {
        const moved =
            old && change !== "right in both" && old.move !== row.move
                ? `${plain(old.move)} \u2192 ${plain(row.move)}`
                : plain(row.move);
        const button = el("button", {
            type: "button",
            class: "move",
            text: plain(row.id, 60) || "?",
            on: { click: () => onPosition(row.fen) },
        });
        const cells = [
            before ? change : row.verdict,
            moved,
            row.expected,
            row.score,
            row.depth,
            row.seconds,
            row.last_seconds,
        ];
        return el(
            "tr",
            {
                class:
                    change === "lost" || (!before && row.verdict === "wrong")
                        ? "mark-4"
                        : change === "won"
                          ? "mark-1"
                          : null,
            },
            el("td", {}, button),
            ...cells.map((text, i) => el("td", { class: i < 3 ? "text" : null, text: plain(text, 60) })),
        );
    });
    const head = names.map((text, i) => el("th", { scope: "col", class: i < 4 ? "text" : null, text }));
    parts.push(
        el("div", { class: "list" }, el("table", {}, el("thead", {}, el("tr", {}, ...head)), el("tbody", {}, ...body))),
    );
    if (shown.length > MOST_SHOWN)
        parts.push(el("p", { class: "note", text: `${shown.length - MOST_SHOWN} more are not listed` }));
    element.replaceChildren(...parts);
    const drawn = [now, before].filter(Boolean);
    const xs = timesOf(drawn);
    return drawCurve(figure, {
        xs,
        log: true,
        yRange: [0, 100],
        yLabel: "solved, %",
        xLabel: "Seconds",
        height: 220,
        series: drawn.map((run) => ({ label: plain(run.name, 40), values: shares(run.rows, xs), points: false })),
    });
}
