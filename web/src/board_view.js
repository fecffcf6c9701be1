// The board that is seen: pieces to drag with mouse and touch, squares to reach with the keyboard, arrows and marks.
import { Chessboard, COLOR, INPUT_EVENT_TYPE } from "cm-chessboard/src/Chessboard.js";
import { Accessibility } from "cm-chessboard/src/extensions/accessibility/Accessibility.js";
import { Arrows } from "cm-chessboard/src/extensions/arrows/Arrows.js";
import { MARKER_TYPE, Markers } from "cm-chessboard/src/extensions/markers/Markers.js";
import { PromotionDialog } from "cm-chessboard/src/extensions/promotion-dialog/PromotionDialog.js";
import pieces from "cm-chessboard/assets/pieces/standard.svg?raw";
import arrows from "cm-chessboard/assets/extensions/arrows/arrows.svg?raw";
import markers from "cm-chessboard/assets/extensions/markers/markers.svg?raw";
import { inCheck, legalMoves, sideToMove } from "./position.js";

const BEST = { class: "arrow-best" };
const THREAT = { class: "arrow-threat" };
const LAST = { class: "marker-last", slice: "markerSquare" };
const CHECK = { class: "marker-check", slice: "markerSquare" };

// The board looks for its drawings under these names before it would fetch them. Ours are part of the page, so that it
// works from a single file, too.
function keepDrawing(id, svg) {
    const drawing = new DOMParser().parseFromString(svg, "image/svg+xml").documentElement;
    const holder = document.createElement("div");
    Object.assign(holder, { id, ariaHidden: "true" });
    holder.style.cssText = "position:absolute;width:0;height:0;overflow:hidden";
    holder.append(drawing);
    document.body.append(holder);
}

export class BoardView {
    #board;
    #fen = null;
    #busy = Promise.resolve();

    // `onMove(uci)` is called with legal moves only. `mayMove(side)` tells whether the person may move that side's
    // pieces.
    constructor(element, { onMove, mayMove }) {
        this.onMove = onMove;
        this.mayMove = mayMove;
        keepDrawing("cm-chessboard-sprite", pieces);
        keepDrawing("cm-chessboard-arrows", arrows);
        keepDrawing("cm-chessboard-markers", markers);
        const calm = matchMedia("(prefers-reduced-motion: reduce)").matches;
        this.#board = new Chessboard(element, {
            style: { cssClass: "dral", animationDuration: calm ? 0 : 150 },
            extensions: [
                { class: Markers, props: { autoMarkers: MARKER_TYPE.frame } },
                { class: Arrows, props: { headSize: 5 } },
                { class: PromotionDialog, props: { language: "en" } },
                {
                    class: Accessibility,
                    props: { language: "en", movePieceForm: false, piecesAsList: false, keyboardMoveInput: true },
                },
            ],
        });
        this.#board.enableMoveInput((event) => this.#input(event));
    }

    #movesFrom(square) {
        return legalMoves(this.#fen).filter((move) => move.from === square);
    }

    #input(event) {
        if (event.type === INPUT_EVENT_TYPE.moveInputStarted) {
            this.#board.removeLegalMovesMarkers();
            const from = event.squareFrom ?? event.square;
            const moves = this.mayMove(sideToMove(this.#fen)) ? this.#movesFrom(from) : [];
            this.#board.addLegalMovesMarkers(moves);
            return moves.length > 0;
        }
        if (event.type === INPUT_EVENT_TYPE.validateMoveInput) return this.#validate(event.squareFrom, event.squareTo);
        if (event.type === INPUT_EVENT_TYPE.moveInputCanceled || event.type === INPUT_EVENT_TYPE.moveInputFinished)
            this.#board.removeLegalMovesMarkers();
        return true;
    }

    #validate(from, to) {
        const moves = this.#movesFrom(from).filter((move) => move.to === to);
        this.#board.removeLegalMovesMarkers();
        if (!moves.length) return false;
        const asked = this.#fen;
        // The board first ends its own move, and is then set to what the game says.
        const play = (promotion) => {
            if (asked === this.#fen) this.onMove(from + to + (promotion ?? ""));
            else this.#draw(false);
        };
        if (!moves[0].promotion) {
            this.#after(() => play());
            return true;
        }
        this.#board.showPromotionDialog(to, sideToMove(this.#fen), (chosen) => {
            if (chosen?.piece) play(chosen.piece.charAt(1));
            else this.#draw(false);
        });
        return true;
    }

    #after(work) {
        Promise.resolve(this.#board.state.moveInputProcess).then(work);
    }

    #draw(animated) {
        this.#busy = this.#board.setPosition(this.#fen, animated);
        return this.#busy;
    }

    // Shows a position and the move that led to it, if any.
    show(fen, lastMove, animated = true) {
        const changed = fen !== this.#fen;
        this.#fen = fen;
        if (changed) {
            this.#board.cancelMoveInput();
            this.#board.removeLegalMovesMarkers();
            this.setArrows(null, null);
        }
        this.#draw(animated);
        this.#board.removeMarkers(LAST);
        this.#board.removeMarkers(CHECK);
        if (lastMove) for (const square of [lastMove.from, lastMove.to]) this.#board.addMarker(LAST, square);
        if (inCheck(fen)) this.#board.addMarker(CHECK, this.#kingSquare(fen));
    }

    #kingSquare(fen) {
        const king = sideToMove(fen) === "w" ? "K" : "k";
        const rows = fen.split(" ")[0].split("/");
        const full = rows.map((row) => row.replace(/\d/g, (n) => " ".repeat(Number(n))));
        const rank = full.findIndex((row) => row.includes(king));
        return "abcdefgh"[full[rank].indexOf(king)] + (8 - rank);
    }

    // Moves as coordinates, or null.
    setArrows(best, threat) {
        this.#board.removeArrows();
        if (threat) this.#board.addArrow(THREAT, threat.slice(0, 2), threat.slice(2, 4));
        if (best) this.#board.addArrow(BEST, best.slice(0, 2), best.slice(2, 4));
    }

    get orientation() {
        return this.#board.getOrientation();
    }

    // "w" or "b" below.
    async turn(side) {
        if (side === this.orientation) return;
        await this.#busy;
        await this.#board.setOrientation(side === "w" ? COLOR.white : COLOR.black, false);
    }
}
