// What a score means: chances, what a move has lost of them, and how accurate that is. Pure formulas.
//
// Scores are centipawns from the view of the side that the question is about, mates (MATE, search/search.h) among them.
// Chances, losses and accuracies are percent, 0 .. 100.
#pragma once

#include <cstdint>

// Steepness of the winning chances: at an even score a pawn more is worth 14 percent. The likeliest value
// for the results of 548 games between engines, given the scores of 20,000 of their quiet positions, each searched to depth
// 8 and kept within 1000 centipawns.
constexpr double CHANCES_SLOPE = 0.0058;  // 1 / centipawns

// Losses of chances from which on a move is marked.
constexpr double INACCURACY_LOSS = 5.0;
constexpr double MISTAKE_LOSS = 10.0;
constexpr double BLUNDER_LOSS = 15.0;

constexpr int LARGEST_AVERAGED_SCORE = 1000;  // for the average loss in centipawns, scores are kept within this

// Numeric annotation glyphs of the marks.
enum class MoveMark : std::uint8_t { NONE = 0, GOOD = 1, MISTAKE = 2, BLUNDER = 4, INACCURACY = 6 };

// A logistic curve: 50 for a score of 0.
double winning_chances(int score);

// What a move has lost, at least 0: the chances of its player before it less those after it.
double lost_chances(int before, int after);
int lost_centipawns(int before, int after);

// GOOD is for others to give.
MoveMark mark_of_loss(double loss);

// Accuracy of a move: the published accuracy curve of a large chess site's analysis. 100 without a loss, 64 at 10, 40 at 20.
double move_accuracy(double loss);

// Whether the best move of a position is worth a mark: every other one loses much, and does not win all the same.
bool is_only_move(int best, int second);
