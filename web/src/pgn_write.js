// Writes a game as text in the usual form.
import { START_FEN, moveNumber } from "./position.js";

const ROSTER = ["Event", "Site", "Date", "Round", "White", "Black", "Result"];
const WIDTH = 80;

const escaped = (text) => text.replace(/[\u0000-\u001f]/g, " ").replace(/(["\\])/g, "\\$1");

function words(startFen, moves, firstPly, out) {
    let numbered = false;
    moves.forEach((move, i) => {
        const number = moveNumber(startFen, firstPly + i);
        if (!number.endsWith("...") || !numbered) out.push(number);
        out.push(move.san, ...move.nags.map((nag) => `$${nag}`));
        numbered = true;
        if (move.comment) {
            out.push(..."{".concat(move.comment.replace(/[{}]/g, " "), "}").split(/\s+/));
            numbered = false;
        }
        for (const variation of move.variations) {
            if (!variation.length) continue;
            const inner = [];
            words(startFen, variation, firstPly + i, inner);
            inner[0] = "(" + inner[0];
            inner[inner.length - 1] += ")";
            out.push(...inner);
            numbered = false;
        }
    });
}

function wrapped(list) {
    let text = "";
    let column = 0;
    for (const word of list) {
        const fits = column + 1 + word.length <= WIDTH;
        text += column === 0 ? word : (fits ? " " : "\n") + word;
        column = column > 0 && fits ? column + 1 + word.length : word.length;
    }
    return text;
}

export function writePgn({ tags, startFen, moves, comment = "", result }) {
    const all = { ...tags, Result: result };
    for (const name of ROSTER) all[name] ??= name === "Date" ? "????.??.??" : "?";
    delete all.FEN;
    delete all.SetUp;
    if (startFen !== START_FEN) Object.assign(all, { SetUp: "1", FEN: startFen });
    const names = [...ROSTER, ...Object.keys(all).filter((name) => !ROSTER.includes(name))];
    const head = names.map((name) => `[${name} "${escaped(all[name])}"]\n`).join("");
    const body = comment ? `{${comment.replace(/[{}]/g, " ")}}`.split(/\s+/) : [];
    words(startFen, moves, 0, body);
    return `${head}\n${wrapped([...body, result])}\n`;
}
