// Move texts: coordinate text as the protocol exchanges it, algebraic text as people and game files write it.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "board/position.h"
#include "board/types.h"

// How the piece of a promotion is written: "q", or "=Q".
enum class PromotionStyle { LOWER_CASE, EQUALS_SIGN };

// From-square, to-square and promotion suffix; "null" for no move. Any word gives well-formed text.
std::string move_to_text(Move m, PromotionStyle style);

// From-square and to-square alone.
std::string squares_of(Move m);

// The four texts by which a move of the side to move is known: coordinate text, the algebraic notation that the program
// writes, and two longer variants (g1f3, Nf3, Ngf3, N1f3). Variants that do not exist are empty or "+".
using MoveTexts = std::array<std::string, 4>;
MoveTexts move_to_san(const Position &pos, Move m);

// What a move's text denotes.
struct ParsedMove {
    Move move = NO_MOVE;  // NO_MOVE unless exactly one legal move fits
    int matches = 0;      // legal moves that fit

    bool found() const { return matches == 1; }
};
ParsedMove parse_move(const Position &pos, std::string_view typed);

// The word without the move number that some game files glue to a move: "e4" for "1.e4", "1..." as it is.
std::string_view without_move_number(std::string_view word);

// Finds the legal move that a coordinate text (e2e4, e7e8q) denotes; NO_MOVE when there is none.
Move parse_coordinates(const Position &pos, std::string_view text);
