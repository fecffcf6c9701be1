// Search parameters: what a user can set, and the margins, depths and reduction tables derived from it before a search
// starts.
#pragma once

#include <array>
#include <cstdint>
#include <string>

constexpr int MAX_MARGIN_DEPTH = 11;  // last depth of the margin tables

// In plies unless noted.
struct SearchSettings {
    std::int16_t Selectivity = 100;  // percent
    std::int16_t NMP_depth = 3;
    std::int16_t SEP_depth = 3;
    std::int16_t FP_depth = 3;
    std::int16_t ProbCut_depth = 3;
    std::int16_t LMP_depth = 6;
    std::int16_t LMR_depth = 3;
    std::int16_t SEP_step = 75;  // centipawns a ply
    std::int16_t FP_step = 125;  // centipawns a ply
    std::int16_t LMP_step = 2;   // moves a ply
    std::int16_t ProbCut_reduction = 3;
    std::int16_t ProbCut_margin = 100;  // centipawns
};

struct SearchParams {
    std::int16_t FP_depth, SEP_depth, ProbCut_depth, NMP_depth, LMP_depth, LMR_depth;  // plies
    std::int16_t ProbCut_reduction;                                                    // plies
    std::int16_t ProbCut_margin, BP_margin;                                            // centipawns
    std::array<std::int16_t, MAX_MARGIN_DEPTH + 1> FP_margin;                          // [depth], centipawns
    std::array<std::int16_t, MAX_MARGIN_DEPTH + 1> SEP_margin;                         // [depth], centipawns
    std::array<std::int16_t, MAX_MARGIN_DEPTH + 1> LMP_count;                          // [depth], moves
    std::array<std::array<std::uint8_t, 32>, 32> LMR_nonpv;                            // [depth][moves searched], plies
    std::array<std::array<std::uint8_t, 32>, 32> LMR_pv;                               // [depth][moves searched], plies
    std::int32_t random_reduction_rate;                                                // 0: no random depth reductions
};

// `elo`: the wanted strength, 0 when there is none; `target_nps`: the node rate that goes with it, per second. While no
// search runs with these parameters.
void derive_search_params(const SearchSettings &settings, int elo, double target_nps, SearchParams &params);

// The derived values, for a person to read.
std::string search_params_text(const SearchParams &params);
