#include "tools/game_review.h"

#include <algorithm>

namespace {

constexpr double WINNING = 60.0;  // percent of the chances

Colour mover(std::size_t index, Colour first_side) { return index % 2 == 0 ? first_side : opponent(first_side); }

// Adds up; review_game divides in the end.
void count_move(SideReview &side, const ScoredMove &move, const JudgedMove &judged) {
    ++side.moves;
    side.accuracy += move_accuracy(judged.loss);
    if (!move.best) side.average_loss += lost_centipawns(move.before, move.after);
    side.inaccuracies += judged.mark == MoveMark::INACCURACY;
    side.mistakes += judged.mark == MoveMark::MISTAKE;
    side.blunders += judged.mark == MoveMark::BLUNDER;
}

int turn_of_decided_game(std::span<const ScoredMove> moves, Colour first_side, Colour winner) {
    const auto holds = [&](std::size_t i, int score) {
        return winning_chances(mover(i, first_side) == winner ? score : -score) >= WINNING;
    };
    int turn = NO_TURNING_POINT;
    for (std::size_t i = moves.size(); i-- > 0;) {
        if (!moves[i].judged) continue;
        if (!holds(i, moves[i].after)) return turn;
        turn = static_cast<int>(i);
    }
    // Won from the first judged move on, if not before it.
    if (turn == NO_TURNING_POINT) return turn;
    const auto first = static_cast<std::size_t>(turn);
    return holds(first, moves[first].before) ? NO_TURNING_POINT : turn;
}

int costliest_move(const std::vector<JudgedMove> &moves) {
    const auto less = [](const JudgedMove &a, const JudgedMove &b) { return a.loss < b.loss; };
    const auto most = std::max_element(moves.begin(), moves.end(), less);
    if (most == moves.end() || most->loss < INACCURACY_LOSS) return NO_TURNING_POINT;
    return static_cast<int>(most - moves.begin());
}

}  // namespace

GameReview review_game(std::span<const ScoredMove> moves, Colour first_side, GameResult result) {
    GameReview review;
    review.moves.resize(moves.size());
    for (std::size_t i = 0; i < moves.size(); ++i) {
        const ScoredMove &move = moves[i];
        JudgedMove &judged = review.moves[i];
        if (!move.judged) continue;
        if (!move.best) judged.loss = lost_chances(move.before, move.after);
        judged.mark = move.only ? MoveMark::GOOD : mark_of_loss(judged.loss);
        count_move(review.sides[mover(i, first_side)], move, judged);
    }
    for (SideReview &side : review.sides) {
        side.accuracy /= std::max(side.moves, 1);
        side.average_loss /= std::max(side.moves, 1);
    }
    const bool decided = result == GameResult::WHITE_WINS || result == GameResult::BLACK_WINS;
    review.turning_point =
        decided ? turn_of_decided_game(moves, first_side, result == GameResult::WHITE_WINS ? WHITE : BLACK)
                : costliest_move(review.moves);
    return review;
}
