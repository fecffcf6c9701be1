#include "search/params.h"

#include <algorithm>
#include <cmath>

#include "base/control.h"
#include "base/output.h"

SearchParams search_params;

namespace {

constexpr int FULL_SELECTIVITY = 200;
constexpr int RANDOM_REDUCTION_ELO = 2199;  // up to this strength

std::uint8_t rounded_reduction(double x) { return static_cast<std::uint8_t>(x >= 0.0 ? std::lround(x) : 0); }

void build_reductions(int selectivity) {
    SearchParams &p = search_params;
    for (std::size_t d = 0; d < 32; ++d) {
        for (std::size_t m = 0; m < 32; ++m) {
            p.LMR_nonpv[d][m] = p.LMR_pv[d][m] = 0;
            if (d <= 2 || m == 0) continue;
            const double depth = static_cast<double>(d);
            const double logs = std::log(depth);
            const double log_moves = std::log(static_cast<double>(m));
            const double nonpv = (0.6 + 0.46 * logs * log_moves) * selectivity * 0.01;
            const double pv = (0.44 * logs * log_moves - 0.7) * selectivity * 0.01;
            p.LMR_nonpv[d][m] = rounded_reduction(std::min(nonpv, depth - 1));
            p.LMR_pv[d][m] = rounded_reduction(std::min(pv, depth - 2));
        }
    }
}

std::string reductions_text(const std::array<std::array<std::uint8_t, 32>, 32> &table) {
    std::string text;
    for (std::size_t d = 1; d < 32; ++d) {
        text += format_line("%2zu  ", d);
        for (const std::uint8_t reduction : table[d]) text += format_line("%d ", reduction);
        text += '\n';
    }
    return text;
}

std::string depths_text(const char *title, int depth, const char *label,
                        const std::array<std::int16_t, MAX_MARGIN_DEPTH + 1> &values) {
    std::string text = format_line("%s= %d, %s=", title, depth, label);
    for (int d = 1; d <= depth; ++d) text += format_line(" %d", values[static_cast<std::size_t>(d)]);
    return text + '\n';
}

}  // namespace

void derive_search_params() {
    const Settings &s = settings;
    SearchParams &p = search_params;
    // The margin tables end at MAX_MARGIN_DEPTH.
    const auto margin_depth = [](std::int16_t depth) { return std::clamp<std::int16_t>(depth, 0, MAX_MARGIN_DEPTH); };
    p.FP_depth = margin_depth(s.FP_depth);
    p.SEP_depth = margin_depth(s.SEP_depth);
    p.LMP_depth = margin_depth(s.LMP_depth);
    p.ProbCut_depth = s.ProbCut_depth;
    p.NMP_depth = s.NMP_depth;
    p.LMR_depth = s.LMR_depth;
    p.ProbCut_reduction = s.ProbCut_reduction;
    p.ProbCut_margin = s.ProbCut_margin;

    const int selectivity = std::min<int>(s.Selectivity, FULL_SELECTIVITY);
    p.BP_margin = static_cast<std::int16_t>(selectivity < 100 ? ((100 - selectivity) >> 1) + 15 : 15);
    for (int d = 0; d <= MAX_MARGIN_DEPTH; ++d) {
        const auto i = static_cast<std::size_t>(d);
        p.FP_margin[i] = static_cast<std::int16_t>(50 + d * s.FP_step);
        p.SEP_margin[i] = static_cast<std::int16_t>(d * s.SEP_step);
        p.LMP_count[i] = static_cast<std::int16_t>(1 + d * s.LMP_step);
    }
    build_reductions(selectivity);

    p.random_reduction_rate = 0;
    if (s.UCI_Elo >= 1 && s.UCI_Elo <= RANDOM_REDUCTION_ELO && target_nps > 10.0)
        p.random_reduction_rate = static_cast<std::int32_t>(std::min(4500.0 / (target_nps - 10.0), 1e6));
}

std::string search_params_text() {
    const SearchParams &p = search_params;
    std::string text = format_line("BP_margin= %d\n", p.BP_margin);
    text += depths_text("FP_depth", p.FP_depth, "margins", p.FP_margin);
    text += depths_text("SEP_depth", p.SEP_depth, "margins", p.SEP_margin);
    text += format_line("PC: depth= %d, Red= %d, Margin= %d\n", p.ProbCut_depth, p.ProbCut_reduction, p.ProbCut_margin);
    text += format_line("NMP_depth= %d\n", p.NMP_depth);
    text += depths_text("LMP_depth", p.LMP_depth, "count", p.LMP_count);
    text += format_line("LMR_depth= %d\n", p.LMR_depth);
    return text + "LMR table:\n" + reductions_text(p.LMR_pv) + "\n\n" + reductions_text(p.LMR_nonpv);
}
