// The searches of a review: every position of a game, from the last to the first, so that the hash table holds what came
// after and the scores of neighbours agree.
#pragma once

#include <string>
#include <vector>

#include "games/pgn.h"
#include "tools/crew.h"
#include "tools/game_review.h"

struct SearchedGame {
    std::vector<ScoredMove> moves;
    // By position, that after all moves included; from the view of the side to move. Not known: book, or no result.
    struct PositionScore {
        bool known = false;
        int score = 0;
    };
    std::vector<PositionScore> positions;
    // By move: what would have been better, in moves with their numbers; empty unless the move is marked for its loss.
    std::vector<std::string> better_lines;
    int searched = 0;  // positions
};

// Plays the game out, which gives its moves their standard texts, and searches it on the worker's engine. What the engine
// has searched before has no influence. Moves at the start that the book of the engine's options knows are not searched.
// Incomplete, or empty, when the worker is stopped.
SearchedGame search_game(Worker &worker, PgnGame &game, const SearchLimits &limits);
