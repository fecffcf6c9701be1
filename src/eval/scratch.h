// What the steps of one evaluation share.
#pragma once

#include <array>

#include "board/position.h"
#include "eval/parameters.h"
#include "eval/score.h"

struct SideScratch {
    std::array<Bitboard, 8> attacks;  // by piece type; slot 0: all attacks
    Bitboard double_attacks;          // squares attacked twice
    Bitboard king_zone;
    Bitboard mobility_area;
    Bitboard outposts;
    Bitboard attack_span;    // squares an own pawn could ever attack while advancing
    Bitboard blocked_pawns;  // own pawns on files b-g behind an enemy pawn
    ScorePair material;
    ScorePair positional;
    int piece_count;  // min(12, minors + 2 * rooks + 4 * queens)
    int threat_level;
    unsigned attack_units;  // 3-bit counts of own pieces that reach the enemy king zone: N, B, R, Q from bit 0
};

struct EvalScratch {
    Bitboard occupied;
    Bitboard flank_files;  // files around both kings
    Bitboard pinned;
    std::array<SideScratch, 2> side;
    int stage;  // 0 .. 24
};

// Counts of one piece type in a packed material word.
inline int material_count(std::uint32_t material, int type) {
    return static_cast<int>(material >> (4 * (type - 1)) & 15);
}

// A square as White's tables number it.
constexpr Square from_white_side(Colour c, Square s) { return c == WHITE ? s : s ^ 56; }

// pawns.cpp: pawn attacks, spans and blocked pawns of both sides.
void set_pawn_bitboards(const Position &pos, EvalScratch &scratch);

// pieces.cpp: knights, bishops, rooks and queens of both sides.
void evaluate_pieces(const Position &pos, EvalScratch &scratch);
