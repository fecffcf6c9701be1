// What a score means: chances, what a move has lost of them, and how accurate that is. The engine's own tool for
// reviews has the same formulas (src/tools/chances.h tells where they come from); a test holds the two together. Scores
// are centipawns from the view of the side that the question is about; chances and losses are percent.

export const MATE = 10000;
const SLOPE = 0.0058;
const INACCURACY_LOSS = 5;
const MISTAKE_LOSS = 10;
const BLUNDER_LOSS = 15;
const LARGEST_AVERAGED_SCORE = 1000;
const WON_ANYWAY = 80;

// Numeric annotation glyphs.
export const NONE = 0;
export const GOOD = 1;
export const MISTAKE = 2;
export const BLUNDER = 4;
export const INACCURACY = 6;

const clamp = (value, low, high) => Math.min(Math.max(value, low), high);

export const winningChances = (score) => 100 / (1 + Math.exp(-SLOPE * score));

export const lostChances = (before, after) => Math.max(winningChances(before) - winningChances(after), 0);

export function lostCentipawns(before, after) {
    const kept = (score) => clamp(score, -LARGEST_AVERAGED_SCORE, LARGEST_AVERAGED_SCORE);
    return Math.max(kept(before) - kept(after), 0);
}

export function markOfLoss(loss) {
    if (loss >= BLUNDER_LOSS) return BLUNDER;
    if (loss >= MISTAKE_LOSS) return MISTAKE;
    return loss >= INACCURACY_LOSS ? INACCURACY : NONE;
}

export const moveAccuracy = (loss) => clamp(103.1668 * Math.exp(-0.04354 * loss) - 3.1669, 0, 100);

export const isOnlyMove = (best, second) =>
    lostChances(best, second) >= MISTAKE_LOSS && winningChances(second) < WON_ANYWAY;
