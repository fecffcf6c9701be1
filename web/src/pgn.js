// Game text. A file is split into games at once, in one pass; the moves of a game are read when it is opened. Nothing
// here fails on any input: what cannot be read on ends the game and is told.
import { Chess } from "chess.js";
import { START_FEN, playText, readFen } from "./position.js";

const LONGEST_TAG = 4096;
const MOST_TAGS = 200;
const LONGEST_GAME = 1200; // plies, of one line
const DEEPEST_VARIATION = 6;
const MOST_VARIATION_MOVES = 5000;
const LONGEST_COMMENT = 4000;
const RESULTS = ["1-0", "0-1", "1/2-1/2", "*"];
const SUFFIXES = { "!": 1, "?": 2, "!!": 3, "??": 4, "!?": 5, "?!": 6 };
const TAG_LINE = /^\s*\[\s*[A-Za-z_][\w]*\s+[^\s\]]/;

// Places of the games in the text: [{ start, moves, end }]. A tag line after moves begins a game, unless a comment is
// open; an event's begins one even then, or a lost brace would swallow all that follows.
export function splitGames(text) {
    const games = [];
    let game = null;
    let open = false;
    for (let at = 0; at < text.length;) {
        let end = text.indexOf("\n", at);
        if (end < 0) end = text.length;
        const line = text.slice(at, Math.min(end, at + LONGEST_TAG));
        const isTag = TAG_LINE.test(line) && (!open || line.startsWith("[Event "));
        if (isTag && (!game || game.moves >= 0)) {
            if (game) game.end = at;
            game = { start: at, moves: -1, end: text.length };
            games.push(game);
            open = false;
        }
        if (!isTag && line.trim()) {
            if (!game) games.push((game = { start: at, moves: at, end: text.length }));
            if (game.moves < 0) game.moves = at;
            const whole = text.slice(at, end);
            const closing = whole.lastIndexOf("}");
            const opening = whole.lastIndexOf("{");
            if (closing !== opening) open = opening > closing;
        }
        at = end + 1;
    }
    for (const one of games) if (one.moves < 0) one.moves = one.end;
    return games;
}

export function readTags(text, game) {
    const tags = {};
    let count = 0;
    for (let at = game.start; at < game.moves && count < MOST_TAGS; ++count) {
        let end = text.indexOf("\n", at);
        if (end < 0 || end > game.moves) end = game.moves;
        const line = text.slice(at, Math.min(end, at + LONGEST_TAG));
        const name = /^\s*\[\s*(\w+)\s+/.exec(line);
        if (name) {
            const rest = line.slice(name[0].length).trimEnd().replace(/\]$/, "").trim();
            const quoted = rest.startsWith('"');
            const inner = quoted
                ? rest
                      .slice(1)
                      .replace(/"$/, "")
                      .replace(/\\(["\\])/g, "$1")
                : rest;
            if (!Object.hasOwn(tags, name[1]) && name[1] !== "__proto__") tags[name[1]] = inner;
        }
        at = end + 1;
    }
    return tags;
}

function* tokens(text, at, end) {
    const word = /[^\s(){};]+/y;
    while (at < end) {
        const c = text[at];
        if (c === "{" || c === ";") {
            let close = text.indexOf(c === "{" ? "}" : "\n", at);
            if (close < 0 || close > end) close = end;
            yield { kind: "comment", text: text.slice(at + 1, Math.min(close, at + 1 + LONGEST_COMMENT)) };
            at = close + 1;
        } else if (c === "(" || c === ")") {
            yield { kind: c };
            ++at;
        } else if (c === "%" && text[at - 1] === "\n") {
            const close = text.indexOf("\n", at);
            at = close < 0 ? end : close;
        } else {
            word.lastIndex = at;
            const found = word.exec(text);
            if (found) yield { kind: "word", text: found[0].slice(0, 64) };
            at = found ? word.lastIndex : at + 1;
        }
    }
}

// Reads the moves of one game.
class Reader {
    constructor(fen) {
        this.chess = new Chess(fen);
        this.line = { moves: [], broken: false };
        this.main = this.line;
        this.stack = []; // of lines with the boards that they left
        this.skipped = 0; // open brackets that are passed over
        this.variationMoves = 0;
        this.comment = ""; // before the first move
        this.result = null;
        this.problem = null;
    }

    open() {
        const last = this.line.moves.at(-1);
        const tooMuch = this.stack.length >= DEEPEST_VARIATION || this.variationMoves > MOST_VARIATION_MOVES;
        if (this.skipped || tooMuch || !last || this.line.broken) {
            ++this.skipped;
            return;
        }
        this.stack.push({ line: this.line, chess: this.chess });
        const before = this.line.moves.at(-2)?.fen ?? this.line.from ?? this.start;
        this.line = { moves: [], broken: false, from: before };
        last.variations.push(this.line.moves);
        this.chess = new Chess(before);
    }

    close() {
        if (this.skipped) {
            --this.skipped;
        } else if (this.stack.length) {
            ({ line: this.line, chess: this.chess } = this.stack.pop());
        }
    }

    addComment(text) {
        const last = this.line.moves.at(-1);
        const clean = text.trim();
        if (last) last.comment = last.comment ? `${last.comment} ${clean}`.slice(0, LONGEST_COMMENT) : clean;
        else if (this.line === this.main) this.comment = `${this.comment} ${clean}`.trim().slice(0, LONGEST_COMMENT);
    }

    addMove(text) {
        if (this.line.broken) return;
        const bare = text.replace(/^\d*\.*(?=[A-Za-z0O-])/, "");
        const suffix = /[!?]{1,2}$/.exec(bare)?.[0];
        const full = this.line.moves.length >= LONGEST_GAME;
        const move = full ? null : playText(this.chess, bare);
        if (!move) {
            this.line.broken = true;
            if (this.line === this.main)
                this.problem = full ? "it is too long" : `move "${bare}" after ${this.line.moves.length} plies`;
            return;
        }
        if (suffix && SUFFIXES[suffix]) move.nags.push(SUFFIXES[suffix]);
        if (this.line !== this.main) ++this.variationMoves;
        this.line.moves.push(move);
    }

    // False at the end of the game.
    word(text) {
        if (RESULTS.includes(text)) {
            if (this.stack.length) return true;
            this.result = text;
            return false;
        }
        const glyph = /^\$(\d{1,3})$/.exec(text);
        if (glyph) this.line.moves.at(-1)?.nags.push(Number(glyph[1]));
        else if (SUFFIXES[text]) this.line.moves.at(-1)?.nags.push(SUFFIXES[text]);
        else if (!/^\d+\.*$|^\.+$/.test(text)) this.addMove(text);
        return true;
    }
}

// { tags, startFen, moves, comment, result, problem }; `problem` tells why the game could not be read to its end, or is
// null.
export function readGame(text, game) {
    const tags = readTags(text, game);
    const startFen = tags.FEN ? readFen(tags.FEN) : START_FEN;
    const reader = new Reader(startFen ?? START_FEN);
    reader.start = startFen ?? START_FEN;
    if (!startFen) reader.problem = "its FEN is no position";
    for (const token of startFen ? tokens(text, game.moves, game.end) : []) {
        if (token.kind === "(") reader.open();
        else if (token.kind === ")") reader.close();
        else if (token.kind === "comment") {
            if (!reader.skipped) reader.addComment(token.text);
        } else if (!reader.skipped && !reader.word(token.text)) break;
        if (reader.main.broken) break;
    }
    const told = RESULTS.includes(tags.Result) ? tags.Result : "*";
    return {
        tags,
        startFen: reader.start,
        moves: reader.main.moves,
        comment: reader.comment,
        result: reader.result ?? told,
        problem: reader.problem,
    };
}
