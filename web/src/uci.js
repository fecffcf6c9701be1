// What an engine's lines say.
import { MATE } from "./chances.js";

// "info ... pv ..." as { depth, seldepth, multipv, score, bound, nodes, nps, pv }; null for any other line. Scores are
// centipawns from the view of the side to move, mates beyond them as MATE less the plies.
export function readInfo(line) {
    const words = line.split(" ");
    const pvAt = words.indexOf("pv");
    if (words[0] !== "info" || pvAt < 0) return null;
    const number = (name) => {
        const at = words.indexOf(name);
        return at >= 0 && at < pvAt ? Number(words[at + 1]) : 0;
    };
    const at = words.indexOf("score");
    if (at < 0) return null;
    const value = Number(words[at + 2]);
    let score = value;
    if (words[at + 1] === "mate") score = value > 0 ? MATE - (2 * value - 1) : -MATE - 2 * value;
    if (!Number.isFinite(score)) return null;
    const bound = words.includes("lowerbound") ? ">" : words.includes("upperbound") ? "<" : "";
    return {
        depth: number("depth"),
        seldepth: number("seldepth"),
        multipv: number("multipv") || 1,
        score,
        bound,
        nodes: number("nodes"),
        nps: number("nps"),
        tbhits: number("tbhits"),
        pv: words.slice(pvAt + 1).filter(Boolean),
    };
}

const LEAST_MATE = MATE - 500;

// "+0.35", "#4", "#-2"; `score` from the view that is wanted.
export function scoreText(score) {
    if (score >= LEAST_MATE) return `#${Math.ceil((MATE - score) / 2)}`;
    if (score <= -LEAST_MATE) return `#-${Math.floor((MATE + score) / 2)}`;
    return (score > 0 ? "+" : "") + (score / 100).toFixed(2);
}

export function countText(count) {
    if (count >= 1e9) return `${(count / 1e9).toFixed(2)} G`;
    if (count >= 1e6) return `${(count / 1e6).toFixed(2)} M`;
    return count >= 1e4 ? `${Math.round(count / 1e3)} k` : String(count);
}

const TERMS = {
    mtl: "Material",
    pos: "Position, in all",
    pawns: "Pawns",
    knights: "Knights",
    bishops: "Bishops",
    rooks: "Rooks",
    queens: "Queens",
    kings: "Kings",
    passers: "Passed pawns",
};

// The answer to "eval": { summary: [[name, value]], terms: [{ name, white, black, difference }] }.
export function readEvaluation(lines) {
    const terms = [];
    let summary = [];
    for (const line of lines) {
        const row = /^\s*(\w+)=\s+(-?\d+)\s+(-?\d+)\s+(-?\d+)/.exec(line);
        if (row) terms.push({ name: TERMS[row[1]] ?? row[1], white: +row[2], black: +row[3], difference: +row[4] });
        else if (line.startsWith("eval="))
            summary = line
                .split(",")
                .map((part) => part.split("=").map((word) => word.trim()))
                .filter((p) => p[1]);
    }
    return { summary, terms };
}
