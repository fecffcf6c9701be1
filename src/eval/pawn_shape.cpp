#include "eval/pawn_shape.h"

#include <bit>

#include "board/attacks.h"
#include "board/geometry.h"

namespace {

// Shelter: points of pawns on the files around the king, up to the last rank with a shield.
constexpr int SHIELD_SECOND_RANK = 3;
constexpr int SHIELD_THIRD_RANK = 2;
constexpr int SHIELD_FOURTH_RANK = 1;
constexpr int SAME_WING = 2;  // files between the kings up to which pawns do not storm

// A king far from all pawns loses
constexpr int FIRST_FILE_STEP = 8;  // this with no pawn on its file and beside it ...
constexpr int NEXT_FILE_STEP = 2;   // ... and this much more for each file further

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

// Files with a square of the set.
unsigned files_of(Bitboard set) {
    set |= set >> 32;
    set |= set >> 16;
    set |= set >> 8;
    return static_cast<unsigned>(set & 0xFF);
}

// The three files around a king's clamped file, as a set of files.
unsigned files_around(int file) { return 7U << (file - 1); }

unsigned rank_of_set(Bitboard set, Colour c, int relative) {
    return static_cast<unsigned>(set >> (8 * (c == WHITE ? relative : 7 - relative))) & 0xFF;
}

// Points for own pawns on the three files around the king; one pawn counts a file.
int shield_points(Bitboard pawns, Colour c, int file) {
    const unsigned around = files_around(file);
    const unsigned second = rank_of_set(pawns, c, SECOND_RANK) & around;
    const unsigned third = rank_of_set(pawns, c, THIRD_RANK) & around & ~second;
    const unsigned fourth = rank_of_set(pawns, c, FOURTH_RANK) & around & ~(second | third);
    return SHIELD_SECOND_RANK * std::popcount(second) + SHIELD_THIRD_RANK * std::popcount(third) +
           SHIELD_FOURTH_RANK * std::popcount(fourth);
}

// On the a-file with all pawns on the g-file 8 + 10 + 12 + 14 + 16.
int pawn_distance(unsigned files, int file) {
    unsigned region = 1U << file;
    region |= (region << 1 | region >> 1) & 0xFF;
    int loss = 0;
    for (int step = FIRST_FILE_STEP; region != 0xFF && (files & region) == 0; step += NEXT_FILE_STEP) {
        loss += step;
        region |= (region << 1 | region >> 1) & 0xFF;
    }
    return loss;
}

}  // namespace

void build_pawn_shape(const Position &pos, PawnShape &shape) {
    shape.key = pos.pawn_key;
    shape.kings = 0;
    std::array<Bitboard, 2> fills;
    for (const Colour c : {WHITE, BLACK}) {
        SideShape &own = shape.side[c];
        const Bitboard pawns = pos.of(c, PAWN);
        const Bitboard forward = shift_forward(c, pawns);
        own.attacks = shift_sideways(forward);
        // Squares that two pawns attack, one from either side.
        own.double_attacks = (forward & ~FILE_A) >> 1 & (forward & ~FILE_H) << 1;
        fills[c] = front_fill(c, pawns);
        own.attack_span = shift_sideways(fills[c]);
    }
    for (const Colour c : {WHITE, BLACK}) {
        SideShape &own = shape.side[c];
        const SideShape &enemy = shape.side[opponent(c)];
        const Bitboard unopposed = pos.of(c, PAWN) & ~fills[opponent(c)];
        own.passed_pawns = unopposed & ~enemy.attack_span;
        own.candidate_pawns = unopposed & enemy.attack_span;
    }
}

void build_king_shape(const Position &pos, PawnShape &shape) {
    shape.kings = packed_kings(pos);
    shape.flank_files = 0;
    const auto clamped_file = [&pos](Colour c) { return CLAMPED_COORDINATE[file_of(pos.king_square[c])]; };
    const unsigned pawn_files = files_of(pos.of(WHITE, PAWN) | pos.of(BLACK, PAWN));
    for (const Colour c : {WHITE, BLACK}) {
        const Colour enemy = opponent(c);
        const Square king = pos.king_square[c];
        const int file = clamped_file(c);
        const Square centre = make_square(file, CLAMPED_COORDINATE[rank_of(king)]);
        shape.side[c].king_zone = king_attacks(centre) | bit(centre);
        shape.flank_files |= static_cast<std::uint8_t>(files_around(file));

        const Bitboard safe_pawns = pos.of(c, PAWN) & ~shape.side[enemy].attacks;
        shape.shield[c] = static_cast<std::uint8_t>(shield_points(safe_pawns, c, file));
        // With the kings on different wings
        const bool storm = std::abs(file - file_of(pos.king_square[enemy])) > SAME_WING;
        const unsigned closed = files_of(pos.of(enemy, PAWN) & own_half(enemy)) & files_around(file);
        shape.open_files[c] = static_cast<std::uint8_t>(storm ? 3 - std::popcount(closed) : 0);
        shape.pawn_distance[c] = static_cast<std::uint8_t>(pawn_distance(pawn_files, file_of(king)));
    }
}
