// The opening book: one move for a position, drawn at random by the weights of its entries.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "base/random.h"
#include "board/position.h"

struct BookOptions {
    std::string_view file;  // empty: no book
    int variety;  // 0 .. 100: shifts all weights by a share of the first one, from -25 % to +75 %; 25 is neutral
};

// An entry that can be drawn.
struct BookChoice {
    std::uint16_t move;  // as the book has it: book_squares (format.h) writes it, move_from_book reads it
    std::uint16_t weight;
    std::int64_t share;  // what the variety makes of its weight, above 0; to be seen against `total_share`
};

struct BookDraw {
    Move move = NO_MOVE;              // the legal move that was drawn
    std::vector<BookChoice> choices;  // in the order of the file
    std::int64_t total_share = 0;     // of the choices
    std::int64_t total_weight = 0;    // of all entries of the position
};

// Draws a move. There are no choices when no file is named or it is no readable regular file, the position is not in it,
// or all its weights are 0; there is no move then, nor when the one drawn is not legal. Any thread with a generator of
// its own.
BookDraw probe_book(const Position &pos, const BookOptions &options, RandomGenerator &random);
