#include "search/params.h"

#include <algorithm>
#include <cmath>

#include "base/output.h"

namespace {

constexpr int FULL_SELECTIVITY = 200;
constexpr int NORMAL_SELECTIVITY = 100;
constexpr int LEAST_BP_MARGIN = 15;  // centipawns
constexpr int FP_BASE = 50;          // centipawns
constexpr int LMP_BASE = 1;          // moves

// Random reductions: the slower the play, the more of them.
constexpr int RANDOM_REDUCTION_ELO = 2199;  // up to this strength
constexpr double RANDOM_REDUCTION_SCALE = 4500.0;
constexpr double SLOWEST_RATE = 10.0;  // nodes per second
constexpr double HIGHEST_REDUCTION_RATE = 1e6;

// Late-move reductions of depth d and move m: base + slope * ln d * ln m plies, and how much depth must be left.
struct ReductionCurve {
    double base, slope;
    int depth_left;
};
constexpr ReductionCurve NONPV_CURVE = {0.6, 0.46, 1};
constexpr ReductionCurve PV_CURVE = {-0.7, 0.44, 2};
constexpr int LEAST_REDUCED_DEPTH = 3;

std::uint8_t rounded_reduction(double x) { return static_cast<std::uint8_t>(x >= 0.0 ? std::lround(x) : 0); }

std::uint8_t reduction(const ReductionCurve &curve, int depth, int move, int selectivity) {
    const double logs = std::log(static_cast<double>(depth));
    const double plies = (curve.base + curve.slope * logs * std::log(static_cast<double>(move))) * selectivity * 0.01;
    return rounded_reduction(std::min(plies, static_cast<double>(depth - curve.depth_left)));
}

void build_reductions(int selectivity, SearchParams &p) {
    for (int d = 0; d < 32; ++d) {
        for (int m = 0; m < 32; ++m) {
            const bool reduced = d >= LEAST_REDUCED_DEPTH && m > 0;
            p.LMR_nonpv[d][m] = reduced ? reduction(NONPV_CURVE, d, m, selectivity) : std::uint8_t{0};
            p.LMR_pv[d][m] = reduced ? reduction(PV_CURVE, d, m, selectivity) : std::uint8_t{0};
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

void derive_search_params(const SearchSettings &s, int elo, double target_nps, SearchParams &p) {
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
    const int timidity = std::max(NORMAL_SELECTIVITY - selectivity, 0);
    p.BP_margin = static_cast<std::int16_t>(LEAST_BP_MARGIN + timidity / 2);
    for (int d = 0; d <= MAX_MARGIN_DEPTH; ++d) {
        const auto i = static_cast<std::size_t>(d);
        p.FP_margin[i] = static_cast<std::int16_t>(FP_BASE + d * s.FP_step);
        p.SEP_margin[i] = static_cast<std::int16_t>(d * s.SEP_step);
        p.LMP_count[i] = static_cast<std::int16_t>(LMP_BASE + d * s.LMP_step);
    }
    build_reductions(selectivity, p);

    p.random_reduction_rate = 0;
    if (elo >= 1 && elo <= RANDOM_REDUCTION_ELO && target_nps > SLOWEST_RATE)
        p.random_reduction_rate = static_cast<std::int32_t>(
            std::min(RANDOM_REDUCTION_SCALE / (target_nps - SLOWEST_RATE), HIGHEST_REDUCTION_RATE));
}

std::string search_params_text(const SearchParams &p) {
    std::string text = format_line("BP_margin= %d\n", p.BP_margin);
    text += depths_text("FP_depth", p.FP_depth, "margins", p.FP_margin);
    text += depths_text("SEP_depth", p.SEP_depth, "margins", p.SEP_margin);
    text += format_line("PC: depth= %d, Red= %d, Margin= %d\n", p.ProbCut_depth, p.ProbCut_reduction, p.ProbCut_margin);
    text += format_line("NMP_depth= %d\n", p.NMP_depth);
    text += depths_text("LMP_depth", p.LMP_depth, "count", p.LMP_count);
    text += format_line("LMR_depth= %d\n", p.LMR_depth);
    return text + "LMR table:\n" + reductions_text(p.LMR_pv) + "\n\n" + reductions_text(p.LMR_nonpv);
}
