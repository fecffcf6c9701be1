#include "eval/parameters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "eval/tunables.h"

namespace {

class EvalParameters : public testing::Test {
protected:
    EvalParameters() { derive(); }
    void derive() { derive_eval_tables(weights, tables); }
    std::string text(ScorePair pair) const { return std::to_string(pair.op()) + ',' + std::to_string(pair.en()); }

    EvalWeights weights;
    EvalTables tables;
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

TEST_F(EvalParameters, PersonalityScalesTheCurves) {
    weights.King_Safety = {200, 100};
    weights.Passed_Pawns = {100, 33};
    weights.pawn_shield.op = -50;
    derive();
    EXPECT_EQ(text_of(tables.king_danger).substr(0, 75),
              "0 1 2 5 8 13 18 25 32 41 50 61 72 85 98 113 128 145 162 181 200 221 242 262");
    EXPECT_EQ(tables.king_danger[63], 710);
    EXPECT_EQ(text_of(tables.passed_unsafe), "0 1 1 4 11 26 43 0 ");
    EXPECT_EQ(text_of(tables.passed_safe), "0 2 2 8 20 40 66 0 ");
    EXPECT_EQ(text_of(tables.pawn_shield).substr(0, 41), "0 -5 -11 -16 -22 -27 -33 -38 -44 -50 -50 ");

    weights.King_Safety = {0, 100};
    derive();
    for (const std::int16_t danger : tables.king_danger) EXPECT_EQ(danger, 0);
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
    for (const auto &c : cases) EXPECT_EQ(text(scale_pair(c.weight, c.percent)), c.scaled);
}

TEST_F(EvalParameters, PersonalityScalesItsOwnTables) {
    const EvalTables before = tables;
    const struct {
        const char *name;
        WeightPair EvalWeights::*percent;
        std::vector<const SquareScores *> squares;
    } cases[] = {
        {"PST_Pawn", &EvalWeights::PST_Pawn, {&tables.pawn_squares}},
        {"PST_Knight", &EvalWeights::PST_Knight, {&tables.knight_squares}},
        {"PST_Bishop", &EvalWeights::PST_Bishop, {&tables.bishop_squares}},
        {"PST_Rook", &EvalWeights::PST_Rook, {&tables.rook_squares}},
        {"PST_Queen", &EvalWeights::PST_Queen, {&tables.queen_squares}},
        {"PST_King", &EvalWeights::PST_King, {&tables.king_squares}},
        {"Pawn_Structure",
         &EvalWeights::Pawn_Structure,
         {&tables.pawn_squares, &tables.connected_squares, &tables.defended_squares}},
    };
    const SquareScores *const all[] = {&tables.pawn_squares,   &tables.connected_squares, &tables.defended_squares,
                                       &tables.knight_squares, &tables.bishop_squares,    &tables.rook_squares,
                                       &tables.queen_squares,  &tables.king_squares};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        weights = EvalWeights{};
        derive();
        std::vector<SquareScores> plain;
        for (const SquareScores *table : all) plain.push_back(*table);
        weights.*c.percent = {200, 0};
        derive();
        for (std::size_t i = 0; i < std::size(all); ++i) {
            const bool scaled = std::find(c.squares.begin(), c.squares.end(), all[i]) != c.squares.end();
            for (std::size_t s = 0; s < 64; ++s) {
                const ScorePair expected = scaled ? ScorePair{2 * plain[i][s].op(), 0} : plain[i][s];
                EXPECT_EQ(text((*all[i])[s]), text(expected)) << "table " << i << " square " << s;
            }
        }
    }

    weights = EvalWeights{};
    weights.Mobility_Knight = {200, 50};
    weights.Mobility_Queen = {0, 0};
    weights.Threats = {50, 200};
    weights.Pawn_Structure = {50, 150};
    weights.PST_Pawn = {50, 100};
    weights.knight_outpost.op = -5;
    weights.Contempt = -12;
    derive();
    EXPECT_EQ(text_of(tables.knight_mobility), "-36,-12 -12,-4 0,0 10,3 18,6 26,9 34,11 42,13 48,15 54,17 60,19 ");
    for (const ScorePair pair : tables.queen_mobility) EXPECT_EQ(pair, ScorePair(0, 0));
    EXPECT_EQ(text_of(tables.rook_mobility), text_of(before.rook_mobility));
    EXPECT_EQ(text(tables.hung_pawn), "-8,-56");
    EXPECT_EQ(text(tables.hung_piece), "-13,-50");
    EXPECT_EQ(text(tables.safe_check), "-8,-10") << "no threat";
    EXPECT_EQ(text(tables.pawn_doubled), "-3,-8");
    EXPECT_EQ(text(tables.pawn_weak), "-4,-9");
    EXPECT_EQ(text(tables.pawn_candidate), "0,50");
    EXPECT_EQ(text(tables.pawn_squares[28]), "3,3") << "5 of 10, then 2.5; 2 of 2 at 150 %";
    EXPECT_EQ(text(tables.knight_outpost), "-5,0");
    EXPECT_EQ(text(tables.knight_half_outpost), "-2,0");
    EXPECT_EQ(tables.contempt, -12);
}

TEST_F(EvalParameters, DerivingMakesCachesStale) {
    const std::uint32_t before = tables.generation;
    derive();
    EXPECT_NE(tables.generation, before);
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

TEST(Tunables, NameTheWeights) {
    EvalWeights weights;
    const std::vector<TunableParam> params = eval_tunables(weights);
    EXPECT_EQ(params.size(), 123u);
    const struct {
        const char *name;
        std::int16_t *target;
        double start;
    } cases[] = {
        {"pawn_value_op", &weights.pawn_value.op, 90},   {"rook_trapped_op", &weights.rook_trapped.op, -25},
        {"pawnstruct", &weights.Pawn_Structure.op, 100}, {"ppawns", &weights.Passed_Pawns.en, 100},
        {"pst_d3", &weights.pst_scratch[11], -19},       {"p15", &weights.p_scratch[14], 4},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const auto found = std::find_if(params.begin(), params.end(),
                                        [&c](const TunableParam &param) { return param.name == c.name; });
        ASSERT_NE(found, params.end());
        EXPECT_EQ(&found->weight.of(weights), c.target);
        EXPECT_EQ(found->estimate, c.start);
        EXPECT_FALSE(found->selected);
    }
}

TEST(Tunables, SelectedByExactName) {
    std::vector<TunableParam> params = eval_tunables(EvalWeights{});
    const auto selected = [&params] {
        std::string names;
        for (const TunableParam &param : params)
            if (param.selected) names += param.name + ' ';
        return names;
    };
    for (const char *unknown : {"", "pawn_value", "p1 ", "P1", "p16"}) select_tunable(params, unknown);
    EXPECT_EQ(selected(), "");
    select_tunable(params, "p1");
    select_tunable(params, "hung_pawn_en");
    EXPECT_EQ(selected(), "hung_pawn_en p1 ");
}

}  // namespace
