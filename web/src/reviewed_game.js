// A game that the engine's own review has written: its scores, and what follows from them.
import { GOOD, MATE, lostChances } from "./chances.js";
import { judgeGame } from "./judgement.js";
import { sideToMove } from "./position.js";

// Scores that a reviewed game carries in its comments, from White's view: before the first move (not known) and after
// each.
export function scoresOfComments(moves) {
    const scores = moves.map((move) => {
        const found = /\[%eval\s+(#?-?[\d.]+)/.exec(move.comment);
        if (!found) return null;
        if (!found[1].startsWith("#")) return Math.round(Number(found[1]) * 100);
        const count = Number(found[1].slice(1));
        if (found[1] === "#-0") return -MATE;
        if (count === 0) return MATE;
        return count > 0 ? MATE - 2 * count + 1 : -MATE - 2 * count;
    });
    return [null, ...scores.map((score) => (Number.isFinite(score) ? score : null))];
}

// The judgement of a game from those scores alone. Which moves were the search's own choice is not written in the file,
// so a move that lost little for another reason counts here; the file's own summary is the exact one.
export function judgeByComments(game) {
    const scores = scoresOfComments(game.moves);
    const first = sideToMove(game.startFen);
    const moves = game.moves.map((move, i) => {
        const sign = (i % 2 === 0) === (first === "w") ? 1 : -1;
        const known = scores[i] !== null && scores[i + 1] !== null;
        const quiet =
            known &&
            lostChances(sign * scores[i], sign * scores[i + 1]) >= 5 &&
            !move.nags.some((nag) => [2, 4, 6].includes(nag));
        return {
            judged: known,
            best: quiet,
            only: move.nags.includes(GOOD),
            before: sign * scores[i],
            after: sign * scores[i + 1],
        };
    });
    return { scores, judged: judgeGame(moves, first, game.result) };
}
