#include "eval/scratch.h"

namespace {

// Every square strictly ahead of any pawn of the set on its file.
Bitboard front_fill(Colour c, Bitboard pawns) {
    if (c == WHITE) {
        pawns <<= 8;
        pawns |= pawns << 8;
        pawns |= pawns << 16;
        return pawns | pawns << 32;
    }
    pawns >>= 8;
    pawns |= pawns >> 8;
    pawns |= pawns >> 16;
    return pawns | pawns >> 32;
}

Bitboard shift_sideways(Bitboard b) { return (b & ~FILE_A) >> 1 | (b & ~FILE_H) << 1; }

Bitboard shift_forward(Colour c, Bitboard b) { return c == WHITE ? b << 8 : b >> 8; }

}  // namespace

void set_pawn_bitboards(const Position &pos, EvalScratch &scratch) {
    for (const Colour c : {WHITE, BLACK}) {
        SideScratch &own = scratch.side[c];
        const Bitboard pawns = pos.of(c, PAWN);
        const Bitboard enemy_pawns = pos.of(1 - c, PAWN);
        own.attacks[PAWN] = shift_sideways(shift_forward(c, pawns));
        own.attack_span = shift_sideways(front_fill(c, pawns));
        own.blocked_pawns = pawns & shift_forward(1 - c, enemy_pawns) & ~(FILE_A | FILE_H | RANK_1 | RANK_8);
        // Squares that two pawns attack, one from either side.
        const Bitboard forward = shift_forward(c, pawns);
        own.double_attacks = (forward & ~FILE_A) >> 1 & (forward & ~FILE_H) << 1;
    }
}
