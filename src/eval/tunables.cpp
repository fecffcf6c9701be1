#include "eval/tunables.h"

#include <algorithm>
#include <cmath>

namespace {

enum class Halves { BOTH, OP, EN };  // BOTH: listed as <name>_op and <name>_en

// A weight pair by name; values outside the range are of no use to anybody.
struct NamedPair {
    const char *name;
    WeightPair EvalWeights::*pair;
    Halves halves;
    int low, high;
};

using W = EvalWeights;
using enum Halves;
constexpr int LIGHTEST = 20;  // material, centipawns
constexpr int HEAVIEST = 2000;
constexpr int LARGEST_TERM = 200;  // any other weight, to either side
constexpr int LARGEST_PERCENTAGE = 200;
constexpr int LARGEST_SCRATCH = 1000;

// clang-format off
constexpr NamedPair PAIRS[] = {
    {"pawn_value",          &W::pawn_value,          BOTH, LIGHTEST, HEAVIEST},
    {"knight_value",        &W::knight_value,        BOTH, LIGHTEST, HEAVIEST},
    {"bishop_value",        &W::bishop_value,        BOTH, LIGHTEST, HEAVIEST},
    {"rook_value",          &W::rook_value,          BOTH, LIGHTEST, HEAVIEST},
    {"queen_value",         &W::queen_value,         BOTH, LIGHTEST, HEAVIEST},
    {"bishop_pair",         &W::bishop_pair,         BOTH, 0, 100},
    {"knight_mobility",     &W::knight_mobility,     BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"bishop_mobility",     &W::bishop_mobility,     BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"rook_mobility",       &W::rook_mobility,       BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"queen_mobility",      &W::queen_mobility,      BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"pawn_doubled",        &W::pawn_doubled,        BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"pawn_backward",       &W::pawn_backward,       BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"pawn_isolated",       &W::pawn_isolated,       BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"pawn_weak",           &W::pawn_weak,           BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"pawn_connected",      &W::pawn_connected,      BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"pawn_defended",       &W::pawn_defended,       BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"pawn_candidate",      &W::pawn_candidate,      BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"knight_outpost",      &W::knight_outpost,      OP,   -LARGEST_TERM, LARGEST_TERM},
    {"bishop_outpost",      &W::bishop_outpost,      OP,   -LARGEST_TERM, LARGEST_TERM},
    {"rook_open_file",      &W::rook_open_file,      BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"rook_half_open_file", &W::rook_half_open_file, BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"rook_rank7",          &W::rook_rank7,          BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"rook_trapped",        &W::rook_trapped,        BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"queen_rank7",         &W::queen_rank7,         BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"pawn_shield",         &W::pawn_shield,         OP,   -LARGEST_TERM, LARGEST_TERM},
    {"pawn_storm",          &W::pawn_storm,          OP,   -LARGEST_TERM, LARGEST_TERM},
    {"safe_check",          &W::safe_check,          BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"hung_pawn",           &W::hung_pawn,           BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"hung_piece",          &W::hung_piece,          BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"attacked_piece",      &W::attacked_piece,      BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"multi_hung",          &W::multi_hung,          BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"threat_ppush",        &W::threat_ppush,        BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"PST_P",               &W::PST_P,               BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"PST_N",               &W::PST_N,               BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"PST_B",               &W::PST_B,               BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"PST_R",               &W::PST_R,               BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"PST_Q",               &W::PST_Q,               BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"PST_K",               &W::PST_K,               BOTH, -LARGEST_TERM, LARGEST_TERM},
    {"pawnstruct",          &W::Pawn_Structure,      OP,   0, LARGEST_PERCENTAGE},
    {"king_safety",         &W::King_Safety,         OP,   0, LARGEST_PERCENTAGE},
    {"ppawns",              &W::Passed_Pawns,        EN,   0, LARGEST_PERCENTAGE},
    {"threats",             &W::Threats,             EN,   0, LARGEST_PERCENTAGE},
};
// clang-format on

// The weight's place in a record that may be constant.
template <typename Weights>
auto &weight_in(Weights &weights, const PairHalf &place) {
    return weights.*place.pair.*place.half;
}
template <typename Weights, std::size_t N>
auto &weight_in(Weights &weights, const ScratchEntry<N> &entry) {
    return (weights.*entry.table)[entry.index];
}

}  // namespace

std::int16_t &WeightRef::of(EvalWeights &weights) const {
    return std::visit([&weights](const auto &at) -> std::int16_t & { return weight_in(weights, at); }, place);
}
std::int16_t WeightRef::of(const EvalWeights &weights) const {
    return std::visit([&weights](const auto &at) -> std::int16_t { return weight_in(weights, at); }, place);
}

std::int16_t nearest_weight(double x) {
    return static_cast<std::int16_t>(std::clamp(std::round(x), -32768.0, 32767.0));
}

std::vector<TunableParam> eval_tunables(const EvalWeights &weights) {
    std::vector<TunableParam> list;
    const auto add = [&](std::string name, WeightRef weight, int low, int high) {
        list.push_back({std::move(name), weight, low, high, static_cast<double>(weight.of(weights)), false});
    };
    for (const NamedPair &named : PAIRS) {
        const std::string name(named.name);
        const bool both = named.halves == BOTH;
        if (named.halves != EN)
            add(both ? name + "_op" : name, {PairHalf{named.pair, &WeightPair::op}}, named.low, named.high);
        if (named.halves != OP)
            add(both ? name + "_en" : name, {PairHalf{named.pair, &WeightPair::en}}, named.low, named.high);
    }
    for (std::size_t i = 0; i < weights.pst_scratch.size(); ++i) {
        const char name[] = {'p', 's', 't', '_', static_cast<char>('a' + i % 4), static_cast<char>('1' + i / 4), '\0'};
        add(name, {ScratchEntry<32>{&EvalWeights::pst_scratch, i}}, -LARGEST_SCRATCH, LARGEST_SCRATCH);
    }
    for (std::size_t i = 0; i < weights.p_scratch.size(); ++i)
        add(std::string("p").append(std::to_string(i + 1)), {ScratchEntry<15>{&EvalWeights::p_scratch, i}},
            -LARGEST_SCRATCH, LARGEST_SCRATCH);
    return list;
}

TunableParam *tunable_named(std::vector<TunableParam> &params, std::string_view name) {
    const auto found =
        std::find_if(params.begin(), params.end(), [name](const TunableParam &param) { return param.name == name; });
    return found != params.end() ? &*found : nullptr;
}

std::optional<int> set_weight(EvalWeights &weights, std::string_view name, int value) {
    std::vector<TunableParam> params = eval_tunables(weights);
    const TunableParam *param = tunable_named(params, name);
    if (param == nullptr) return {};
    const int stored = std::clamp(value, param->low, param->high);
    param->weight.of(weights) = static_cast<std::int16_t>(stored);
    return stored;
}

void select_tunable(std::vector<TunableParam> &params, std::string_view name) {
    if (TunableParam *param = tunable_named(params, name); param != nullptr) param->selected = true;
}
