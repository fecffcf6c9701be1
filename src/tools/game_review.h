// The judgement of a game: what follows from the scores of its positions, whoever has found them.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "board/types.h"
#include "games/results.h"
#include "tools/chances.h"

// What a search has found about a move. Scores as in chances.h, from the view of its player.
struct ScoredMove {
    bool judged = false;  // both scores are known
    bool best = false;    // the search would play it, too
    bool only = false;    // and every other move is much worse
    int before = 0;
    int after = 0;
};

struct JudgedMove {
    MoveMark mark = MoveMark::NONE;
    double loss = 0.0;  // percent of the chances
};

struct SideReview {
    int moves = 0;              // that were judged
    double accuracy = 0.0;      // the mean of theirs, percent
    double average_loss = 0.0;  // centipawns
    int inaccuracies = 0;
    int mistakes = 0;
    int blunders = 0;
};

constexpr int NO_TURNING_POINT = -1;

struct GameReview {
    std::vector<JudgedMove> moves;
    std::array<SideReview, 2> sides;
    // Index of the move where the game turned. In a decided game: from it on the winner's chances never again fell below
    // 60 percent. In any other: the costliest move, if that is marked.
    int turning_point = NO_TURNING_POINT;
};

GameReview review_game(std::span<const ScoredMove> moves, Colour first_side, GameResult result);
