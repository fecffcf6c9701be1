// The tables that the evaluation reads, derived from the weights and the personality.
//
// A plain record: its owner derives it on one thread while no search runs that reads it; read-only during a search.
#pragma once

#include <array>
#include <cstdint>

#include "board/types.h"
#include "eval/score.h"
#include "eval/weights.h"

// One ScorePair a square, from White's side (a1 first); Black looks up the square mirrored vertically.
using SquareScores = std::array<ScorePair, 64>;

struct EvalTables {
    ScorePair pawn, knight, bishop, rook, queen, bishop_pair;  // material
    ScorePair lone_queen;
    ScorePair pawn_doubled, pawn_backward, pawn_isolated, pawn_weak, pawn_blocked, pawn_candidate;
    ScorePair rook_open_file, rook_half_open_file, rook_rank7, rook_trapped;
    ScorePair hung_pawn, hung_piece, multi_hung, threat_ppush, attacked_piece;
    ScorePair knight_outpost, knight_half_outpost, bishop_outpost, bishop_half_outpost;
    ScorePair bad_bishop;
    ScorePair pawn_storm, safe_check;
    int contempt;  // centipawns
    // Who the engine plays for, and whether contempt counts in this search: see set_contempt_context.
    Colour engine_side = WHITE;
    bool contempt_active = true;
    // Raised whenever caches filled from these tables become stale. A thread whose caches carry another number clears
    // them at its next search (refresh_eval_caches).
    std::uint32_t generation = 0;

    std::array<std::int16_t, 8> passed_unsafe;  // by relative rank: the advance is not safe
    std::array<std::int16_t, 8> passed_safe;    // by relative rank: the advance is safe

    std::array<ScorePair, 11> knight_mobility;  // by number of squares
    std::array<ScorePair, 21> bishop_mobility;
    std::array<ScorePair, 21> rook_mobility;
    std::array<ScorePair, 29> queen_mobility;

    std::array<std::int16_t, 24> pawn_shield;  // PawnShield, by shield index
    std::array<std::int16_t, 64> king_danger;  // KingDanger, by danger index

    SquareScores pawn_squares, connected_squares, defended_squares;
    SquareScores knight_squares, bishop_squares, rook_squares, queen_squares, king_squares;
};

// Rebuilds every table from the weights and makes caches filled from the tables stale. The contempt context stays.
void derive_eval_tables(const EvalWeights &weights, EvalTables &tables);

// Who the engine plays for, and whether the planned time is short enough for contempt to count; for a search start. A
// change makes all caches stale while the contempt is not 0.
void set_contempt_context(EvalTables &tables, Colour engine_side, bool active);

// Percentages applied to a weight: round(percent * 0.01 * weight), halves away from zero.
ScorePair scale_pair(WeightPair weight, WeightPair percent);
