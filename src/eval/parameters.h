// The tables that the evaluation reads, derived from the weights and the personality in the settings, and the registry
// of weights that tuners change by name.
//
// Owner: eval. Written by derive_eval_tables on the main thread while no search runs; read-only during a search.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "base/settings.h"
#include "eval/score.h"

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

extern EvalTables eval_tables;

// Rebuilds every table from `settings` and makes every thread's caches stale.
void derive_eval_tables();

// Number of times the tables have been rebuilt or the caches made stale otherwise. A thread whose caches carry another
// number clears them at its next search.
extern std::uint32_t eval_generation;

// Percentages applied to a weight: round(percent * 0.01 * weight), halves away from zero.
ScorePair scale_pair(WeightPair weight, WeightPair percent);

// One registered weight.
struct TunableParam {
    std::array<char, 25> name;  // at most 24 characters
    std::int16_t *target;
    double estimate;     // the value at registration, then a tuner's running estimate
    double accumulator;  // the tuner's own
    std::uint16_t selected;

    std::string_view name_view() const { return name.data(); }
};

extern std::vector<TunableParam> tunables;

// Registers every weight of `settings`, in a fixed order, unless that has been done.
void register_eval_tunables();
void register_tunable(std::string_view name, std::int16_t &target);
// Marks the weight of that name; an unknown name changes nothing.
void select_tunable(std::string_view name);
