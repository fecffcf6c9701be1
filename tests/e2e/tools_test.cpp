// The toolbox: benchmark, test suites, game scanning and tuning, each in a directory of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>

#include <regex>
#include <string>
#include <vector>

#include "uci_session.h"

namespace {

using namespace e2e;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;

class Tools : public testing::Test {
protected:
    // What the program prints after the line about its hash table.
    Lines run(const std::vector<std::string> &arguments, const std::string &input = {}) {
        EngineProcess engine(arguments, directory_.path());
        if (!input.empty()) engine.send_raw(input);
        engine.close_input();
        ExitReport report = engine.read_until_exit(Milliseconds(60'000));
        EXPECT_EQ(report.status, 0) << engine.transcript();
        EXPECT_EQ(report.errors, "");
        report.lines.erase(report.lines.begin(), report.lines.begin() + 2);
        return report.lines;
    }
    Lines file_lines(const std::string &name) const {
        std::istringstream in(directory_.read(name));
        Lines lines;
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }

    TemporaryDirectory directory_;
};

std::string nodes_of(const Lines &bench) {
    std::smatch part;
    const std::string total = bench.empty() ? "" : bench.back();
    static const std::regex TOTAL("total time= \\d+\\.\\d\\d seconds, nodes= (\\d+), nps= \\d+");
    return std::regex_match(total, part, TOTAL) ? part[1].str() : "no total: " + total;
}

TEST_F(Tools, BenchmarkCountsTheSameNodesEachTime) {
    const Lines bench = run({"-bench", "-d", "4"});
    ASSERT_EQ(bench.size(), 22U);
    EXPECT_EQ(bench[0], "Dral 4.0 running benchmark using 1 threads");
    EXPECT_THAT(bench[1], testing::MatchesRegex("pos  0: +[0-9]+\\.[0-9][0-9] seconds"));
    EXPECT_THAT(bench[20], testing::MatchesRegex("pos 19: +[0-9]+\\.[0-9][0-9] seconds"));
    EXPECT_GT(std::stoll(nodes_of(bench)), 10'000);
    EXPECT_EQ(nodes_of(run({"-bench2", "-d", "4"})), nodes_of(bench));
    EXPECT_EQ(run({"-bench", "-d", "2", "-threads", "3"}).size(), 22U);
    // "quit" is seen while the benchmark runs, and its total still comes.
    EngineProcess engine({"-pbench"}, directory_.path());
    engine.send("quit");
    const Lines lines = engine.read_until_exit(Milliseconds(60'000)).lines;
    EXPECT_LT(lines.size(), 8U);
    EXPECT_THAT(lines.back(), HasSubstr("total time="));
}

// Ra8 mates; the searches are shallow, the answers certain.
TEST_F(Tools, TestSuitesAreScored) {
    const std::string mate = "6k1/5ppp/8/8/8/8/8/R5K1 w - -";
    directory_.write("suite.epd", "# remark\n; remark\n " + mate + " bm Kf1;\nshort\n8/8/8/8 w\n" +  // no records
                                      mate + " bm Ra8#; id \"one\";\n" +                             // correct
                                      mate + " bm Kf1, Ra8;\r\n" +                                   // correct
                                      mate + " bm Kf1 Kh1 Qq9;\n" +                                  // wrong
                                      mate + " am Kf1;\n" + mate + " am Ra8+;\n" +                   // correct, wrong
                                      mate + " bm Ra8; am Ra8;\n" +                            // correct: bm decides
                                      mate + " 0 1 bm a1a8;\n" +                               // correct
                                      mate + " am Qq9; c0 \"Ra8=10, Kf1=3\";\n" +              // 10 of 10 points
                                      mate + " acd 7; c0 \"Ra8=5 Kf1=8\"; c9 \"bm Kf1\";\n" +  // 5 of 8 points
                                      "6k1/5ppp/8/8/8/8/8/7K w - - c0 nothing;\n8/8/8/8/8/8/8/K7 w - - bm Kb1;\n");
    const Lines lines = run({"-anepd", "suite.epd", "-d", "3", "-quiet"});
    const std::string text = joined(lines);
    EXPECT_THAT(text, ContainsRegex("^Analyzing suite.epd\\.\\.\\.\nskipped .*: 8/8/8/8/8/8/8/K7 w - -\n"
                                    "5 / 10 correct best moves\ntotal nodes= [0-9]+\ntotal time= [0-9.]+ seconds\n"
                                    "avg depth= [0-9.]+\navg nodes= [0-9]+\\.0\nnode_rate= [0-9]+\navg bf= 2.00\n"
                                    "score= 15 / 18\n\n$"));
    EXPECT_THAT(file_lines("unsolved.epd"), ElementsAre(mate, mate, "6k1/5ppp/8/8/8/8/8/7K w - -"));

    directory_.write("one.epd", mate + " bm Ra8;\n");
    const std::string shown = joined(run({"-anepd", "one.epd", "-d", "6"}));
    EXPECT_THAT(shown, ContainsRegex("\npos= 1\n\n" + mate + "\n"));
    EXPECT_THAT(shown, ContainsRegex("\nmove= a1a8, time= 0\\.[0-9]+, score= 9998, nodes= [0-9]+, [0-9]+K nps\n"));
    EXPECT_THAT(run({"-anepd", "missing.epd"}), ElementsAre());
    directory_.write("empty.epd", "");
    EXPECT_THAT(joined(run({"-anepd", "empty.epd"})), HasSubstr("0 / 0 correct best moves"));
}

// Scores of the comments, by move: see the expected records.
const std::string GAME =
    "[Event \"t\"]\n[Round \"1\"]\n[White \"A\"]\n[Black \"B\"]\n[Result \"1-0\"]\n\n"
    "1. e4 {+0.29/18 0.2s} e5 {book} 2. Nf3 {a {nested} +0.57/3} Nc6 {eval 33, x} 3. Bb5 {eval} a6\n"
    "4. Bxc6 {-0.01/5} dxc6 {+0.02/5} 5. O-O {no score} f6 {+M12/9} 6. d4 {-M3/9} exd4 {+0.10/5} 7. Nxd4 {+0.11/5}\n"
    "c5 {-0.12/5} 8. Nb3 {+0.13/5 over\nlines} Qxd1 {-0.14/5} 9. Rxd1 {+0.15/5} Bg4 {-0.16/5} 10.f3 {+0.17/5}\n"
    "Be6 {-0.18/5} 11. Nc3 {+0.19/5} Bd6 {-0.20/5} 12. Be3 {+0.21/5} b6 {-0.22/5} 1-0\n\n"
    "[Event \"short\"]\n[Result \"0-1\"]\n\n1. e4 {+0.10/1} e5 {-6.00/1} 2. Ke7 {+0.10/1} 0-1\n";

TEST_F(Tools, GamesBecomeRecords) {
    directory_.write("g.pgn", GAME);
    EXPECT_THAT(run({"-scan_pgn2", "g.pgn"}), ElementsAre("games= 2, positions= 4"));
    const std::string start =
        "r1bqkbnr/1pp3pp/p1p2p2/8/3pP3/5N2/PPP2PPP/RNBQ1RK1 w kq - bm Nxd4; ce 11; c6 17; c9 \"1-0\";";
    EXPECT_THAT(
        file_lines("tmp.epd"),
        ElementsAre(start, "r1bqkbnr/1pp3pp/p1p2p2/8/3NP3/8/PPP2PPP/RNBQ1RK1 b kq - bm c5; ce -12; c6 -18; c9 \"1-0\";",
                    "r1bqkbnr/1pp3pp/p4p2/2p5/3NP3/8/PPP2PPP/RNBQ1RK1 w kq - bm Nb3; ce 13; c6 19; c9 \"1-0\";",
                    "r1bqkbnr/1pp3pp/p4p2/2p5/4P3/1N6/PPP2PPP/RNBQ1RK1 b kq - bm Qxd1; ce -14; c6 -20; c9 \"1-0\";",
                    ""));
    EXPECT_THAT(run({"-scan_pgn3", "g.pgn"}), ElementsAre("games= 2, positions= 7"));
    const Lines scored = file_lines("tmp.epd");
    const char *const scores[] = {"e4; ce 29",      "e5; ce 0",  "Nf3; ce 57", "Nc6; ce -33",
                                  "Bb5; ce -29999", "e4; ce 10", "e5; ce -600"};
    ASSERT_EQ(scored.size(), std::size(scores) + 1);
    for (std::size_t i = 0; i < std::size(scores); ++i)
        EXPECT_TRUE(scored[i].ends_with(std::string("bm ") + scores[i] + ";")) << scored[i];

    EXPECT_THAT(run({"-scan_pgn1", "g.pgn"}), ElementsAre("games= 2, positions= 0"));
    const std::string listing = directory_.read("tmp.pgn");
    EXPECT_THAT(listing, HasSubstr("[Round \"1\"]\n[Tag \"game_1\"]\n[White \"A\"]\n"));
    EXPECT_THAT(listing, HasSubstr("  1.  e4      {  0.29}\n      e5      {  0.00}\n  2.  Nf3     {  0.57}\n"
                                   "      Nc6     {  0.33}\n  3.  Bb5     {}\n      a6      {}\n"));
    EXPECT_THAT(listing, HasSubstr("      f6      {-90.00}\n  6.  d4      {-90.00}\n      exd4    { -0.10}\n"));
    EXPECT_THAT(run({"-scan_pgn4", "missing.pgn"}), ElementsAre());
}

TEST_F(Tools, MistakesAreMarkedInTheListing) {
    // Black's 7th move, ply 13, loses more than a pawn by White's scores.
    std::string moves = "[Event \"t\"]\n[Round \"1\"]\n[Result \"1-0\"]\n\n";
    const char *const shuffle[] = {"Nf3", "Nf6", "Ng1", "Ng8"};
    for (int i = 0; i < 32; ++i) {
        const int score = i >= 14 && i % 2 == 0 ? 150 : i >= 14 ? -150 : 10;
        moves += std::string(shuffle[i % 4]) + " {" + (score < 0 ? "-" : "+") + std::to_string(std::abs(score) / 100) +
                 "." + std::to_string(std::abs(score) % 100 / 10) + "0/9} ";
    }
    directory_.write("g.pgn", moves + "\n");
    EXPECT_THAT(run({"-scan_pgn1", "g.pgn"}), ElementsAre("games= 1, positions= 1"));
    const std::string before = "rnbqkbnr/pppppppp/8/8/8/5N2/PPPPPPPP/RNBQKB1R b KQkq -";
    const std::string after = "rnbqkb1r/pppppppp/5n2/8/8/5N2/PPPPPPPP/RNBQKB1R w KQkq -";
    EXPECT_THAT(directory_.read("tmp.pgn"), HasSubstr("      Nf6     { -0.10 ? " + before +
                                                      " am Nf6;}\n  8.  Ng1     {  1.50 ! " + after + " bm Ng1;}\n"));
    EXPECT_THAT(file_lines("tmpX.epd"), ElementsAre(after + " bm Ng1;"));
}

TEST_F(Tools, WeightsAreTuned) {
    // White is a queen ahead in all records but the draws; one record contradicts its result, one has no result.
    const std::string even = "4k3/pppp4/8/8/8/8/PPPP4/4K3 w - - ";
    const std::string ahead = "4k3/pppp4/8/8/8/8/PPPPP3/4K3 b - - ";
    directory_.write("t.epd", "; remark\n" + even + "ce 0; c6 0; c9 \"1/2-1/2\";\n" + ahead +
                                  "ce -80; c6 -90; c9 \"1-0\";\n" + ahead + "ce -80; c6 200; c9 \"1-0\";\n" + even +
                                  "ce 0; c6 -200; c9 \"1-0\";\n" + even + "ce 0;\n" + even +
                                  "ce 30; c6 -30; c9 \"1-0\";\n");
    EXPECT_THAT(run({"-mktune", "t.epd"}), ElementsAre("Creating file tune_new.epd"));
    EXPECT_THAT(file_lines("tune_new.epd"),
                ElementsAre(even + "ce 0; c6 0; c9 \"1/2-1/2\";", ahead + "ce -80; c6 -90; c9 \"1-0\";"));

    const std::string report = joined(run({"-c"}, "tune nonsense t.epd\ntune p1 t.epd 100\n"));
    EXPECT_THAT(report, HasSubstr("tune file= t.epd\ndone!\ntune file= t.epd\n\ntuning p1\np1= 2, err= "));
    EXPECT_THAT(report, HasSubstr("min= 1, max= 3\n\ndone!\n"));  // no term reads it: bounded at once

    std::string records;
    for (int i = 0; i < 300; ++i)
        records += even + "ce 0; c6 0; c9 \"1/2-1/2\";\n" + ahead + "ce -80; c6 -90; c9 \"1-0\";\n";
    directory_.write("many.epd", records);
    EngineProcess engine({"-tune", "many.epd"}, directory_.path());
    engine.expect_line("pass= 1, k0= ");
    engine.send("quit");
    EXPECT_EQ(engine.read_until_exit(Milliseconds(60'000)).status, 0);
    const std::string log = directory_.read("tune.log");
    EXPECT_THAT(
        log,
        HasSubstr("tuning file is many.epd\n\npass= 0, k0= 3.000e+03, avg_lr= 0.0, max_lr= 0.0\n** king_safety = 100\n"
                  "** p1 = 2\n"));
    EXPECT_THAT(log, ContainsRegex("\nerr= 0\\.[0-9]{5}\n\np1=  96/0\\.[0-9]+, p2= 104/"));
}

TEST_F(Tools, MatchesTuneByPlay) {
    EngineProcess engine({"-tune4"}, directory_.path());
    engine.expect_line("Starting match...");
    EXPECT_THAT(engine.expect_line("ngames= 0").size(), 1U);
    EXPECT_THAT(engine.read_line(), ContainsRegex(" \\* knight_value_op          :  380\\.0  "));
    for (int i = 0; i < 200 && directory_.read("self.pgn").find("[Game 2]") == std::string::npos; ++i)
        poll(nullptr, 0, 100);
    engine.interrupt();
    EXPECT_EQ(engine.read_until_exit(Milliseconds(60'000)).status, 0);
    EXPECT_THAT(
        directory_.read("self.pgn"),
        ContainsRegex("^\\[Event selfplay\\]\n\\[Game 1\\]\n\\[White \"Player[12]\"\\]\n\\[Black \"Player[12]\"\\]\n"
                      "\\[Result \"(1-0|0-1|1/2-1/2)\"\\]\n[a-h][1-8][a-h][1-8] \\{-?[0-9.]+/[0-9]+\\}   [a-h]"));
}

// Lines are read whole, however long, and no tool writes over its own input.
TEST_F(Tools, LongLinesAndOwnOutputs) {
    std::string one_line = GAME.substr(0, GAME.find("[Event \"short\"]"));
    for (std::size_t at = one_line.find("1. e4"); (at = one_line.find('\n', at)) != std::string::npos;)
        one_line[at] = ' ';
    directory_.write("g.pgn", one_line);
    EXPECT_THAT(run({"-scan_pgn2", "g.pgn"}), ElementsAre("games= 1, positions= 4"));
    const std::string records = directory_.read("tmp.epd");
    EXPECT_THAT(run({"-scan_pgn2", "tmp.epd"}), ElementsAre("the input would be overwritten by the output tmp.epd"));
    EXPECT_THAT(run({"-mktune", "tmp.epd"}), ElementsAre("Creating file tune_new.epd"));
    EXPECT_THAT(run({"-mktune", "tune_new.epd"}), testing::SizeIs(1));
    directory_.write("unsolved.epd", records);
    EXPECT_THAT(run({"-anepd", "unsolved.epd", "-d", "1"}), testing::SizeIs(1));
    EXPECT_EQ(directory_.read("unsolved.epd"), records);
}

TEST_F(Tools, AFullDiskIsReported) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
    directory_.write("g.pgn", GAME);
    std::filesystem::create_symlink("/dev/full", directory_.path() / "tmp.epd");
    EXPECT_THAT(run({"-scan_pgn2", "g.pgn"}), ElementsAre("cannot write all of tmp.epd", "games= 2, positions= 4"));
}

}  // namespace
