// The game on the board: its moves, the place in them that is shown, and at most one line beside it that is being
// tried. Fires "change" with { reason } as detail: "load" for another game, "move" for a new move, "step" for another
// place.
import { START_FEN, playLine, playOn, readFen, sideToMove, standing } from "./position.js";
import { writePgn } from "./pgn_write.js";

export class Game extends EventTarget {
    constructor() {
        super();
        this.#set({ tags: {}, startFen: START_FEN, moves: [], comment: "", result: "*", problem: null });
    }

    #set(game) {
        Object.assign(this, { tags: game.tags, startFen: game.startFen, moves: game.moves, comment: game.comment });
        this.result = game.result;
        this.side = null; // { from, moves }: a line that leaves the game after `from` plies
        this.ply = 0;
    }

    #changed(reason) {
        this.dispatchEvent(new CustomEvent("change", { detail: { reason } }));
    }

    // The moves that lead on from the start along the line that is shown.
    get path() {
        return this.side ? [...this.moves.slice(0, this.side.from), ...this.side.moves] : this.moves;
    }

    fenAt(ply) {
        return ply === 0 ? this.startFen : this.path[ply - 1].fen;
    }

    get fen() {
        return this.fenAt(this.ply);
    }

    get turn() {
        return sideToMove(this.fen);
    }

    get lastMove() {
        return this.ply > 0 ? this.path[this.ply - 1] : null;
    }

    // How an engine is told of the position: start and moves, so that it knows of repetitions.
    positionCommand(ply = this.ply, line = this.path) {
        const start = this.startFen === START_FEN ? "startpos" : `fen ${this.startFen}`;
        const moves = line.slice(0, ply).map((move) => move.uci);
        return `position ${start}` + (moves.length ? ` moves ${moves.join(" ")}` : "");
    }

    standing() {
        const path = this.path;
        return standing([this.startFen, ...path.slice(0, this.ply).map((move) => move.fen)]);
    }

    load(game) {
        this.#set(game);
        this.#changed("load");
    }

    // False when the text is no position.
    setFen(text) {
        const fen = readFen(text);
        if (!fen) return false;
        this.load({ tags: {}, startFen: fen, moves: [], comment: "", result: "*" });
        return true;
    }

    goTo(ply) {
        const wanted = Math.min(Math.max(ply, 0), this.path.length);
        if (wanted === this.ply) return;
        this.ply = wanted;
        this.#changed("step");
    }

    // Shows a place of the game itself.
    goToMain(ply) {
        this.side = null;
        this.ply = Math.min(Math.max(ply, 0), this.moves.length);
        this.#changed("step");
    }

    // Plays a move, in any notation, where the board stands; null when it is not legal. Before the end of the game it
    // begins a line beside it, or replaces what follows when `truncate` is set.
    play(text, { truncate = false } = {}) {
        const move = playOn(this.fen, text);
        if (!move) return null;
        if (this.path[this.ply]?.uci === move.uci) {
            this.goTo(this.ply + 1);
            return move;
        }
        if (this.side && this.ply >= this.side.from) {
            this.side.moves = [...this.side.moves.slice(0, this.ply - this.side.from), move];
        } else if (truncate || (!this.side && this.ply === this.moves.length)) {
            this.side = null;
            this.moves = [...this.moves.slice(0, this.ply), move];
            this.result = "*";
        } else {
            this.side = { from: this.ply, moves: [move] };
        }
        ++this.ply;
        this.#changed("move");
        return move;
    }

    // Tries a line, of moves in any notation, that leaves the game after `from` plies, and shows its move `index`.
    tryLine(from, texts, index = 0) {
        const base = from === 0 ? this.startFen : this.path[from - 1].fen;
        const moves = playLine(base, texts);
        if (!moves.length) return;
        const kept = this.path.slice(0, from);
        if (!this.side && from === this.moves.length) {
            this.side = { from, moves };
        } else {
            const main = this.side ? Math.min(from, this.side.from) : from;
            this.side = { from: main, moves: [...kept.slice(main), ...moves] };
        }
        this.ply = Math.min(from + index + 1, this.path.length);
        this.#changed("move");
    }

    leaveLine() {
        if (this.side) this.goToMain(this.side.from);
    }

    // Takes back so many plies of what is shown; what follows them is lost.
    takeBack(plies = 1) {
        const ply = Math.max(this.ply - plies, 0);
        if (this.side && ply > this.side.from) {
            this.side.moves = this.side.moves.slice(0, ply - this.side.from);
        } else if (this.side) {
            this.side = null;
        } else {
            this.moves = this.moves.slice(0, ply);
            this.result = "*";
        }
        this.ply = ply;
        this.#changed("move");
    }

    pgn() {
        return writePgn(this);
    }
}
