// The transposition table and the derived search parameters.
#include <sstream>
#include <utility>

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

// A new position takes the place of another search's entry, else of the first of the shallowest ones unless that is more
// than seven plies deeper. Slots of the bucket are compared with the state before.
TEST_F(TableTest, FullBucketGivesUpOneEntry) {
    const struct {
        std::array<int, 4> depths;
        int old;  // slot of an entry of another search; 4: none
        int depth;
        int replaced;  // 4: none
    } cases[] = {
        {{11, 12, 12, 12}, 4, 4, 0}, {{12, 11, 12, 12}, 4, 4, 1}, {{12, 12, 11, 12}, 4, 4, 2},
        {{12, 12, 12, 11}, 4, 4, 3}, {{11, 11, 11, 11}, 4, 4, 0}, {{12, 11, 12, 11}, 4, 4, 1},
        {{12, 12, 11, 11}, 4, 4, 2}, {{11, 12, 11, 12}, 4, 3, 4}, {{12, 12, 12, 12}, 4, 5, 0},
        {{1, 9, 9, 9}, 1, -1, 1},    {{1, 9, 9, 99}, 3, -1, 3},   {{9, 9, 9, 9}, 0, -1, 0},
        {{-2, 9, 9, 9}, 2, 50, 2},   {{9, 9, 9, -3}, 4, -2, 3},
    };
    const auto key = [](std::uint64_t n) { return 0x1234'0000'0000'0040 + (n << 28); };
    const std::uint16_t age = table.age = 3;
    for (const auto &c : cases) {
        clear_table(engine.shared);
        std::array<TtEntry, 6> before;
        for (int i = 0; i < 4; ++i) {
            TtEntry &entry = table.entries[0x40 + i];
            entry.key_word = key(static_cast<std::uint64_t>(i)) & 0xFFFF'FFFF;
            entry.data_word = static_cast<std::uint64_t>(static_cast<std::uint8_t>(c.depths[i])) << 32 |
                              static_cast<std::uint64_t>(i == c.old ? 2 : age) << 48;
        }
        for (int i = -1; i < 5; ++i) before[i + 1] = table.entries[0x40 + i];
        store(with_key(key(9)), c.depth);
        for (int i = -1; i < 5; ++i)
            EXPECT_EQ(table.entries[0x40 + i].key_word != before[i + 1].key_word, i == c.replaced && i < 4)
                << "slot " << i << " by depth " << c.depth << " case " << &c - cases;
    }
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

// What lies beside a bucket is none of its entries.
TEST_F(TableTest, BucketsHaveFourEntries) {
    const Position &at = with_key(0x1234'0000'0000'0040);
    store(at, 5);
    TtEntry *entries = table.entries + 0x40;
    for (const int slot : {1, 2, 3, 4, -1}) {
        std::swap(entries[slot], entries[slot == 1 ? 0 : slot == -1 ? 4 : slot - 1]);
        EXPECT_EQ(tt_probe(table, at).entry, slot == 4 || slot == -1 ? nullptr : entries + slot);
    }
    entries[4] = entries[-1];
    store(at, 6);
    EXPECT_EQ(tt_probe(table, at).entry, entries) << "the neighbour is not this position's entry";
}

TEST_F(TableTest, TableSwitchedOffIsNotUsed) {
    store(pos, 5);
    table.enabled = 0;
    EXPECT_EQ(tt_probe(table, pos).entry, nullptr);
    store(pos, 9);
    table.enabled = 1;
    EXPECT_EQ(tt_probe(table, pos).depth, 5);
}

TEST_F(TableTest, AgesGoRoundAndUseRefreshesThem) {
    for (const auto &[age, next] : {std::pair{0, 1}, {1, 2}, {14, 15}, {15, 1}}) {
        table.age = static_cast<std::uint16_t>(age);
        tt_next_age(table);
        EXPECT_EQ(table.age, next);
    }
    pos.fifty = 77;
    table.age = 15;
    store(pos, -3);
    TtEntry &entry = *tt_probe(table, pos).entry;
    const std::uint64_t fresh = entry.data_word;
    table.age = 6;
    tt_refresh_age(table, entry);
    EXPECT_EQ(entry.data_word, fresh ^ std::uint64_t{15 ^ 6} << 48);
    EXPECT_EQ(entry.data_word >> 48, 77U << 8 | 6U);
}

// The sample are the thousand entries in the middle.
TEST_F(TableTest, FillIsSampledInTheMiddle) {
    table.age = 5;
    const std::size_t whole = std::exchange(table.count, 3000);
    for (const std::size_t used : {999, 1000, 1999, 2000}) table.entries[used].data_word = std::uint64_t{5} << 48;
    table.entries[1500].data_word = std::uint64_t{4} << 48;
    EXPECT_DOUBLE_EQ(hash_fill(table), 0.002);
    table.count = 2999;
    EXPECT_EQ(hash_fill(table), 0.0);
    table.count = whole;
}

TEST_F(TableTest, SizesAndRelease) {
    const struct {
        int megabytes;
        std::uint64_t mask;
    } cases[] = {{1, 0xFFFF}, {2, 0x1FFFF}, {3, 0x1FFFF}, {4, 0x3FFFF}, {7, 0x3FFFF}};
    for (const auto &c : cases) {
        ASSERT_TRUE(tt_allocate(table, c.megabytes));
        EXPECT_EQ(table.index_mask, c.mask);
        EXPECT_EQ(table.count, 65536U * static_cast<unsigned>(c.megabytes));
        EXPECT_EQ(table.megabytes, c.megabytes);
        EXPECT_TRUE(table.fresh);
    }
    table.enabled = 0;
    table.off_by_size = true;
    table.age = 7;
    tt_free(table);
    EXPECT_EQ(table.entries, nullptr);
    EXPECT_EQ(table.count, 0U);
    EXPECT_EQ(table.index_mask, 0U);
    EXPECT_EQ(table.megabytes, 0);
    EXPECT_EQ(table.age, 0);
    EXPECT_EQ(table.enabled, 1);
    EXPECT_FALSE(table.off_by_size);
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

// What the settings come to, as a person reads it: search_params.txt holds the texts for some Selectivity values.
TEST_F(EngineTest, DerivedParameters) {
    std::string texts;
    for (const int selectivity : {100, 0, 99, 50, 150, 200, 201, 300}) {
        SearchSettings settings;
        settings.Selectivity = static_cast<std::int16_t>(selectivity);
        settings.FP_depth = settings.SEP_depth = settings.LMP_depth = static_cast<std::int16_t>(selectivity);
        derive_search_params(settings, 0, UNLIMITED_NPS, engine.shared.params);
        texts += search_params_text(engine.shared.params) + '\n';
    }
    std::ifstream file(test_data("search_params.txt"));
    std::istringstream in(texts);
    std::string line, expected;
    for (int number = 1; std::getline(in, line); ++number) {
        std::getline(file, expected);
        ASSERT_EQ(line, expected) << "line " << number;
    }
    EXPECT_FALSE(std::getline(file, expected));
}

// Random reductions come with a strength up to 2199 and a known rate.
TEST_F(EngineTest, RandomReductionsByStrength) {
    const struct {
        int elo;
        double nps;
        int rate;
    } cases[] = {{0, 1000, 0},     {1, 1000, 4},    {2199, 1000, 4}, {2200, 1000, 0},        {1500, 10, 0},
                 {1500, 11, 4500}, {1500, 4510, 1}, {1500, 4511, 0}, {1500, 10.001, 1000000}};
    for (const auto &c : cases) {
        engine.shared.params.random_reduction_rate = 77;
        derive_search_params({}, c.elo, c.nps, engine.shared.params);
        EXPECT_EQ(engine.shared.params.random_reduction_rate, c.rate) << c.elo << ' ' << c.nps;
    }
}
