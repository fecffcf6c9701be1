// The transposition table and the derived search parameters.
#include <span>
#include <sstream>
#include <tuple>
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
    for (const auto &[score, bound] : {std::pair{25, BOUND_EXACT},
                                       {1, BOUND_EXACT},
                                       {0, BOUND_UPPER},
                                       {-30, BOUND_UPPER},
                                       {49, BOUND_EXACT},
                                       {50, BOUND_LOWER},
                                       {80, BOUND_LOWER}}) {
        clear_table(engine.shared);
        store(pos, -2, 0x0C1C, score);
        const TtHit hit = tt_probe(table, pos);
        ASSERT_NE(hit.entry, nullptr);
        EXPECT_EQ(hit.move, 0x0C1C);
        EXPECT_EQ(hit.score, score);
        EXPECT_EQ(hit.depth, -2);
        EXPECT_EQ(hit.bound, bound);
    }
}

TEST_F(TableTest, MateScoresCountFromTheNode) {
    for (const auto &[score, stored] :
         {std::pair{9990, 9995}, {9699, 9704}, {9698, 9698}, {-9699, -9699}, {-9700, -9705}}) {
        clear_table(engine.shared);
        store(pos, 4, 0x0C1C, score);
        EXPECT_EQ(tt_probe(table, pos).score, stored);
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
// than seven plies deeper.
TEST_F(TableTest, FullBucketGivesUpOneEntry) {
    table.age = 3;
    TtEntry *entries = table.entries + 0x40;
    for (const auto &row : data_rows("search/replacement.tsv")) {
        clear_table(engine.shared);
        std::istringstream depths(row[0]);
        for (int i = 0, depth = 0; depths >> depth; ++i)
            entries[i].data_word = static_cast<std::uint64_t>(static_cast<std::uint8_t>(depth)) << 32 |
                                   (i == std::stoi(row[1]) ? std::uint64_t{2} : std::uint64_t{3}) << 48;
        store(with_key(0x1234'0000'0000'0040), std::stoi(row[2]));
        for (int i = -1; i < 5; ++i)
            EXPECT_EQ(entries[i].key_word != 0, i == std::stoi(row[3]) && i < 4) << "slot " << i << ", " << row[0];
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

TEST_F(TableTest, AgesGoRound) {
    for (const auto &[age, next] : {std::pair{0, 1}, {1, 2}, {14, 15}, {15, 1}}) {
        table.age = static_cast<std::uint16_t>(age);
        tt_next_age(table);
        EXPECT_EQ(table.age, next);
    }
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
    for (const auto &[megabytes, mask] : {std::pair{1, 0xFFFFU}, {2, 0x1FFFFU}, {3, 0x1FFFFU}, {4, 0x3FFFFU}}) {
        ASSERT_TRUE(tt_allocate(table, megabytes));
        EXPECT_EQ(table.index_mask, mask);
        EXPECT_EQ(table.count, 65536U * static_cast<unsigned>(megabytes));
        EXPECT_EQ(table.megabytes, megabytes);
        EXPECT_TRUE(table.fresh);
    }
    table.enabled = 0;
    table.off_by_size = true;
    table.age = 7;
    tt_free(table);
    EXPECT_EQ(table.entries, nullptr);
    EXPECT_EQ(table.count + table.index_mask + static_cast<unsigned>(table.megabytes), 0U);
    EXPECT_EQ(table.age, 0);
    EXPECT_EQ(table.enabled, 1);
    EXPECT_FALSE(table.off_by_size);
}

// Even keys fill the table from its start, odd keys from its end: all of it is used though 3 MB is no power of two.
TEST_F(TableTest, SidesStartFromOppositeEnds) {
    engine.settings.Hash = 3;
    ASSERT_TRUE(allocate_table(engine));
    for (const auto &[key, index] :
         {std::pair{0, 0}, {1, 3 * 65536 - 1}, {131071, 3 * 65536 - 131071}, {131070, 131070}}) {
        store(with_key(static_cast<std::uint64_t>(key)), 1);
        EXPECT_EQ(tt_probe(table, pos).entry - table.entries, index);
    }
}

TEST_F(TableTest, EmptyTableIsHarmless) {
    engine.settings.Hash = 0;
    ASSERT_TRUE(allocate_table(engine));
    EXPECT_GT(search_to_depth(5), 0U);
    EXPECT_EQ(table.enabled, 0);
    engine.settings.Hash = 1;
    search_to_depth(5);
    EXPECT_EQ(table.enabled, 1);
    EXPECT_EQ(table.megabytes, 1);
}

// Threads clear a slice each, and all entries lie in one, those behind the last bucket as well.
TEST_F(TableTest, SlicesCoverTheTable) {
    const std::span entries(table.entries, table.count + 16);
    const auto cleared = [&entries] {
        return std::count_if(entries.begin(), entries.end(), [](auto &e) { return e.data_word == 0; });
    };
    for (const std::size_t slices : {1, 3, 8}) {
        apply_option(engine, "Threads", std::to_string(slices));
        std::size_t first = 0;
        for (std::size_t i = 0; i < slices; ++i) {
            for (TtEntry &entry : entries) entry.data_word = 1;
            tt_clear_slice(table, static_cast<int>(i), static_cast<int>(slices));
            const std::size_t size = i + 1 == slices ? entries.size() - first : entries.size() / slices;
            EXPECT_EQ(cleared(), size);
            EXPECT_EQ(entries[first].data_word + entries[first + size - 1].data_word, 0U);
            first += size;
        }
        clear_table(engine.shared);
        EXPECT_EQ(cleared(), entries.size());
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
    std::ifstream in(test_data("search/params.txt"));
    EXPECT_TRUE(texts == std::string(std::istreambuf_iterator<char>(in), {})) << texts.substr(0, 2000);
}

// Random reductions come with a strength up to 2199 and a known rate.
TEST_F(EngineTest, RandomReductionsByStrength) {
    for (const auto &[elo, nps, rate] : {std::tuple{0, 1000.0, 0},
                                         {1, 1000.0, 4},
                                         {2199, 1000.0, 4},
                                         {2200, 1000.0, 0},
                                         {1500, 10.0, 0},
                                         {1500, 11.0, 4500},
                                         {1500, 4510.0, 1},
                                         {1500, 4511.0, 0},
                                         {1500, 10.001, 1000000}}) {
        engine.shared.params.random_reduction_rate = 77;
        derive_search_params({}, elo, nps, engine.shared.params);
        EXPECT_EQ(engine.shared.params.random_reduction_rate, rate) << elo << ' ' << nps;
    }
}
