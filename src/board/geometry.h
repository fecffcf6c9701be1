// Geometry of the board: sets of squares as a side sees them, shifts of whole sets, distances.
#pragma once

#include <algorithm>
#include <array>
#include <cstdlib>

#include "board/types.h"

// Ranks as a side counts them: what relative_rank gives and relative_rank_mask takes.
enum : int {
    SECOND_RANK = 1,
    THIRD_RANK = 2,
    FOURTH_RANK = 3,
    FIFTH_RANK = 4,
    SIXTH_RANK = 5,
    SEVENTH_RANK = 6,
    EIGHTH_RANK = 7
};

// A square as White's tables number it: from_white_side(BLACK, e7) is e2.
constexpr Square from_white_side(Colour c, Square s) { return c == WHITE ? s : s ^ 56; }

// The rank mask seen from a side: relative_rank_mask(BLACK, SEVENTH_RANK) is rank 2.
constexpr Bitboard relative_rank_mask(Colour c, int rank) { return rank_mask(c == WHITE ? rank : 7 - rank); }

// The four ranks on a side's own half of the board.
constexpr Bitboard own_half(Colour c) { return c == WHITE ? 0x00000000FFFFFFFF : 0xFFFFFFFF00000000; }

// Where a side's pawns on the file promote.
constexpr Square promotion_square(Colour c, int file) { return make_square(file, c == WHITE ? 7 : 0); }

constexpr Bitboard LIGHT_SQUARES = 0x55AA55AA55AA55AA;
constexpr bool is_light(Square s) { return (LIGHT_SQUARES & bit(s)) != 0; }
// All squares of the square's colour.
constexpr Bitboard same_coloured(Square s) { return is_light(s) ? LIGHT_SQUARES : ~LIGHT_SQUARES; }

// King distance.
inline int distance(Square a, Square b) {
    return std::max(std::abs(file_of(a) - file_of(b)), std::abs(rank_of(a) - rank_of(b)));
}

// A king's file or rank, moved off the edge.
constexpr std::array<int, 8> CLAMPED_COORDINATE = {1, 1, 2, 3, 4, 5, 6, 6};

// The set moved one file to either side, and one rank forward for a side.
constexpr Bitboard shift_sideways(Bitboard b) { return (b & ~FILE_A) >> 1 | (b & ~FILE_H) << 1; }
constexpr Bitboard shift_forward(Colour c, Bitboard b) { return c == WHITE ? b << 8 : b >> 8; }
// Every square that a pawn of the set attacks.
constexpr Bitboard pawn_attack_set(Colour c, Bitboard pawns) { return shift_sideways(shift_forward(c, pawns)); }
