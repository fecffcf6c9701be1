// The console's game: typed moves, take-back, files, the editor, self-play. Each script runs in a directory of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "uci_session.h"

namespace {

using namespace e2e;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

class ConsoleGame : public testing::Test {
protected:
    // What a script prints after the first board, boards cut down to their FEN.
    std::string run(const std::string &script, std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), "-c");
        EngineProcess engine(arguments, directory_.path());
        engine.expect_line("white");
        engine.read_line();
        engine.send_raw(script);
        engine.close_input();
        const ExitReport report = engine.read_until_exit();
        EXPECT_EQ(report.status, 0) << engine.transcript();
        EXPECT_EQ(report.errors, "");
        std::string text;
        for (std::size_t i = 0; i < report.lines.size(); ++i) {
            text += report.lines[i] + '\n';
            const bool board = i + 10 < report.lines.size() && report.lines[i].find('/') != std::string::npos &&
                               (report.lines[i + 9] == "white" || report.lines[i + 9] == "black");
            if (board) i += 10;
        }
        return text;
    }
    std::string saved() const { return directory_.read("tmp.pgn"); }

    TemporaryDirectory directory_;
};

constexpr const char *AFTER_E4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3\n";
constexpr const char *AFTER_E5 = "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6\n";
const std::string START = std::string(START_FEN) + "\n";

TEST_F(ConsoleGame, MovesAreTypedTakenBackAndPlayedAgain) {
    const std::string e4 = AFTER_E4, e5 = AFTER_E5;
    EXPECT_EQ(run("e4\nmove e5\nmove Ke3\nnonsense\nmove\nundo\n[\nundo\n]\n]\n]\n"),
              "1. move e4\n" + e4 + "1. move e5\n" + e5 + e4 + START + "1. move e2e4\n" + e4 + "1... move e7e5\n" + e5);
    // Another move makes the recorded ones unreachable.
    EXPECT_EQ(run("e4\ne5\n[\n[\nd4\n]\n"),
              "1. move e4\n" + e4 + "1. move e5\n" + e5 + e4 + START +
                  "1. move d4\nrnbqkbnr/pppppppp/8/8/3P4/8/PPP1PPPP/RNBQKBNR b KQkq d3\n");
    EXPECT_EQ(run("e4\ne5\njump 1\njump 9\njump 0\njump -3\nfen " + e5 + "jump 5\n"),
              "1. move e4\n" + e4 + "1. move e5\n" + e5 + e4 + e5 + START + START + e5 + e5);
    EXPECT_THAT(run("set debug 1\ne4\n"), ContainsRegex("move e4\n(.*\n)*eval= "));
    // A search sets the ply back to the root; taking back moves then leads below it.
    EXPECT_THAT(run("e4\ne5\ngo 1\n[\n[\ntrace 2\njump 2\n"), HasSubstr(AFTER_E5));
    // Neither the hash table's line nor a game that was left behind is replayed.
    EXPECT_THAT(run("e4\ne5\nNf3\nNc6\nnew\ne4\njump 9\n"), testing::EndsWith(START + "1. move e4\n" + e4 + e4));
    EXPECT_THAT(run("e4\ne5\n[\npv\n]\n"), HasSubstr("1... move e7e5\n"));
}

TEST_F(ConsoleGame, GamesAreLoadedAndSaved) {
    directory_.write(
        "games.pgn",
        "\xEF\xBB\xBF[Event \"first\"]\n[White \"Ann\"]\n\n1. e4 {nested {comment}\n over lines} e5 2. Nf3 *\n\n"
        "[Event \"second\"]\n[White \"Bob\"]\r\n\r\n1.d4 d5\r\n2.c4 $1 e6 1/2-1/2\r\n"
        "[Event \"third\"]\n[White \"Bob\"]\n1. c4 c5 2. Ke5 Nf6\n");
    const std::string first = "rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -\n";
    const std::string second = "rnbqkbnr/ppp2ppp/4p3/3p4/2PP4/8/PP2PPPP/RNBQKBNR w KQkq -\n";
    const std::string third = "can't parse move 'Ke5'\nrnbqkbnr/pp1ppppp/8/2p5/2P5/8/PP1PPPPP/RNBQKBNR w KQkq c6\n";
    std::string script, expected;
    for (const auto &[tag, shown] : std::vector<std::pair<std::string, std::string>>{{"", first},
                                                                                     {"2", second},
                                                                                     {"3", third},
                                                                                     {"0", first},
                                                                                     {"4", START},
                                                                                     {"5000", first},
                                                                                     {"Bob", second},
                                                                                     {"third", third},
                                                                                     {"2.c4", second},
                                                                                     {"Carl", START},
                                                                                     {"1", first}}) {
        script += "load games.pgn " + tag + "\n";
        expected += "loading games.pgn, tag " + tag + "\n" + shown;
    }
    EXPECT_EQ(run(script), expected);
    EXPECT_EQ(run("e4\nload missing.pgn 2\n"), std::string("1. move e4\n") + AFTER_E4 + "loading missing.pgn, tag 2\n");

    run("save\nload games.pgn 2\nsave\n");
    EXPECT_EQ(saved(), "[Event \"Unknown\"]\n\n\n[Event \"Unknown\"]\nd4 d5 c4 e6 \n\n");
    run("load games.pgn\nBc5\nBc4\nNf6\no-o\no-o\nd3\nd6\nc3\nc6\n[\nsave\n]\n");
    EXPECT_THAT(saved(), HasSubstr("e4 e5 Nf3 Bc5 Bc4 Nf6 o-o o-o d3 d6 c3 \n\n\n"));
}

TEST_F(ConsoleGame, PositionsComeFromTheTestFile) {
    EXPECT_EQ(run("get 1\n"), "\n" + START);
    directory_.write("test.epd",
                     " 8/8/8/8/8/8/8/K1k5 w - - id \"a\";\n; id \"a\"\n"
                     "8/8/8/8/8/8/8/K1k5 b - - bm Kc2; id \"a\";\r\n"
                     "id \"b\"\n8/8/8/8/8/8/8/1K1k4 w - - id \"ab\";\n");
    EXPECT_EQ(run("get a\n"), "8/8/8/8/8/8/8/K1k5 b - - bm Kc2; id \"a\";\n8/8/8/8/8/8/8/K1k5 b - -\n");
    EXPECT_EQ(run("get b\n"), "id \"b\"\n" + START);
}

TEST_F(ConsoleGame, TheBoardIsEdited) {
    const std::string head =
        "\n\n.                    end edit\n#                    clear board\nw  Pa2 Pb2 Kc2       white, pieces\n"
        "b  Pa7 Pb7 Kc7       black, pieces\n";
    EXPECT_EQ(run("edit\n#\nw Ke1 Qd1\nb Ke8\nuci\nquit\n.\nbd\n"), head + "4k3/8/8/8/8/8/8/3QK3 b - -\n");
    EXPECT_EQ(
        run("e4\nedit\nw Nb1 pe5 Xa1 Ka9 Qd5\n. end\nbd\nundo\n"),
        std::string("1. move e4\n") + AFTER_E4 + head + "rnbqkbnr/pppppppp/8/4P3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -\n");
    EXPECT_EQ(run("edit\nb Nh1\n.\nbd\nedit\n#\n.\nbd\n"),
              head + "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNn b Qkq -\n" + head + "8/8/8/8/8/8/8/8 b - -\n");
    EXPECT_THAT(run("edit\n#\nw Ke1\n.\nmv\n"), HasSubstr("cannot search this position"));
}

TEST_F(ConsoleGame, TheHashTableShowsItsLine) {
    // The root itself is not in the table, the position after the best move is.
    EngineProcess engine({"-c"}, directory_.path());
    engine.send("go 7");
    const std::string result = engine.expect_line("move= ").back();
    engine.send(result.substr(6, 4));
    engine.send("pv");
    EXPECT_THAT(engine.expect_line("PV: ").back(), ContainsRegex("^PV: [a-hNBRQKo][^ ]* [a-hNBRQKo]"));
    quit_and_check(engine);
    EXPECT_THAT(run("pv\n"), HasSubstr("PV: \n\n" + START));
}

TEST_F(ConsoleGame, TheEnginePlaysItself) {
    // A pawn ending that is over soon: the game runs to its end.
    const std::string game = run("set depth 8\nfen 8/8/8/8/8/k7/7p/K7 b - -\nself\n");
    EXPECT_THAT(game, HasSubstr("move= h2h1=Q"));
    EXPECT_THAT(game, HasSubstr("move= null"));
    EXPECT_THAT(game, Not(HasSubstr("cnt50= 101")));
    // "." ends it, and so does a new position.
    EngineProcess engine({"-c", "-t", "0.2"}, directory_.path());
    engine.send("self");
    engine.expect_line("black");
    engine.send(".");
    engine.expect_line("Hash fill=");
    engine.send("set ponder 1");
    EXPECT_EQ(engine.expect_line("ponder set").size(), 2U);
    quit_and_check(engine);
}

TEST_F(ConsoleGame, AnotherSearchReplacesTheRunningOne) {
    EngineProcess engine({"-c"}, directory_.path());
    engine.send("go");
    engine.expect_line("00] 03");
    engine.send_raw("go 4\ngo\ngo\n");
    for (int i = 0; i < 3; ++i) engine.expect_line("move= ");
    engine.send(".");
    engine.expect_line("move= ");
    quit_and_check(engine);
}

TEST_F(ConsoleGame, HelpNamesEveryCommand) {
    const std::string help = run("help\n");
    EXPECT_EQ(run("?\n"), help);
    EXPECT_THAT(help, ContainsRegex("^  new  +start position\n(  [^ ].* [^ ].*\n){29}  \\?  +the same\n$"));
}

}  // namespace
