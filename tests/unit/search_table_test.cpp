// The transposition table and the derived search parameters.
#include "engine_fixture.h"

namespace {

class TableTest : public EngineTest {
protected:
    // The game position with another key: tests choose the bucket and the verification bits.
    Position &with_key(std::uint64_t key) {
        pos.key = key;
        pos.side = (key & 1) != 0 ? BLACK : WHITE;
        return pos;
    }
    void store(const Position &at, int depth, Move move = 0x0C1C, int score = 25) {
        tt_store(table, at, 5, depth, move, score, 0, 50);
    }
    TranspositionTable &table = engine.shared.table;
};

}  // namespace

TEST_F(TableTest, StoredEntryComesBack) {
    const struct {
        int score, alpha, beta, bound;
    } cases[] = {
        {25, 0, 50, BOUND_EXACT}, {0, 0, 50, BOUND_UPPER},  {-30, 0, 50, BOUND_UPPER},
        {50, 0, 50, BOUND_LOWER}, {80, 0, 50, BOUND_LOWER},
    };
    for (const auto &c : cases) {
        clear_table(engine.shared);
        tt_store(table, pos, 3, -2, 0x0C1C, c.score, c.alpha, c.beta);
        const TtHit hit = tt_probe(table, pos);
        ASSERT_NE(hit.entry, nullptr);
        EXPECT_EQ(hit.move, 0x0C1C);
        EXPECT_EQ(hit.score, c.score);
        EXPECT_EQ(hit.depth, -2);
        EXPECT_EQ(hit.bound, c.bound);
    }
}

TEST_F(TableTest, MateScoresCountFromTheNode) {
    const struct {
        int score, stored;
    } cases[] = {{9990, 9995}, {9699, 9704}, {9698, 9698}, {-9699, -9699}, {-9700, -9705}, {-9990, -9995}};
    for (const auto &c : cases) {
        clear_table(engine.shared);
        store(pos, 4, 0x0C1C, c.score);
        EXPECT_EQ(tt_probe(table, pos).score, c.stored) << c.score;
    }
}

TEST_F(TableTest, SamePositionKeepsMuchDeeperResult) {
    store(pos, 10);
    store(pos, 6, 0x0D1D);  // four plies shallower: kept out
    EXPECT_EQ(tt_probe(table, pos).depth, 10);
    store(pos, 7, 0x0D1D);  // three plies shallower: replaces
    EXPECT_EQ(tt_probe(table, pos).move, 0x0D1D);
    store(pos, 10);
    pos.fifty = 3;  // the half-move clock has advanced: replaces at any depth
    store(pos, 0, 0x0E1E);
    EXPECT_EQ(tt_probe(table, pos).move, 0x0E1E);
}

TEST_F(TableTest, FullBucketGivesUpItsShallowestEntry) {
    const auto key = [](std::uint64_t n) { return 0x1234'0000'0000'0040 + (n << 28); };
    for (std::uint64_t n = 0; n < 4; ++n) store(with_key(key(n)), 12 - static_cast<int>(n % 2));  // depths 12 11 12 11
    store(with_key(key(4)), 3);
    EXPECT_EQ(tt_probe(table, with_key(key(4))).entry, nullptr)
        << "more than seven plies shallower than the shallowest";
    store(with_key(key(4)), 4);
    EXPECT_NE(tt_probe(table, with_key(key(4))).entry, nullptr);
    EXPECT_EQ(tt_probe(table, with_key(key(1))).entry, nullptr) << "the first of the shallowest entries goes";
    EXPECT_NE(tt_probe(table, with_key(key(3))).entry, nullptr);
    table.age = 9;
    store(with_key(key(5)), -1);  // an entry of another search goes first, whatever its depth
    EXPECT_NE(tt_probe(table, with_key(key(5))).entry, nullptr);
    EXPECT_EQ(tt_probe(table, with_key(key(0))).entry, nullptr);
}

TEST_F(TableTest, DamagedEntryIsAMiss) {
    store(pos, 5);
    TtEntry *entry = tt_probe(table, pos).entry;
    const std::uint64_t data = entry->data_word;
    for (const int damaged_bit : {0, 13, 16, 31}) {
        entry->data_word = data ^ std::uint64_t{1} << damaged_bit;
        EXPECT_EQ(tt_probe(table, pos).entry, nullptr) << damaged_bit;
    }
    entry->data_word = data;
    EXPECT_NE(tt_probe(table, pos).entry, nullptr);
    EXPECT_EQ(tt_probe(table, with_key(pos.key ^ std::uint64_t{1} << 40)).entry, nullptr);
}

// Even keys fill the table from its start, odd keys from its end: all of it is used though 3 MB is no power of two.
TEST_F(TableTest, SidesStartFromOppositeEnds) {
    engine.settings.Hash = 3;
    ASSERT_TRUE(allocate_table(engine));
    store(with_key(0), 1);
    const TtEntry *first = tt_probe(table, with_key(0)).entry;
    store(with_key(1), 1);
    EXPECT_EQ(tt_probe(table, with_key(1)).entry - first, 3 * 65536 - 1);
    store(with_key(131071), 1);
    EXPECT_EQ(tt_probe(table, with_key(131071)).entry - first, 3 * 65536 - 131071);
    store(with_key(131070), 1);
    EXPECT_EQ(tt_probe(table, with_key(131070)).entry - first, 131070);
}

TEST_F(TableTest, EmptyTableIsHarmless) {
    engine.settings.Hash = 0;
    ASSERT_TRUE(allocate_table(engine));
    clear_table_if_idle(engine.shared);
    EXPECT_GT(search_to_depth(5), 0U);
    EXPECT_EQ(table.enabled, 0);
    EXPECT_EQ(tt_probe(table, pos).entry, nullptr);
    EXPECT_EQ(hash_fill(table), 0.0);
    engine.settings.Hash = 1;
    search_to_depth(5);
    EXPECT_EQ(table.enabled, 1);
    EXPECT_EQ(table.megabytes, 1);
}

TEST_F(TableTest, ParallelClearReachesEveryEntry) {
    for (const int threads : {1, 3, 8}) {
        apply_option(engine, "Threads", std::to_string(threads));
        for (std::uint64_t i = 0; i < 4096; ++i) store(with_key(i * 0x9E3779B97F4A7C15), 1);
        clear_table(engine.shared);
        int left = 0;
        for (std::uint64_t i = 0; i < 4096; ++i)
            left += tt_probe(table, with_key(i * 0x9E3779B97F4A7C15)).entry != nullptr;
        EXPECT_EQ(left, 0) << threads;
    }
}

TEST_F(EngineTest, ReductionTables) {
    for (std::size_t d = 0; d < 32; ++d)
        for (std::size_t m = 0; m < 32; ++m) {
            EXPECT_LE(engine.shared.params.LMR_nonpv[d][m], d <= 2 || m == 0 ? 0 : d - 1);
            EXPECT_LE(engine.shared.params.LMR_pv[d][m], d <= 2 || m == 0 ? 0 : d - 2);
        }
    const struct {
        int selectivity, bp_margin, reduction;
    } cases[] = {{0, 65, 0}, {99, 15, 6}, {50, 40, 3}, {100, 15, 6}, {200, 15, 12}, {300, 15, 12}};
    for (const auto &c : cases) {
        engine.settings.search.Selectivity = static_cast<std::int16_t>(c.selectivity);
        derive_tables(engine);
        EXPECT_EQ(engine.shared.params.BP_margin, c.bp_margin) << c.selectivity;
        EXPECT_EQ(engine.shared.params.LMR_nonpv[31][31], c.reduction) << c.selectivity;
    }
}

TEST_F(EngineTest, PruningDepthsAreCapped) {
    SearchSettings &settings = engine.settings.search;
    settings.FP_depth = settings.SEP_depth = settings.LMP_depth = 99;
    derive_tables(engine);
    EXPECT_EQ(engine.shared.params.FP_depth, 11);
    EXPECT_EQ(engine.shared.params.SEP_depth, 11);
    EXPECT_EQ(engine.shared.params.LMP_depth, 11);
}
