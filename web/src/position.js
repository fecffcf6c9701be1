// Positions and moves, by the rules of chess.js: what the page must know without asking the engine.
import { Chess } from "chess.js";

export const START_FEN = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";
const LONGEST_FEN = 120;
const LONGEST_MOVE = 12;
const MOST_MEN = 16; // of one side

// Castling rights whose king and rook stand where they must; the rules of chess.js take any.
function possibleCastling(chess, rights) {
    const stands = (square, type, color) => {
        const piece = chess.get(square);
        return piece?.type === type && piece.color === color;
    };
    const kept = [...rights].filter((right) => {
        const color = right === right.toUpperCase() ? "w" : "b";
        const rank = color === "w" ? 1 : 8;
        return stands(`e${rank}`, "k", color) && stands((right.toLowerCase() === "k" ? "h" : "a") + rank, "r", color);
    });
    return kept.join("") || "-";
}

// A full FEN, or null when the text is none. Missing castling rights, en-passant square and counters are filled in.
export function readFen(text) {
    const trimmed = text.slice(0, LONGEST_FEN + 1).trim();
    if (trimmed.length > LONGEST_FEN) return null;
    if (trimmed === "startpos") return START_FEN;
    try {
        const chess = new Chess(trimmed.replace(/ 0$/, " 1")); // some programs count moves from 0
        // A king that could be taken is no position, whatever else is in order.
        const side = chess.turn();
        const king = chess.findPiece({ type: "k", color: side === "w" ? "b" : "w" })[0];
        const [men, ...rest] = chess.fen().split(" ");
        const count = (letters) => men.match(letters)?.length ?? 0;
        if (chess.isAttacked(king, side) || count(/[A-Z]/g) > MOST_MEN || count(/[a-z]/g) > MOST_MEN) return null;
        rest[1] = possibleCastling(chess, rest[1]);
        return [men, ...rest].join(" ");
    } catch {
        return null;
    }
}

const record = (move) => ({
    san: move.san,
    uci: move.lan,
    from: move.from,
    to: move.to,
    fen: move.after,
    comment: "",
    nags: [],
    variations: [],
});

// Plays a move, written in short or long notation or as coordinates, on a chess.js board. Null when it is not legal.
export function playText(chess, text) {
    const word = text
        .slice(0, LONGEST_MOVE)
        .replace(/[!?]+$/, "")
        .replace(/^0-0-0/, "O-O-O")
        .replace(/^0-0/, "O-O");
    const coordinates = /^([a-h][1-8])[-x]?([a-h][1-8])=?([qrbnQRBN])?$/.exec(word);
    try {
        if (coordinates) {
            const [, from, to, promotion] = coordinates;
            return record(chess.move({ from, to, promotion: promotion?.toLowerCase() ?? "q" }));
        }
        return record(chess.move(word));
    } catch {
        return null;
    }
}

export function playOn(fen, text) {
    return playText(new Chess(fen), text);
}

// A line of moves in coordinates as records; it ends before the first that cannot be played.
export function playLine(fen, texts) {
    const chess = new Chess(fen);
    const moves = [];
    for (const text of texts) {
        const move = playText(chess, text);
        if (!move) break;
        moves.push(move);
    }
    return moves;
}

export function legalMoves(fen) {
    return new Chess(fen).moves({ verbose: true }).map(({ from, to, promotion }) => ({ from, to, promotion }));
}

export const inCheck = (fen) => new Chess(fen).inCheck();

export const sideToMove = (fen) => fen.split(" ")[1];

// The same position with the other side to move; null where that is no position.
export function passed(fen) {
    if (inCheck(fen)) return null;
    const [men, side, castling, , fifty, number] = fen.split(" ");
    return readFen([men, side === "w" ? "b" : "w", castling, "-", fifty, number].join(" "));
}

const samePosition = (fen) => fen.split(" ").slice(0, 4).join(" ");

// How a game stands that has come to the last of `fens`: { over, result, text }.
export function standing(fens) {
    const fen = fens[fens.length - 1];
    const chess = new Chess(fen);
    const white = chess.turn() === "w";
    const drawn = (text) => ({ over: true, result: "1/2-1/2", text: `Draw: ${text}` });
    if (chess.isCheckmate())
        return { over: true, result: white ? "0-1" : "1-0", text: `Checkmate, ${white ? "Black" : "White"} wins` };
    if (chess.isStalemate()) return drawn("stalemate");
    if (chess.isInsufficientMaterial()) return drawn("neither side can mate");
    const now = samePosition(fen);
    if (fens.filter((other) => samePosition(other) === now).length >= 3) return drawn("the same position three times");
    if (Number(fen.split(" ")[4]) >= 100) return drawn("fifty moves without capture or pawn move");
    const check = chess.inCheck() ? ", check" : "";
    return { over: false, result: "*", text: `${white ? "White" : "Black"} to move${check}` };
}

// "12." before White's move, "12..." before Black's.
export function moveNumber(startFen, ply) {
    const [, side, , , , number] = startFen.split(" ");
    const half = ply + (side === "b" ? 1 : 0);
    return `${Number(number) + Math.floor(half / 2)}${half % 2 === 0 ? "." : "..."}`;
}
