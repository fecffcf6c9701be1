#include "eval/parameters.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Changes of the settings end with the test.
class EvalParameters : public testing::Test {
protected:
    void SetUp() override {
        settings = Settings{};
        derive_eval_tables();
    }
    void TearDown() override {
        settings = saved_settings_;
        tunables = saved_tunables_;
        derive_eval_tables();
    }
    std::string text(ScorePair pair) const { return std::to_string(pair.op()) + ',' + std::to_string(pair.en()); }

    const EvalTables &tables = eval_tables;

private:
    const Settings saved_settings_ = settings;
    const std::vector<TunableParam> saved_tunables_ = tunables;
};

template <typename Table>
std::string text_of(const Table &table) {
    std::string text;
    for (const auto &entry : table) {
        if constexpr (std::is_same_v<std::decay_t<decltype(entry)>, ScorePair>)
            text += std::to_string(entry.op()) + ',' + std::to_string(entry.en()) + ' ';
        else
            text += std::to_string(entry) + ' ';
    }
    return text;
}

TEST_F(EvalParameters, MobilityCurves) {
    EXPECT_EQ(text_of(tables.knight_mobility), "-18,-23 -6,-7 0,0 5,6 9,12 13,17 17,21 21,26 24,30 27,34 30,38 ");
    EXPECT_EQ(text_of(tables.bishop_mobility),
              "-23,-27 -11,-13 -6,-7 -1,-2 2,3 6,7 9,10 12,14 15,17 17,21 20,24 23,27 25,30 27,32 30,35 32,38 34,40 "
              "36,43 39,45 41,48 43,50 ");
    EXPECT_EQ(text_of(tables.rook_mobility),
              "-21,-26 -10,-12 -5,-6 -1,-2 2,3 5,6 8,10 11,14 13,17 16,20 18,23 20,26 22,29 24,31 27,34 29,37 31,39 "
              "33,42 34,44 36,46 38,49 ");
    EXPECT_EQ(text_of(tables.queen_mobility),
              "-18,-48 -11,-28 -8,-22 -7,-17 -5,-13 -3,-9 -2,-5 -1,-2 0,1 2,4 3,7 4,10 5,13 6,16 7,18 8,21 9,23 "
              "10,26 11,28 12,31 13,33 13,35 14,38 15,40 16,42 17,44 18,46 18,48 19,50 ");
}

TEST_F(EvalParameters, KingAndPassedPawnCurves) {
    EXPECT_EQ(text_of(tables.pawn_shield), "0 6 12 18 24 30 36 42 48 54 54 54 54 54 54 54 54 54 54 54 54 54 54 54 ");
    EXPECT_EQ(text_of(tables.king_danger),
              "0 0 1 2 4 6 9 12 16 20 25 30 36 42 49 56 64 72 81 90 100 110 121 132 144 156 169 182 196 210 225 240 "
              "254 268 281 294 307 319 331 343 354 365 376 386 396 406 416 426 435 444 453 462 471 479 487 495 503 511 "
              "519 526 533 540 547 554 ");
    EXPECT_EQ(text_of(tables.passed_unsafe), "0 6 6 14 36 80 132 0 ");
    EXPECT_EQ(text_of(tables.passed_safe), "0 9 9 26 62 122 200 0 ");

    settings.King_Safety = {200, 100};
    settings.Passed_Pawns = {100, 33};
    settings.pawn_shield.op = -50;
    derive_eval_tables();
    EXPECT_EQ(text_of(tables.king_danger).substr(0, 75),
              "0 1 2 5 8 13 18 25 32 41 50 61 72 85 98 113 128 145 162 181 200 221 242 262");
    EXPECT_EQ(tables.king_danger[63], 710);
    EXPECT_EQ(text_of(tables.passed_unsafe), "0 1 1 4 11 26 43 0 ");
    EXPECT_EQ(text_of(tables.passed_safe), "0 2 2 8 20 40 66 0 ");
    EXPECT_EQ(text_of(tables.pawn_shield).substr(0, 41), "0 -5 -11 -16 -22 -27 -33 -38 -44 -50 -50 ");

    settings.King_Safety = {0, 100};
    derive_eval_tables();
    for (const std::int16_t danger : tables.king_danger) EXPECT_EQ(danger, 0);
}

// The two sums weight every square by its number, so that a wrong number anywhere, or two that have changed places,
// shows.
TEST_F(EvalParameters, SquareTables) {
    const struct {
        const char *name;
        const SquareScores &table;
        int op_sum, en_sum;
        const char *d2, *e4, *h6, *c7, *e8;
    } cases[] = {
        {"pawn", tables.pawn_squares, 14451, 7832, "-4,0", "10,2", "8,8", "16,8", "0,0"},
        {"connected", tables.connected_squares, 30392, 22359, "0,0", "6,4", "18,13", "48,36", "0,0"},
        {"defended", tables.defended_squares, 16059, 16059, "0,0", "4,4", "8,8", "24,24", "0,0"},
        {"knight", tables.knight_squares, -18082, -21390, "0,0", "8,10", "-12,-14", "-3,-4", "-18,-21"},
        {"bishop", tables.bishop_squares, -10890, -11764, "-1,-1", "2,2", "-6,-6", "-2,-2", "-10,-11"},
        {"rook", tables.rook_squares, -3640, 0, "2,0", "2,0", "-6,0", "0,0", "2,0"},
        {"queen", tables.queen_squares, -13618, -12480, "-1,-1", "2,3", "-10,-10", "-6,-3", "-9,-8"},
        {"king", tables.king_squares, -35100, -21320, "-14,0", "-24,13", "-12,-20", "-20,-8", "-24,-12"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        int op_sum = 0;
        int en_sum = 0;
        for (int s = 0; s < 64; ++s) {
            op_sum += c.table[s].op() * (s + 1);
            en_sum += c.table[s].en() * (s + 1);
            EXPECT_EQ(c.table[s], c.table[s ^ 7]) << s;
        }
        EXPECT_EQ(op_sum, c.op_sum);
        EXPECT_EQ(en_sum, c.en_sum);
        EXPECT_EQ(text(c.table[11]), c.d2);
        EXPECT_EQ(text(c.table[28]), c.e4);
        EXPECT_EQ(text(c.table[47]), c.h6);
        EXPECT_EQ(text(c.table[50]), c.c7);
        EXPECT_EQ(text(c.table[60]), c.e8);
    }
}

TEST_F(EvalParameters, PercentagesRoundHalvesAwayFromZero) {
    const struct {
        WeightPair weight;
        WeightPair percent;
        const char *scaled;
    } cases[] = {
        {{-5, -5}, {150, 150}, "-8,-8"}, {{5, 5}, {150, 50}, "8,3"},     {{-5, 7}, {50, 50}, "-3,4"},
        {{-6, -4}, {0, 200}, "0,-8"},    {{90, 110}, {200, 0}, "180,0"}, {{-25, 25}, {10, 10}, "-3,3"},
        {{7, -7}, {100, 100}, "7,-7"},   {{7, -7}, {1, 7}, "0,0"},       {{7, -7}, {7, 8}, "0,-1"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.scaled);
        EXPECT_EQ(text(scale_pair(c.weight, c.percent)), c.scaled);
    }
}

TEST_F(EvalParameters, PersonalityScalesItsOwnTables) {
    const SquareScores defaults = tables.pawn_squares;
    const EvalTables before = tables;
    const struct {
        const char *name;
        WeightPair Settings::*percent;
        std::vector<const SquareScores *> squares;
    } cases[] = {
        {"PST_Pawn", &Settings::PST_Pawn, {&tables.pawn_squares}},
        {"PST_Knight", &Settings::PST_Knight, {&tables.knight_squares}},
        {"PST_Bishop", &Settings::PST_Bishop, {&tables.bishop_squares}},
        {"PST_Rook", &Settings::PST_Rook, {&tables.rook_squares}},
        {"PST_Queen", &Settings::PST_Queen, {&tables.queen_squares}},
        {"PST_King", &Settings::PST_King, {&tables.king_squares}},
        {"Pawn_Structure",
         &Settings::Pawn_Structure,
         {&tables.pawn_squares, &tables.connected_squares, &tables.defended_squares}},
    };
    const SquareScores *const all[] = {&tables.pawn_squares,   &tables.connected_squares, &tables.defended_squares,
                                       &tables.knight_squares, &tables.bishop_squares,    &tables.rook_squares,
                                       &tables.queen_squares,  &tables.king_squares};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        settings = Settings{};
        derive_eval_tables();
        std::vector<SquareScores> plain;
        for (const SquareScores *table : all) plain.push_back(*table);
        settings.*c.percent = {200, 0};
        derive_eval_tables();
        for (std::size_t i = 0; i < std::size(all); ++i) {
            const bool scaled = std::find(c.squares.begin(), c.squares.end(), all[i]) != c.squares.end();
            for (std::size_t s = 0; s < 64; ++s) {
                const ScorePair expected = scaled ? ScorePair{2 * plain[i][s].op(), 0} : plain[i][s];
                EXPECT_EQ(text((*all[i])[s]), text(expected)) << "table " << i << " square " << s;
            }
        }
    }

    settings = Settings{};
    settings.Mobility_Knight = {200, 50};
    settings.Mobility_Queen = {0, 0};
    settings.Threats = {50, 200};
    settings.Pawn_Structure = {50, 150};
    settings.PST_Pawn = {50, 100};
    settings.knight_outpost.op = -5;
    settings.queen_value = {900, 1000};
    settings.Contempt = -12;
    derive_eval_tables();
    EXPECT_EQ(text_of(tables.knight_mobility), "-36,-12 -12,-4 0,0 10,3 18,6 26,9 34,11 42,13 48,15 54,17 60,19 ");
    for (const ScorePair pair : tables.queen_mobility) EXPECT_EQ(pair, ScorePair(0, 0));
    EXPECT_EQ(text_of(tables.rook_mobility), text_of(before.rook_mobility));
    EXPECT_EQ(text(tables.hung_pawn), "-8,-56");
    EXPECT_EQ(text(tables.hung_piece), "-13,-50");
    EXPECT_EQ(text(tables.multi_hung), "-4,-32");
    EXPECT_EQ(text(tables.threat_ppush), "-5,-16");
    EXPECT_EQ(text(tables.attacked_piece), "-2,-30");
    EXPECT_EQ(text(tables.pawn_doubled), "-3,-8");
    EXPECT_EQ(text(tables.pawn_backward), "-2,-6");
    EXPECT_EQ(text(tables.pawn_isolated), "-3,-9");
    EXPECT_EQ(text(tables.pawn_weak), "-4,-9");
    EXPECT_EQ(text(tables.pawn_candidate), "0,50");
    EXPECT_EQ(text(tables.pawn_squares[28]), "3,3") << "5 of 10, then 2.5; 2 of 2 at 150 %";
    EXPECT_EQ(text(tables.knight_outpost), "-5,0");
    EXPECT_EQ(text(tables.knight_half_outpost), "-2,0");
    EXPECT_EQ(text(tables.queen), "900,1000");
    EXPECT_EQ(tables.contempt, -12);
    EXPECT_NE(text_of(defaults), text_of(tables.pawn_squares));
}

TEST_F(EvalParameters, DefaultPairs) {
    const struct {
        const char *name;
        ScorePair pair;
        const char *expected;
    } cases[] = {
        {"pawn", tables.pawn, "90,110"},
        {"knight", tables.knight, "380,360"},
        {"bishop", tables.bishop, "390,375"},
        {"rook", tables.rook, "535,635"},
        {"queen", tables.queen, "1200,1200"},
        {"bishop pair", tables.bishop_pair, "30,50"},
        {"lone queen", tables.lone_queen, "-50,-50"},
        {"doubled", tables.pawn_doubled, "-5,-5"},
        {"backward", tables.pawn_backward, "-4,-4"},
        {"isolated", tables.pawn_isolated, "-6,-6"},
        {"weak", tables.pawn_weak, "-8,-6"},
        {"blocked", tables.pawn_blocked, "-3,-6"},
        {"candidate", tables.pawn_candidate, "0,50"},
        {"open file", tables.rook_open_file, "14,6"},
        {"half-open file", tables.rook_half_open_file, "6,0"},
        {"seventh rank", tables.rook_rank7, "8,8"},
        {"trapped rook", tables.rook_trapped, "-25,0"},
        {"hung pawn", tables.hung_pawn, "-15,-28"},
        {"hung piece", tables.hung_piece, "-25,-25"},
        {"attacked piece", tables.attacked_piece, "-4,-15"},
        {"multi hung", tables.multi_hung, "-8,-16"},
        {"pawn push", tables.threat_ppush, "-10,-8"},
        {"knight outpost", tables.knight_outpost, "16,0"},
        {"knight half outpost", tables.knight_half_outpost, "8,0"},
        {"bishop outpost", tables.bishop_outpost, "13,0"},
        {"bishop half outpost", tables.bishop_half_outpost, "6,0"},
        {"bad bishop", tables.bad_bishop, "-5,-10"},
        {"pawn storm", tables.pawn_storm, "-9,0"},
        {"safe check", tables.safe_check, "-8,-10"},
    };
    for (const auto &c : cases) EXPECT_EQ(text(c.pair), c.expected) << c.name;
}

TEST_F(EvalParameters, DerivingMakesCachesStale) {
    const std::uint32_t before = eval_generation;
    derive_eval_tables();
    EXPECT_NE(eval_generation, before);
}

TEST(ScorePairs, HalvesDoNotDisturbEachOther) {
    const std::pair<int, int> cases[] = {{0, 0},      {-1, 0},     {0, -1},         {-1, -1},
                                         {-300, 500}, {500, -300}, {32767, -32768}, {-32768, 32767}};
    for (const auto &[op, en] : cases) {
        SCOPED_TRACE(std::to_string(op) + ',' + std::to_string(en));
        EXPECT_EQ(ScorePair(op, en).op(), op);
        EXPECT_EQ(ScorePair(op, en).en(), en);
        const ScorePair sum = ScorePair(op / 4, en / 4) + ScorePair(-7, -9) - 3 * ScorePair(-5, 2);
        EXPECT_EQ(sum.op(), op / 4 + 8);
        EXPECT_EQ(sum.en(), en / 4 - 15);
    }
}

TEST(ScorePairs, TaperTruncatesTowardZero) {
    const struct {
        ScorePair pair;
        int stage;
        int score;
    } cases[] = {
        {{100, 50}, 0, 100}, {{100, 50}, 24, 50}, {{100, 50}, 12, 75},
        {{10, 5}, 1, 9},     {{-10, -5}, 1, -9},  {{-1, 0}, 23, 0},
    };
    for (const auto &c : cases) EXPECT_EQ(taper(c.pair, c.stage), c.score) << c.score;
}

class Tunables : public EvalParameters {
protected:
    void SetUp() override {
        EvalParameters::SetUp();
        tunables.clear();
    }
};

TEST_F(Tunables, FixedOrder) {
    register_eval_tunables();
    std::string names;
    for (const TunableParam &param : tunables) names += std::string(param.name_view()) + ' ';
    EXPECT_EQ(
        names,
        "pawn_value_op pawn_value_en knight_value_op knight_value_en bishop_value_op bishop_value_en rook_value_op "
        "rook_value_en queen_value_op queen_value_en bishop_pair_op bishop_pair_en knight_mobility_op "
        "knight_mobility_en bishop_mobility_op bishop_mobility_en rook_mobility_op rook_mobility_en "
        "queen_mobility_op queen_mobility_en pawn_doubled_op pawn_doubled_en pawn_backward_op pawn_backward_en "
        "pawn_isolated_op pawn_isolated_en pawn_weak_op pawn_weak_en pawn_connected_op pawn_connected_en "
        "pawn_defended_op pawn_defended_en pawn_candidate_op pawn_candidate_en knight_outpost bishop_outpost "
        "rook_open_file_op rook_open_file_en rook_half_open_file_op rook_half_open_file_en rook_rank7_op "
        "rook_rank7_en rook_trapped_op rook_trapped_en queen_rank7_op queen_rank7_en pawn_shield pawn_storm "
        "safe_check_op safe_check_en hung_pawn_op hung_pawn_en hung_piece_op hung_piece_en attacked_piece_op "
        "attacked_piece_en multi_hung_op multi_hung_en threat_ppush_op threat_ppush_en PST_P_op PST_P_en PST_N_op "
        "PST_N_en PST_B_op PST_B_en PST_R_op PST_R_en PST_Q_op PST_Q_en PST_K_op PST_K_en pawnstruct king_safety "
        "ppawns threats pst_a1 pst_b1 pst_c1 pst_d1 pst_a2 pst_b2 pst_c2 pst_d2 pst_a3 pst_b3 pst_c3 pst_d3 pst_a4 "
        "pst_b4 pst_c4 pst_d4 pst_a5 pst_b5 pst_c5 pst_d5 pst_a6 pst_b6 pst_c6 pst_d6 pst_a7 pst_b7 pst_c7 pst_d7 "
        "pst_a8 pst_b8 pst_c8 pst_d8 p1 p2 p3 p4 p5 p6 p7 p8 p9 p10 p11 p12 p13 p14 p15 ");
    EXPECT_EQ(tunables.size(), 123u);
    register_eval_tunables();
    EXPECT_EQ(tunables.size(), 123u) << "registered twice";
}

TEST_F(Tunables, TargetsAreTheWeights) {
    register_eval_tunables();
    const struct {
        const char *name;
        std::int16_t *target;
        double start;
    } cases[] = {
        {"pawn_value_op", &settings.pawn_value.op, 90},
        {"queen_mobility_en", &settings.queen_mobility.en, 84},
        {"rook_trapped_op", &settings.rook_trapped.op, -25},
        {"bishop_outpost", &settings.bishop_outpost.op, 13},
        {"pawnstruct", &settings.Pawn_Structure.op, 100},
        {"king_safety", &settings.King_Safety.op, 100},
        {"ppawns", &settings.Passed_Pawns.en, 100},
        {"threats", &settings.Threats.en, 100},
        {"pst_b1", &settings.pst_scratch[1], 4},
        {"pst_d3", &settings.pst_scratch[11], -19},
        {"p9", &settings.p_scratch[8], 512},
        {"p15", &settings.p_scratch[14], 4},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const auto found = std::find_if(tunables.begin(), tunables.end(),
                                        [&c](const TunableParam &param) { return param.name_view() == c.name; });
        ASSERT_NE(found, tunables.end());
        EXPECT_EQ(found->target, c.target);
        EXPECT_EQ(found->estimate, c.start);
        EXPECT_EQ(found->accumulator, 0.0);
        EXPECT_EQ(found->selected, 0);
    }
}

TEST_F(Tunables, SelectedByExactName) {
    std::int16_t weights[4] = {1, -2, 3, 4};
    register_tunable("first", weights[0]);
    register_tunable("twin", weights[1]);
    register_tunable("twin", weights[2]);
    register_tunable("a_name_of_24_characters_and_more", weights[3]);
    EXPECT_EQ(tunables[1].estimate, -2.0);
    EXPECT_EQ(tunables[3].name_view(), "a_name_of_24_characters_");

    const auto selected = [] {
        std::string flags;
        for (const TunableParam &param : tunables) flags += param.selected != 0 ? '1' : '0';
        return flags;
    };
    for (const char *unknown : {"", "firs", "first ", "First", "a_name_of_24_characters_and_more"})
        select_tunable(unknown);
    EXPECT_EQ(selected(), "0000");
    select_tunable("twin");
    EXPECT_EQ(selected(), "0100");
    select_tunable("a_name_of_24_characters_");
    EXPECT_EQ(selected(), "0101");
}

}  // namespace
