#include "tools/chances.h"

#include <algorithm>
#include <cmath>

double winning_chances(int score) { return 100.0 / (1.0 + std::exp(-CHANCES_SLOPE * score)); }

double lost_chances(int before, int after) { return std::max(winning_chances(before) - winning_chances(after), 0.0); }

int lost_centipawns(int before, int after) {
    const auto kept = [](int score) { return std::clamp(score, -LARGEST_AVERAGED_SCORE, LARGEST_AVERAGED_SCORE); };
    return std::max(kept(before) - kept(after), 0);
}

MoveMark mark_of_loss(double loss) {
    if (loss >= BLUNDER_LOSS) return MoveMark::BLUNDER;
    if (loss >= MISTAKE_LOSS) return MoveMark::MISTAKE;
    return loss >= INACCURACY_LOSS ? MoveMark::INACCURACY : MoveMark::NONE;
}

double move_accuracy(double loss) {
    constexpr double SCALE = 103.1668;
    constexpr double DECAY = 0.04354;
    constexpr double OFFSET = 3.1669;
    return std::clamp(SCALE * std::exp(-DECAY * loss) - OFFSET, 0.0, 100.0);
}

bool is_only_move(int best, int second) {
    constexpr double WON_ANYWAY = 80.0;
    return lost_chances(best, second) >= MISTAKE_LOSS && winning_chances(second) < WON_ANYWAY;
}
