// What follows from the pawns and the kings' squares alone, whatever the weights are: kept for positions to come.
#pragma once

#include <array>
#include <cstdint>

#include "board/position.h"

// Sets of one side.
struct SideShape {
    // By the pawns
    Bitboard attacks;         // squares that its pawns attack,
    Bitboard double_attacks;  // and two of them
    Bitboard attack_span;     // squares an own pawn could ever attack while advancing
    Bitboard passed_pawns;
    Bitboard candidate_pawns;
    // By the kings as well
    Bitboard king_zone;
};

struct PawnShape {
    std::uint64_t key;  // of the pawns
    std::array<SideShape, 2> side;
    std::uint16_t kings;                        // their squares, packed; 0: none yet
    std::uint8_t flank_files;                   // files around both kings
    std::array<std::uint8_t, 2> shield;         // points for own pawns near the king, by colour
    std::array<std::uint8_t, 2> open_files;     // around the king, on which the enemy has no pawn on its half
    std::array<std::uint8_t, 2> pawn_distance;  // what the king's distance from the pawns costs
};

constexpr std::size_t PAWN_SHAPES = 1024;

// One entry a pawn key. Nothing here becomes stale. All 0 before the first use.
using PawnShapes = std::array<PawnShape, PAWN_SHAPES>;

constexpr std::uint16_t packed_kings(const Position &pos) {
    return static_cast<std::uint16_t>((pos.king_square[WHITE].index | pos.king_square[BLACK].index << 8) + 1);
}

void build_pawn_shape(const Position &pos, PawnShape &shape);
void build_king_shape(const Position &pos, PawnShape &shape);

// The shape of the position, built where it is not there yet.
inline const PawnShape &pawn_shape(const Position &pos, PawnShapes &shapes) {
    PawnShape &shape = shapes[pos.pawn_key % PAWN_SHAPES];
    if (shape.key != pos.pawn_key) build_pawn_shape(pos, shape);
    if (shape.kings != packed_kings(pos)) build_king_shape(pos, shape);
    return shape;
}
