// A review as it stands in a game: scores, marks, better lines and a summary.
#pragma once

#include <string>

#include "games/pgn.h"
#include "tools/review_search.h"

// "depth 12", say: what the searches were limited by.
std::string limits_text(const SearchLimits &limits);

// Puts the review into the game, in place of what an earlier one has put there. What else the game holds stays, the marks
// of its moves first of all.
void annotate(PgnGame &game, const SearchedGame &searched, const GameReview &review, const std::string &limits);

// The game in a line for the screen: players, result, accuracies, where it turned.
std::string headline(const PgnGame &game, const GameReview &review);
