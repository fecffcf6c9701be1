// Attack tables and sliding attacks, and the two attack queries on a position.
#pragma once

#include <array>

#include "board/position.h"
#include "board/types.h"

using SquareTable = std::array<Bitboard, 64>;

// Built once by init_attacks before the first position is set up; read-only afterwards, shared by all threads.
struct AttackTables {
    SquareTable knight;
    SquareTable king;
    std::array<SquareTable, 2> pawn;  // [colour][square]: squares a pawn of the colour captures to
    SquareTable north, south, east, west, north_east, north_west, south_east, south_west;  // rays, origin excluded
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

// Squares a slider on `s` attacks, up to and including the first occupied square in each direction (classical ray
// attacks: the ray beyond the first blocker is taken off the empty-board span; h8 and a1 stand in for "no blocker").
inline Bitboard rook_attacks(Square s, Bitboard occupied) {
    const AttackTables &t = attack_tables;
    return t.rook_span[s] ^ t.north[lsb((t.north[s] & occupied) | bit(H8))] ^
           t.east[lsb((t.east[s] & occupied) | bit(H8))] ^ t.south[msb((t.south[s] & occupied) | bit(A1))] ^
           t.west[msb((t.west[s] & occupied) | bit(A1))];
}
inline Bitboard bishop_attacks(Square s, Bitboard occupied) {
    const AttackTables &t = attack_tables;
    return t.bishop_span[s] ^ t.north_east[lsb((t.north_east[s] & occupied) | bit(H8))] ^
           t.north_west[lsb((t.north_west[s] & occupied) | bit(H8))] ^
           t.south_east[msb((t.south_east[s] & occupied) | bit(A1))] ^
           t.south_west[msb((t.south_west[s] & occupied) | bit(A1))];
}
inline Bitboard queen_attacks(Square s, Bitboard occupied) {
    return rook_attacks(s, occupied) | bishop_attacks(s, occupied);
}

// Whether any piece of `c` attacks `s` in the position as it stands.
bool square_attacked(const Position &pos, Square s, Colour c);

// Square of the least valuable piece of `c` that attacks `s`, or NO_SQUARE. Sliders see through every square outside
// `occupied`; the piece bitboards are read as they are, so a caller that simulates an exchange takes used pieces off
// both.
Square least_attacker(const Position &pos, Square s, Colour c, Bitboard occupied);
