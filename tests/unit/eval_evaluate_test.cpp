// What the reference rows leave open: other settings, contempt, odd material and the edges of rules; then the caches, and
// the endings of king and pawn.
#include "engine_fixture.h"
#include "eval/kpk.h"
#include "eval/tunables.h"

namespace {

class EvaluateTest : public EngineTest {
protected:
    // "King_Safety=150,50; hung_pawn_op=-90": options, and weights that only tuners name.
    void apply(const std::string &list) {
        engine.settings = test_settings();
        for (std::size_t start = 0, end = 0; start < list.size(); start = end + 2) {
            end = std::min(list.find(';', start), list.size());
            const std::size_t equals = list.find('=', start);
            const std::string name = list.substr(start, equals - start);
            const std::string value = list.substr(equals + 1, end - equals - 1);
            std::vector<TunableParam> params = eval_tunables(engine.settings.weights);
            if (const TunableParam *param = tunable_named(params, name); param != nullptr)  // of any size
                param->weight.of(engine.settings.weights) = static_cast<std::int16_t>(std::stoi(value));
            else
                ASSERT_TRUE(apply_option(engine, name, value)) << name;
        }
        derive_tables(engine);
    }

    void SetUp() override {
        EngineTest::SetUp();
        eval = &thread().eval;
    }

    std::string evaluated(int ply = 2) {
        eval_result = {};
        const int score = evaluate(pos, *eval, ply, false, eval_result);
        return std::to_string(score) + ' ' + std::to_string(eval_result.threat_level[WHITE]) + '/' +
               std::to_string(eval_result.threat_level[BLACK]) + (eval_result.flags == RECOGNISED_DRAW ? " draw" : "");
    }

    EvalThread *eval = nullptr;
    EvalResult eval_result{};
};

// Settings, the engine's side ('-': contempt rests), position; score, threat levels and whether it is a known draw. The
// caches are in use: none may outlive a change.
TEST_F(EvaluateTest, Rows) {
    eval->iteration = 5;
    for (const char *name : {"eval/settings.tsv", "eval/terms.tsv", "eval/endings.tsv"}) {
        std::string settings = "none yet";
        for (const std::vector<std::string> &row : data_rows(name)) {
            SCOPED_TRACE(row[0] + " | " + row[1] + " | " + row[2]);
            if (row[0] != settings) apply(settings = row[0]);
            set_contempt_context(engine.shared.eval_tables, row[1] == "b" ? BLACK : WHITE, row[1] != "-");
            refresh_eval_caches(*eval);
            set_fen(pos, row[2]);
            EXPECT_EQ(evaluated(), row[3]);
            EXPECT_EQ(evaluated(), row[3]) << "from the cache";
        }
    }
}

TEST_F(EvaluateTest, CachesRestInTheFirstIterations) {
    set_fen(pos, "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -");
    const std::string fresh = evaluated();
    EvalCacheEntry &entry = eval->cache[pos.key % EVAL_CACHE_SIZE];
    PawnHashEntry &pawns = eval->pawn_hash[pos.pawn_key % PAWN_HASH_SIZE];
    const struct {
        std::uint8_t iteration;
        int ply;
        bool cached, pawns_cached;
    } cases[] = {
        {0, 2, false, false}, {1, 1, false, true}, {1, 2, false, true}, {2, 1, false, true}, {2, 2, true, false}};
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.iteration) + ' ' + std::to_string(c.ply));
        entry = {pos.key, {7, 8}, 999};  // nothing that an evaluation would say
        pawns = {pos.pawn_key, {ScorePair(500, 500), {}}};
        eval->iteration = c.iteration;
        eval->evaluations = eval->cache_hits = eval->pawn_probes = eval->pawn_hits = 0;
        const std::string said = evaluated(c.ply);
        EXPECT_EQ(said == "999 7/8", c.cached) << said;
        EXPECT_EQ(said == fresh, !c.cached && !c.pawns_cached) << said;
        EXPECT_EQ(eval->evaluations, 1U);
        EXPECT_EQ(eval->cache_hits, c.cached);
        EXPECT_EQ(eval->pawn_probes, !c.cached);
        EXPECT_EQ(eval->pawn_hits, c.pawns_cached);
    }
    EXPECT_EQ(evaluate(pos, *eval, 2, true, eval_result), IN_CHECK_SCORE);
}

TEST_F(EvaluateTest, OnlyAChangeMakesCachesStale) {
    EvalTables &tables = engine.shared.eval_tables;
    refresh_eval_caches(*eval);
    evaluated();
    const auto kept = [&] {
        refresh_eval_caches(*eval);
        return eval->cache[pos.key % EVAL_CACHE_SIZE].key == pos.key &&
               eval->pawn_hash[pos.pawn_key % PAWN_HASH_SIZE].key == pos.pawn_key;
    };
    EXPECT_TRUE(kept());
    set_contempt_context(tables, BLACK, true);  // without contempt nobody's side matters
    EXPECT_TRUE(kept());
    apply("Contempt=1");
    EXPECT_FALSE(kept());
    evaluated();
    set_contempt_context(tables, BLACK, true);
    EXPECT_TRUE(kept());
}

TEST_F(EvaluateTest, ASearchPlaysForTheSideToMove) {
    apply("Contempt=20");
    const struct {
        const char *side;
        double seconds;
        int score;
    } cases[] = {{"w", 5999.0, 36}, {"b", 5999.0, 36}, {"b", 6000.0, 16}, {"w", 6000.0, 16}};
    for (const auto &c : cases) {
        set_fen(pos, "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR " + std::string(c.side) + " - -");
        limits.fix_time(c.seconds);
        search_to_depth(1);
        EXPECT_EQ(result.root_eval, c.score) << c.side << c.seconds;
    }
}

TEST_F(EvaluateTest, PawnEndingsAreCounted) {
    int won[2][2] = {};
    for (Square pawn = A2; pawn <= H7; ++pawn)
        for (const Square strong : ALL_SQUARES)
            for (const Square weak : ALL_SQUARES)
                for (const Colour side : {WHITE, BLACK})
                    for (const Colour owner : {WHITE, BLACK})
                        won[owner][side] += kpk_is_won(owner, pawn, strong, weak, side);
    // The published counts
    EXPECT_EQ(won[WHITE][WHITE], 124960);
    EXPECT_EQ(won[WHITE][BLACK], 97604);
    EXPECT_EQ(won[BLACK][BLACK], 124960);
    EXPECT_EQ(won[BLACK][WHITE], 97604);
}

// A list that a tuner walks: the order, the starting values, and a place of its own for each.
TEST(Tunables, NameTheWeights) {
    EvalWeights weights;
    std::vector<TunableParam> params = eval_tunables(weights);
    const auto rows = data_rows("eval/tunables.tsv");
    ASSERT_EQ(params.size(), rows.size());
    std::int16_t value = 0;
    for (const TunableParam &param : params) param.weight.of(weights) = ++value;
    value = 0;
    for (const TunableParam &param : params) {
        const auto &row = rows[static_cast<std::size_t>(value)];
        EXPECT_EQ(std::as_const(param).weight.of(std::as_const(weights)), ++value) << param.name;
        EXPECT_EQ(param.name, row[0]);
        EXPECT_EQ(std::to_string(static_cast<int>(param.estimate)), row[1]) << param.name;
        EXPECT_FALSE(param.selected);
    }
    const auto selected = [&params] {
        return std::count_if(params.begin(), params.end(), std::mem_fn(&TunableParam::selected));
    };
    for (const char *unknown : {"", "pawn_value", "p1 ", "P1", "p16"}) select_tunable(params, unknown);
    EXPECT_EQ(selected(), 0);
    select_tunable(params, "p1");
    EXPECT_EQ(selected(), 1);
    EXPECT_TRUE(params[params.size() - 15].selected);
    for (const auto &[x, weight] : {std::pair{2.5, 3}, {-2.5, -3}, {2.4, 2}, {4e4, 32767}, {-4e4, -32768}})
        EXPECT_EQ(nearest_weight(x), weight) << x;
}

}  // namespace
