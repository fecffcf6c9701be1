// Pruning margins, depths and reduction tables, derived from the settings before a search starts.
//
// Written by derive_search_params on the main thread while no search runs; read-only during a search.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "search/settings.h"

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
extern SearchParams search_params;

void derive_search_params();

// The derived values, for a person to read.
std::string search_params_text();
