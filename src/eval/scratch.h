// What the steps of one evaluation share.
#pragma once

#include <array>

#include "board/geometry.h"
#include "board/position.h"
#include "eval/display.h"
#include "eval/parameters.h"
#include "eval/pawn_shape.h"
#include "eval/score.h"

// What is collected over several steps starts with a value; every other field is written, by the step that its heading
// names, before a later step reads it. Nothing is cleared in advance: this happens at every node.
struct SideScratch {
    // set_attack_maps: attacks[PAWN], attacks[KING] and the sums so far; evaluate_pieces: the other types and the complete
    // sums.
    std::array<Bitboard, 8> attacks;  // by piece type; slot 0: all attacks
    Bitboard double_attacks;          // squares attacked twice

    // set_attack_maps
    Bitboard mobility_area;
    Bitboard outposts;

    // set_material
    ScorePair material;
    int piece_count;  // min(12, minors + 2 * rooks + 4 * queens)

    // evaluate_pieces
    unsigned attack_units;  // 3-bit counts of own pieces that reach the enemy king zone: N, B, R, Q from bit 0

    // evaluate_pawns writes it (from the pawn hash, perhaps), every later term adds to it.
    ScorePair positional;
    // All terms but the pawns add what the side stands to lose.
    int threat_level = 0;
};

struct EvalScratch {
    // evaluate, before the first step
    Bitboard occupied;
    EvalDisplay *display;    // nullptr: nobody looks
    const PawnShape *shape;  // of the position's pawns and kings

    // set_pinned
    Bitboard pinned;

    // set_material
    int stage;  // 0 .. 24

    // evaluate_threats and evaluate_passers collect them for the display.
    Bitboard threatened = 0;    // hung pawns and pieces of both sides
    Bitboard free_passers = 0;  // passed pawns with a safe way to promotion

    std::array<SideScratch, 2> side;

    // Adds a term of the piece on `s` to its side's positional score.
    void add(Colour c, Square s, DisplayTerm term, ScorePair pair) {
        side[c].positional += pair;
        if (display != nullptr) show(c, s, term, pair);
    }
    void show(Colour c, Square s, DisplayTerm term, ScorePair pair) { display->add(c, s, term, taper(pair, stage)); }
};

struct EvalThread;

// The terms. Each stays a function of its own: one body of them all would run out of registers.

// pawns.cpp: pawn structure, from the pawn hash where it is known, which starts the positional scores.
[[gnu::noinline]] void evaluate_pawns(const Position &pos, const EvalTables &tables, EvalThread &thread,
                                      EvalScratch &scratch);

// pieces.cpp: knights, bishops, rooks and queens of both sides.
[[gnu::noinline]] void evaluate_pieces(const Position &pos, const EvalTables &tables, EvalScratch &scratch);

// king.cpp: shelter, danger and activity of both kings. All attack maps are complete.
[[gnu::noinline]] void evaluate_kings(const Position &pos, const EvalTables &tables, EvalScratch &scratch);

// passers.cpp: passed pawns of both sides, then candidates.
[[gnu::noinline]] void evaluate_passers(const Position &pos, const EvalTables &tables, EvalScratch &scratch);

// threats.cpp: hung and attacked pieces, then pawn pushes that attack something.
[[gnu::noinline]] void evaluate_threats(const Position &pos, const EvalTables &tables, EvalScratch &scratch);

// endgames.cpp: whether the material can win for nobody; the score of the strong side when the other one has only its king
// and a recogniser knows the material; and the share that a score keeps, up to FULL_SCALE.
constexpr int FULL_SCALE = 256;
bool is_material_draw(const Position &pos);
bool recognise_bare_king(const Position &pos, int &white_score);
int draw_scale(const Position &pos, const EvalScratch &scratch, int score);
