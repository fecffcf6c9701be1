#include "eval/tunables.h"

#include <algorithm>
#include <cmath>

namespace {

struct NamedPair {
    const char *name;
    WeightPair EvalWeights::*pair;
};

// Listed as <name>_op and <name>_en.
constexpr NamedPair PAIRS_BEFORE_OUTPOSTS[] = {
    {"pawn_value", &EvalWeights::pawn_value},           {"knight_value", &EvalWeights::knight_value},
    {"bishop_value", &EvalWeights::bishop_value},       {"rook_value", &EvalWeights::rook_value},
    {"queen_value", &EvalWeights::queen_value},         {"bishop_pair", &EvalWeights::bishop_pair},
    {"knight_mobility", &EvalWeights::knight_mobility}, {"bishop_mobility", &EvalWeights::bishop_mobility},
    {"rook_mobility", &EvalWeights::rook_mobility},     {"queen_mobility", &EvalWeights::queen_mobility},
    {"pawn_doubled", &EvalWeights::pawn_doubled},       {"pawn_backward", &EvalWeights::pawn_backward},
    {"pawn_isolated", &EvalWeights::pawn_isolated},     {"pawn_weak", &EvalWeights::pawn_weak},
    {"pawn_connected", &EvalWeights::pawn_connected},   {"pawn_defended", &EvalWeights::pawn_defended},
    {"pawn_candidate", &EvalWeights::pawn_candidate},
};
constexpr NamedPair PAIRS_AFTER_OUTPOSTS[] = {
    {"rook_open_file", &EvalWeights::rook_open_file}, {"rook_half_open_file", &EvalWeights::rook_half_open_file},
    {"rook_rank7", &EvalWeights::rook_rank7},         {"rook_trapped", &EvalWeights::rook_trapped},
    {"queen_rank7", &EvalWeights::queen_rank7},
};
constexpr NamedPair PAIRS_AFTER_STORM[] = {
    {"safe_check", &EvalWeights::safe_check}, {"hung_pawn", &EvalWeights::hung_pawn},
    {"hung_piece", &EvalWeights::hung_piece}, {"attacked_piece", &EvalWeights::attacked_piece},
    {"multi_hung", &EvalWeights::multi_hung}, {"threat_ppush", &EvalWeights::threat_ppush},
    {"PST_P", &EvalWeights::PST_P},           {"PST_N", &EvalWeights::PST_N},
    {"PST_B", &EvalWeights::PST_B},           {"PST_R", &EvalWeights::PST_R},
    {"PST_Q", &EvalWeights::PST_Q},           {"PST_K", &EvalWeights::PST_K},
};

// The weight's place in a record that may be constant.
template <typename Weights>
auto &weight_in(Weights &weights, const PairHalf &place) {
    return weights.*place.pair.*place.half;
}
template <typename Weights, std::size_t N>
auto &weight_in(Weights &weights, const ScratchEntry<N> &entry) {
    return (weights.*entry.table)[entry.index];
}

class TunableList {
public:
    explicit TunableList(const EvalWeights &weights) : weights_(weights) {}

    void add(std::string name, WeightRef weight) {
        params.push_back({std::move(name), weight, static_cast<double>(weight.of(weights_)), false});
    }
    void add_op(std::string name, WeightPair EvalWeights::*pair) {
        add(std::move(name), {PairHalf{pair, &WeightPair::op}});
    }
    void add_en(std::string name, WeightPair EvalWeights::*pair) {
        add(std::move(name), {PairHalf{pair, &WeightPair::en}});
    }
    template <std::size_t N>
    void add_pairs(const NamedPair (&pairs)[N]) {
        for (const NamedPair &named : pairs) {
            add_op(std::string(named.name).append("_op"), named.pair);
            add_en(std::string(named.name).append("_en"), named.pair);
        }
    }

    std::vector<TunableParam> params;

private:
    const EvalWeights &weights_;
};

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
    TunableList list(weights);
    list.add_pairs(PAIRS_BEFORE_OUTPOSTS);
    list.add_op("knight_outpost", &EvalWeights::knight_outpost);
    list.add_op("bishop_outpost", &EvalWeights::bishop_outpost);
    list.add_pairs(PAIRS_AFTER_OUTPOSTS);
    list.add_op("pawn_shield", &EvalWeights::pawn_shield);
    list.add_op("pawn_storm", &EvalWeights::pawn_storm);
    list.add_pairs(PAIRS_AFTER_STORM);
    list.add_op("pawnstruct", &EvalWeights::Pawn_Structure);
    list.add_op("king_safety", &EvalWeights::King_Safety);
    list.add_en("ppawns", &EvalWeights::Passed_Pawns);
    list.add_en("threats", &EvalWeights::Threats);
    for (std::size_t i = 0; i < weights.pst_scratch.size(); ++i) {
        const char name[] = {'p', 's', 't', '_', static_cast<char>('a' + i % 4), static_cast<char>('1' + i / 4), '\0'};
        list.add(name, {ScratchEntry<32>{&EvalWeights::pst_scratch, i}});
    }
    for (std::size_t i = 0; i < weights.p_scratch.size(); ++i)
        list.add(std::string("p").append(std::to_string(i + 1)), {ScratchEntry<15>{&EvalWeights::p_scratch, i}});
    return std::move(list.params);
}

void select_tunable(std::vector<TunableParam> &params, std::string_view name) {
    const auto found =
        std::find_if(params.begin(), params.end(), [name](const TunableParam &param) { return param.name == name; });
    if (found != params.end()) found->selected = true;
}
