// Evaluations and searches against tables of values that were computed elsewhere.
#include "engine_fixture.h"

namespace {

using ReferenceTest = EngineTest;

// The rows below the heading, of `columns` fields each.
std::vector<std::vector<std::string>> reference_rows(const std::string &name, std::size_t columns) {
    std::vector<std::vector<std::string>> rows = data_rows(name);
    for (const auto &row : rows) EXPECT_EQ(row.size(), columns) << row[0];
    if (!rows.empty()) rows.erase(rows.begin());
    return rows;
}

std::string white_and_black(const std::array<std::int16_t, 2> &values) {
    return std::to_string(values[WHITE]) + "/" + std::to_string(values[BLACK]);
}

}  // namespace

TEST_F(ReferenceTest, Evaluations) {
    enum { FEN, KIND, SCORE, STAGE, SCALE, THREAT_WHITE, THREAT_BLACK, MATERIAL, POSITIONAL, TERMS, COLUMNS = 16 };
    for (const auto &row : reference_rows("reference/eval.tsv", COLUMNS)) {
        SCOPED_TRACE(row[FEN] + " " + row[KIND]);
        EvalResult eval{};
        EvalDisplay display;
        set_fen(pos, row[FEN]);
        const int score = evaluate(pos, thread().eval, 2, false, eval, &display);
        EXPECT_EQ(std::to_string(score), row[SCORE]);
        EXPECT_EQ(eval.flags, row[KIND] == "draw" ? RECOGNISED_DRAW : 0);
        const bool evaluated = row[KIND] == "eval";
        EXPECT_EQ(std::to_string(eval.threat_level[WHITE]), evaluated ? row[THREAT_WHITE] : "0");
        EXPECT_EQ(std::to_string(eval.threat_level[BLACK]), evaluated ? row[THREAT_BLACK] : "0");
        if (!evaluated) continue;
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
    engine.settings.Hash = 64;
    ASSERT_TRUE(allocate_table(engine));
    for (const auto &row : reference_rows("reference/search.tsv", COLUMNS)) {
        const int depth = std::stoi(row[DEPTH]);
        if (short_run() && depth > 5) continue;
        SCOPED_TRACE(row[FEN] + " depth " + row[DEPTH]);
        clear_table(engine.shared);
        engine.shared.table.age = 1;
        set_fen(pos, row[FEN]);
        const std::uint64_t nodes = search_to_depth(depth);
        std::string line;
        for (std::size_t i = 1; result.pv[i] != NO_MOVE; ++i)
            line.append(i > 1 ? " " : "").append(coordinates(result.pv[i]));
        EXPECT_EQ(fields(result.score, coordinates(result.best), nodes, line),
                  fields(row[SCORE], row[MOVE], row[NODES], row[LINE]));
    }
}
