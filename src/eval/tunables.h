// Evaluation weights by name, for tuners and for whoever sets what they have found. A tuner owns its list and the weights
// that it changes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "eval/weights.h"

// Where a weight lies within EvalWeights: one half of a pair, or one entry of a scratch table.
struct PairHalf {
    WeightPair EvalWeights::*pair;
    std::int16_t WeightPair::*half;
};
template <std::size_t N>
struct ScratchEntry {
    std::array<std::int16_t, N> EvalWeights::*table;
    std::size_t index;
};

struct WeightRef {
    std::variant<PairHalf, ScratchEntry<32>, ScratchEntry<15>> place;

    std::int16_t &of(EvalWeights &weights) const;
    std::int16_t of(const EvalWeights &weights) const;
};

// The nearest value that a weight can have, halves away from zero.
std::int16_t nearest_weight(double x);

struct TunableParam {
    std::string name;
    WeightRef weight;
    int low, high;    // what a user can set; tuners keep to it in what they write
    double estimate;  // the value when the list was made, then a tuner's running estimate
    bool selected;
};

// Every tunable weight in a fixed order, none selected, with the estimates of `weights`.
std::vector<TunableParam> eval_tunables(const EvalWeights &weights);

// The weight of that name, letter for letter; null when there is none.
TunableParam *tunable_named(std::vector<TunableParam> &params, std::string_view name);

// Sets the weight of that name, kept within its range. The value stored, or nothing when there is no such weight.
std::optional<int> set_weight(EvalWeights &weights, std::string_view name, int value);

// Marks the weight of that name; an unknown name changes nothing.
void select_tunable(std::vector<TunableParam> &params, std::string_view name);
