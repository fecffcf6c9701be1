// What the steps of one evaluation share.
#pragma once

#include <algorithm>
#include <array>
#include <cstdlib>

#include "board/position.h"
#include "eval/display.h"
#include "eval/parameters.h"
#include "eval/score.h"

struct SideScratch {
    std::array<Bitboard, 8> attacks;  // by piece type; slot 0: all attacks
    Bitboard double_attacks;          // squares attacked twice
    Bitboard king_zone;
    Bitboard mobility_area;
    Bitboard outposts;
    Bitboard front_fill;   // squares strictly ahead of an own pawn on its file
    Bitboard attack_span;  // squares an own pawn could ever attack while advancing
    Bitboard passed_pawns;
    Bitboard candidate_pawns;
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
    Bitboard threatened;    // hung pawns and pieces of both sides
    Bitboard free_passers;  // passed pawns with a safe way to promotion
    std::array<SideScratch, 2> side;
    int stage;             // 0 .. 24
    EvalDisplay *display;  // nullptr: nobody looks

    // Adds a term of the piece on `s` to its side's positional score.
    void add(Colour c, Square s, DisplayTerm term, ScorePair pair) {
        side[c].positional += pair;
        if (display != nullptr) show(c, s, term, pair);
    }
    void show(Colour c, Square s, DisplayTerm term, ScorePair pair) { display->add(c, s, term, taper(pair, stage)); }
};

// Counts of one piece type in a packed material word.
inline int material_count(std::uint32_t material, int type) {
    return static_cast<int>(material >> (4 * (type - 1)) & 15);
}

// A square as White's tables number it.
constexpr Square from_white_side(Colour c, Square s) { return c == WHITE ? s : s ^ 56; }

// The rank mask seen from a side: relative_rank_mask(BLACK, 6) is rank 2.
constexpr Bitboard relative_rank_mask(Colour c, int rank) { return rank_mask(c == WHITE ? rank : 7 - rank); }

// The four ranks on a side's own half of the board.
constexpr Bitboard own_half(Colour c) { return c == WHITE ? 0x00000000FFFFFFFF : 0xFFFFFFFF00000000; }

constexpr Bitboard LIGHT_SQUARES = 0x55AA55AA55AA55AA;
constexpr bool is_light(Square s) { return (LIGHT_SQUARES & bit(s)) != 0; }

// King distance.
inline int distance(Square a, Square b) {
    return std::max(std::abs(file_of(a) - file_of(b)), std::abs(rank_of(a) - rank_of(b)));
}

// A king's file or rank, moved off the edge.
constexpr std::array<int, 8> CLAMPED_COORDINATE = {1, 1, 2, 3, 4, 5, 6, 6};

inline Bitboard shift_sideways(Bitboard b) { return (b & ~FILE_A) >> 1 | (b & ~FILE_H) << 1; }
inline Bitboard shift_forward(Colour c, Bitboard b) { return c == WHITE ? b << 8 : b >> 8; }
inline Bitboard pawn_attack_set(Colour c, Bitboard pawns) { return shift_sideways(shift_forward(c, pawns)); }

struct EvalThread;

// The terms. Each stays a function of its own: one body of them all would run out of registers.

// pawns.cpp: pawn attacks, spans, passed, candidate and blocked pawns of both sides; then their structure, from the pawn
// hash where it is known, which starts the positional scores.
void set_pawn_bitboards(const Position &pos, EvalScratch &scratch);
[[gnu::noinline]] void evaluate_pawns(const Position &pos, EvalThread &thread, EvalScratch &scratch);

// pieces.cpp: knights, bishops, rooks and queens of both sides.
[[gnu::noinline]] void evaluate_pieces(const Position &pos, EvalScratch &scratch);

// king.cpp: shelter, danger and activity of both kings. All attack maps are complete.
[[gnu::noinline]] void evaluate_kings(const Position &pos, EvalScratch &scratch);

// passers.cpp: passed pawns of both sides, then candidates.
[[gnu::noinline]] void evaluate_passers(const Position &pos, EvalScratch &scratch);

// threats.cpp: hung and attacked pieces, then pawn pushes that attack something.
[[gnu::noinline]] void evaluate_threats(const Position &pos, EvalScratch &scratch);

// endgames.cpp: whether the material can win for nobody; the score of the strong side when the other one has only its king
// and a recogniser knows the material; and the share, in 256ths, that a score keeps.
bool is_material_draw(const Position &pos);
bool recognise_bare_king(const Position &pos, int &white_score);
int draw_scale(const Position &pos, const EvalScratch &scratch, int score);
