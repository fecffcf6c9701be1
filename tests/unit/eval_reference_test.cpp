// Evaluations and searches against tables of values that were computed elsewhere.
#include "engine_fixture.h"

#include <fstream>

namespace {

using ReferenceTest = EngineTest;

using Row = std::vector<std::string>;

// Rows of a tab-separated file below its heading; empty when the file is missing.
std::vector<Row> read_rows(const std::string &name) {
    std::vector<Row> rows;
    std::ifstream file(test_data(name));
    std::string line;
    std::getline(file, line);
    while (std::getline(file, line)) {
        Row row;
        for (std::size_t start = 0; start <= line.size();) {
            const std::size_t end = std::min(line.find('\t', start), line.size());
            row.push_back(line.substr(start, end - start));
            start = end + 1;
        }
        rows.push_back(row);
    }
    return rows;
}

std::string white_and_black(const std::array<std::int16_t, 2> &values) {
    return std::to_string(values[WHITE]) + "/" + std::to_string(values[BLACK]);
}

}  // namespace

TEST_F(ReferenceTest, Evaluations) {
    enum { FEN, KIND, SCORE, STAGE, SCALE, THREAT_WHITE, THREAT_BLACK, MATERIAL, POSITIONAL, TERMS, COLUMNS = 16 };
    const std::vector<Row> rows = read_rows("reference/eval.tsv");
    if (rows.empty()) GTEST_SKIP() << "no rows in " << test_data("reference/eval.tsv");
    for (const Row &row : rows) {
        SCOPED_TRACE(row[FEN] + " " + row[KIND]);
        ASSERT_EQ(row.size(), static_cast<std::size_t>(COLUMNS));
        EvalResult eval{};
        EvalDisplay display;
        set_fen(pos, row[FEN]);
        const int score = evaluate(pos, thread().eval, 2, false, eval, &display);
        EXPECT_EQ(std::to_string(score), row[SCORE]);
        EXPECT_EQ(eval.flags, row[KIND] == "draw" ? RECOGNISED_DRAW : 0);
        if (row[KIND] != "eval") {
            EXPECT_EQ(eval.threat_level[WHITE], 0);
            EXPECT_EQ(eval.threat_level[BLACK], 0);
            continue;
        }
        EXPECT_EQ(std::to_string(eval.threat_level[WHITE]), row[THREAT_WHITE]);
        EXPECT_EQ(std::to_string(eval.threat_level[BLACK]), row[THREAT_BLACK]);
        EXPECT_EQ(std::to_string(display.stage), row[STAGE]);
        EXPECT_EQ(display.draw_scale * 256, std::stod(row[SCALE]));
        EXPECT_EQ(white_and_black(display.material), row[MATERIAL]);
        EXPECT_EQ(white_and_black(display.positional), row[POSITIONAL]);
        for (std::size_t term = 0; term < DISPLAY_TERMS; ++term)
            EXPECT_EQ(white_and_black(display.totals[term]), row[TERMS + term]) << "term " << term;
    }
}

TEST_F(ReferenceTest, Searches) {
    enum { FEN, DEPTH, SCORE, MOVE, NODES, LINE, COLUMNS };
    const std::vector<Row> rows = read_rows("reference/search.tsv");
    if (rows.empty()) GTEST_SKIP() << "no rows in " << test_data("reference/search.tsv");
    engine.settings.Hash = 64;
    ASSERT_TRUE(allocate_table(engine));
    for (const Row &row : rows) {
        ASSERT_EQ(row.size(), static_cast<std::size_t>(COLUMNS));
        const int depth = std::stoi(row[DEPTH]);
        if (short_run() && depth > 5) continue;
        SCOPED_TRACE(row[FEN] + " depth " + row[DEPTH]);
        clear_table(engine.shared);
        engine.shared.table.age = 1;
        ASSERT_FALSE(set_fen(pos, row[FEN]).rights_dropped);
        const std::uint64_t nodes = search_to_depth(depth);
        EXPECT_EQ(std::to_string(result.score), row[SCORE]);
        EXPECT_EQ(coordinates(result.best), row[MOVE]);
        EXPECT_EQ(std::to_string(nodes), row[NODES]);
        std::string line;
        for (std::size_t i = 1; result.pv[i] != NO_MOVE; ++i)
            line.append(i > 1 ? " " : "").append(coordinates(result.pv[i]));
        EXPECT_EQ(line, row[LINE]);
    }
}
