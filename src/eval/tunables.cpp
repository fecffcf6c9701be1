// The registry of tunable weights.
#include <algorithm>
#include <string>

#include "eval/parameters.h"

std::vector<TunableParam> tunables;

namespace {

struct NamedPair {
    const char *name;
    WeightPair Settings::*pair;
};

// Registered as <name>_op and <name>_en.
constexpr NamedPair PAIRS_BEFORE_OUTPOSTS[] = {
    {"pawn_value", &Settings::pawn_value},           {"knight_value", &Settings::knight_value},
    {"bishop_value", &Settings::bishop_value},       {"rook_value", &Settings::rook_value},
    {"queen_value", &Settings::queen_value},         {"bishop_pair", &Settings::bishop_pair},
    {"knight_mobility", &Settings::knight_mobility}, {"bishop_mobility", &Settings::bishop_mobility},
    {"rook_mobility", &Settings::rook_mobility},     {"queen_mobility", &Settings::queen_mobility},
    {"pawn_doubled", &Settings::pawn_doubled},       {"pawn_backward", &Settings::pawn_backward},
    {"pawn_isolated", &Settings::pawn_isolated},     {"pawn_weak", &Settings::pawn_weak},
    {"pawn_connected", &Settings::pawn_connected},   {"pawn_defended", &Settings::pawn_defended},
    {"pawn_candidate", &Settings::pawn_candidate},
};
constexpr NamedPair PAIRS_AFTER_OUTPOSTS[] = {
    {"rook_open_file", &Settings::rook_open_file}, {"rook_half_open_file", &Settings::rook_half_open_file},
    {"rook_rank7", &Settings::rook_rank7},         {"rook_trapped", &Settings::rook_trapped},
    {"queen_rank7", &Settings::queen_rank7},
};
constexpr NamedPair PAIRS_AFTER_STORM[] = {
    {"safe_check", &Settings::safe_check}, {"hung_pawn", &Settings::hung_pawn},
    {"hung_piece", &Settings::hung_piece}, {"attacked_piece", &Settings::attacked_piece},
    {"multi_hung", &Settings::multi_hung}, {"threat_ppush", &Settings::threat_ppush},
    {"PST_P", &Settings::PST_P},           {"PST_N", &Settings::PST_N},
    {"PST_B", &Settings::PST_B},           {"PST_R", &Settings::PST_R},
    {"PST_Q", &Settings::PST_Q},           {"PST_K", &Settings::PST_K},
};

template <std::size_t N>
void register_pairs(const NamedPair (&pairs)[N]) {
    for (const NamedPair &named : pairs) {
        WeightPair &pair = settings.*named.pair;
        register_tunable(std::string(named.name).append("_op"), pair.op);
        register_tunable(std::string(named.name).append("_en"), pair.en);
    }
}

}  // namespace

void register_tunable(std::string_view name, std::int16_t &target) {
    TunableParam param{};
    std::copy_n(name.begin(), std::min(name.size(), param.name.size() - 1), param.name.begin());
    param.target = &target;
    param.estimate = target;
    tunables.push_back(param);
}

void register_eval_tunables() {
    if (!tunables.empty()) return;
    register_pairs(PAIRS_BEFORE_OUTPOSTS);
    register_tunable("knight_outpost", settings.knight_outpost.op);
    register_tunable("bishop_outpost", settings.bishop_outpost.op);
    register_pairs(PAIRS_AFTER_OUTPOSTS);
    register_tunable("pawn_shield", settings.pawn_shield.op);
    register_tunable("pawn_storm", settings.pawn_storm.op);
    register_pairs(PAIRS_AFTER_STORM);
    register_tunable("pawnstruct", settings.Pawn_Structure.op);
    register_tunable("king_safety", settings.King_Safety.op);
    register_tunable("ppawns", settings.Passed_Pawns.en);
    register_tunable("threats", settings.Threats.en);
    for (std::size_t i = 0; i < settings.pst_scratch.size(); ++i) {
        const char name[] = {'p', 's', 't', '_', static_cast<char>('a' + i % 4), static_cast<char>('1' + i / 4), '\0'};
        register_tunable(name, settings.pst_scratch[i]);
    }
    for (std::size_t i = 0; i < settings.p_scratch.size(); ++i)
        register_tunable(std::string("p").append(std::to_string(i + 1)), settings.p_scratch[i]);
}

void select_tunable(std::string_view name) {
    const auto found = std::find_if(tunables.begin(), tunables.end(),
                                    [name](const TunableParam &param) { return param.name_view() == name; });
    if (found != tunables.end()) found->selected = 1;
}
