// The judgement of a game: what follows from the scores of its positions, whoever has found them. As
// src/tools/game_review.h has it.
import {
    BLUNDER,
    GOOD,
    INACCURACY,
    MISTAKE,
    NONE,
    lostCentipawns,
    lostChances,
    markOfLoss,
    moveAccuracy,
    winningChances,
} from "./chances.js";

const WINNING = 60;

const newSide = () => ({ moves: 0, accuracy: 0, averageLoss: 0, inaccuracies: 0, mistakes: 0, blunders: 0 });

function countMove(side, move, judged) {
    ++side.moves;
    side.accuracy += moveAccuracy(judged.loss);
    if (!move.best) side.averageLoss += lostCentipawns(move.before, move.after);
    side.inaccuracies += judged.mark === INACCURACY;
    side.mistakes += judged.mark === MISTAKE;
    side.blunders += judged.mark === BLUNDER;
}

function turnOfDecidedGame(moves, sideOf, winner) {
    const holds = (i, score) => winningChances(sideOf(i) === winner ? score : -score) >= WINNING;
    let turn = -1;
    for (let i = moves.length; i-- > 0;) {
        if (!moves[i].judged) continue;
        if (!holds(i, moves[i].after)) return turn;
        turn = i;
    }
    // Won from the first judged move on, if not before it.
    return turn >= 0 && holds(turn, moves[turn].before) ? -1 : turn;
}

function costliestMove(judged) {
    let most = -1;
    judged.forEach((move, i) => {
        if (move.loss > (most < 0 ? 0 : judged[most].loss)) most = i;
    });
    return most >= 0 && markOfLoss(judged[most].loss) !== NONE ? most : -1;
}

// `moves`: { judged, best, only, before, after } each, scores from the view of its player. `first`: "w" or "b".
// `turningPoint` is the index of a move, or -1.
export function judgeGame(moves, first, result) {
    const second = first === "w" ? "b" : "w";
    const sideOf = (i) => (i % 2 === 0 ? first : second);
    const sides = { w: newSide(), b: newSide() };
    const judged = moves.map((move, i) => {
        if (!move.judged) return { mark: NONE, loss: 0 };
        const loss = move.best ? 0 : lostChances(move.before, move.after);
        const found = { mark: move.only ? GOOD : markOfLoss(loss), loss };
        countMove(sides[sideOf(i)], move, found);
        return found;
    });
    for (const side of Object.values(sides)) {
        side.accuracy /= Math.max(side.moves, 1);
        side.averageLoss /= Math.max(side.moves, 1);
    }
    const winner = { "1-0": "w", "0-1": "b" }[result];
    const turningPoint = winner ? turnOfDecidedGame(moves, sideOf, winner) : costliestMove(judged);
    return { moves: judged, sides, turningPoint };
}
