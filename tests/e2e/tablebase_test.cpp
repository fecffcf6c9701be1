// Endgame tables under the UCI protocol: scores, moves, and the path set at any time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "uci_session.h"

namespace {

using namespace e2e;
using testing::Contains;

std::filesystem::path table_directory() {
    const char *named = std::getenv("DRAL_TEST_DATA");
    const std::filesystem::path data = named != nullptr
                                           ? std::filesystem::path(named)
                                           : std::filesystem::path(DRAL_SOURCE_DIR) / ".." / "shared" / "data";
    return std::filesystem::weakly_canonical(data / "syzygy");
}

class Tablebases : public testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(table_directory())) GTEST_SKIP() << "no test data: " << table_directory();
        std::error_code ignored;
        std::filesystem::create_directory_symlink(table_directory(), directory_.path() / "tables", ignored);
    }
    TemporaryDirectory directory_;
};

TEST_F(Tablebases, DecideTheScoreAndTheMove) {
    EngineProcess engine({"-tbpath", "tables"}, directory_.path());
    EXPECT_THAT(engine.expect_line("info string found"), Contains("info string found 35 tablebases"));
    const struct {
        const char *fen;
        const char *score;
    } CASES[] = {
        {"8/8/8/3k4/8/8/7R/4K3 w - -", "cp 9800"}, {"8/8/8/3k4/8/8/7R/4K3 b - -", "cp -9800"},
        {"8/8/8/3k4/8/8/4P3/4K3 w - -", "cp 0"},   {"8/8/8/8/8/5K2/4Q3/7k w - -", "mate 1"},
        {"8/8/8/3k4/8/8/8/KBN5 w - -", "cp 9800"},
    };
    for (const auto &c : CASES) {
        engine.send("position fen " + std::string(c.fen));
        const SearchReport report = search(engine, "go depth 6");
        EXPECT_EQ(report.last().score, c.score) << c.fen;
    }
    // With the fifty-move clock at 10 the tables' move is the answer, without a search.
    engine.send("position fen 8/8/8/3k4/8/8/7R/4K3 w - - moves e1f1 d5e5 f1e1 e5e6 e1f1 e6e7 f1e1 e7e6 e1f1 e6e5");
    const SearchReport report = search(engine, "go infinite");
    EXPECT_EQ(report.infos.size(), 2U);
    EXPECT_EQ(report.last().depth, 99);
    EXPECT_EQ(report.last().score, "cp 9800");
    EXPECT_EQ(report.last().pv.size(), 1U);
    EXPECT_LT(report.last().nodes, 10);
    quit_and_check(engine);
}

TEST_F(Tablebases, PathsCanBeSetAtAnyTime) {
    EngineProcess engine({"-threads", "8"}, directory_.path());
    await_ready(engine);
    engine.send("position fen 8/5k2/3r4/8/3P4/4RK2/8/8 w - -");
    engine.send("go infinite");
    engine.expect_line("info depth 3 ");
    directory_.write("file", "not a folder");
    for (const std::string &path : Lines{"tables", "tables", "missing", "file", std::string(10000, 'y'), "tables"})
        engine.send("setoption name SyzygyPath value " + path);
    const SearchReport report = read_search(engine);
    EXPECT_NE(report.best, "null");
    EXPECT_THAT(engine.expect_line("info string found 0"), Contains("info string found 35 tablebases"));

    // All threads reach the tables at once.
    engine.send("ucinewgame");
    EXPECT_NE(search(engine, "go movetime 500").best, "null");
    engine.send("setoption name SyzygyPath value <empty>");
    EXPECT_EQ(search(engine, "go depth 4").last().pv.empty(), false);
    quit_and_check(engine);
}

}  // namespace
