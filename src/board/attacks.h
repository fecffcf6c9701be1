// Attack tables and sliding attacks, and the attack questions about a position.
#pragma once

#include <array>
#ifdef DRAL_BIT_EXTRACTION
#include <immintrin.h>
#endif

#include "board/position.h"
#include "board/types.h"

using SquareTable = std::array<Bitboard, 64>;

// Built once by init_attacks before the first position is set up; read-only afterwards, shared by all threads.
struct AttackTables {
    SquareTable knight;
    SquareTable king;
    std::array<SquareTable, 2> pawn;         // [colour][square]: squares a pawn of the colour captures to
    SquareTable north, south;                // rays, origin excluded
    SquareTable rook_span;                   // rook attacks on an empty board
    SquareTable bishop_span;                 // bishop attacks on an empty board
    std::array<SquareTable, 64> between;     // [a][b]: strictly between two squares of a common line, else empty
    std::array<SquareTable, 2> passed_span;  // [colour][square]: all squares ahead on the own and neighbouring files
};

extern AttackTables attack_tables;

void init_attacks();

inline Bitboard knight_attacks(Square s) { return attack_tables.knight[s]; }
inline Bitboard king_attacks(Square s) { return attack_tables.king[s]; }
inline Bitboard pawn_attacks(Colour c, Square s) { return attack_tables.pawn[c][s]; }
inline Bitboard rook_span(Square s) { return attack_tables.rook_span[s]; }
inline Bitboard bishop_span(Square s) { return attack_tables.bishop_span[s]; }
inline Bitboard between(Square a, Square b) { return attack_tables.between[a][b]; }
// The squares in front of a side's pawn, up to the last rank.
inline Bitboard squares_ahead(Colour c, Square s) {
    return c == WHITE ? attack_tables.north[s] : attack_tables.south[s];
}

// Squares a slider on `s` attacks, up to and including the first occupied square in each direction: one look-up by the
// blockers on its lines, whose set is made an index by multiplication (magic bitboards) or, in builds with
// DRAL_BIT_EXTRACTION, by the processor. The tables are laid out for one of them, so this is not left to what the compiler
// of a file that includes this is allowed to use.
struct SliderTable {
    Bitboard mask;            // squares whose occupation matters
    std::uint64_t magic;      // see magics.h
    const Bitboard *attacks;  // [index]
    int shift;                // 64 less the number of squares in the mask

    std::size_t index(Bitboard occupied) const {
#ifdef DRAL_BIT_EXTRACTION
        return _pext_u64(occupied, mask);
#else
        return ((occupied & mask) * magic) >> shift;
#endif
    }
};
extern std::array<SliderTable, 64> rook_table, bishop_table;  // built by init_attacks

inline Bitboard rook_attacks(Square s, Bitboard occupied) {
    const SliderTable &table = rook_table[s];
    return table.attacks[table.index(occupied)];
}
inline Bitboard bishop_attacks(Square s, Bitboard occupied) {
    const SliderTable &table = bishop_table[s];
    return table.attacks[table.index(occupied)];
}
inline Bitboard queen_attacks(Square s, Bitboard occupied) {
    return rook_attacks(s, occupied) | bishop_attacks(s, occupied);
}

// Pieces of both colours that alone stand between `target` and one of the sliders of the given sets.
inline Bitboard sole_blockers(Square target, Bitboard diagonal, Bitboard straight, Bitboard occupied) {
    Bitboard sliders = (bishop_span(target) & diagonal) | (rook_span(target) & straight);
    Bitboard sole = 0;
    while (sliders != 0) {
        const Bitboard blockers = between(target, pop_lsb(sliders)) & occupied;
        if ((blockers & (blockers - 1)) == 0) sole |= blockers;
    }
    return sole;
}

// The same for all sliders of one colour in the position as it stands.
inline Bitboard sole_blockers(const Position &pos, Square target, Colour sliders) {
    const Bitboard queens = pos.of(sliders, QUEEN);
    return sole_blockers(target, pos.of(sliders, BISHOP) | queens, pos.of(sliders, ROOK) | queens, pos.occupied());
}

// Whether a piece of `by`, one of `among`, attacks `s`. Sliders see through every square outside `occupied`.
bool square_attacked(const Position &pos, Square s, Colour by, Bitboard occupied, Bitboard among = ~Bitboard{0});

// The same for the position as it stands.
inline bool square_attacked(const Position &pos, Square s, Colour by) {
    return square_attacked(pos, s, by, pos.occupied());
}

// Square of the least valuable piece of `by`, one of `among`, that attacks `s`, or NO_SQUARE. Sliders see through every
// square outside `occupied`.
Square least_attacker(const Position &pos, Square s, Colour by, Bitboard occupied, Bitboard among = ~Bitboard{0});
