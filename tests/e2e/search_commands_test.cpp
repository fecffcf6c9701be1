// "go" and what ends a search, where clocks and threads have a part: times, pondering, changes during a search.
#include <deque>
#include <set>
#include <thread>

#include "uci_session.h"

namespace {

using namespace e2e;

constexpr const char *MIDDLE_GAME = "fen r1bq1rk1/pp2bppp/2n1pn2/3p4/3P1B2/2NBPN2/PP3PPP/R2Q1RK1 w - -";

using SearchCommands = EngineTest;

// Starts a search and lets it get going.
void begin(EngineProcess &engine, std::string_view go) {
    engine.send(go);
    engine.expect_line("info depth 3 ");
}

TEST_F(SearchCommands, ProgressNeverGoesBackAndItsLinesCanBePlayed) {
    for (const std::string position :
         {"startpos", "fen 8/2P5/8/8/1k6/8/p3K3/8 b - -", "fen r3k2r/8/8/1pP5/8/8/8/R3K2R w KQkq b6", MIDDLE_GAME}) {
        engine_.send("position " + position);
        const SearchReport report = search(engine_, "go depth 8");
        for (const InfoLine &info : report.infos) EXPECT_TRUE(playable(engine_, position, info.pv));
        for (std::size_t i = 1; i < report.infos.size(); ++i) {
            const InfoLine &before = report.infos[i - 1], &now = report.infos[i];
            EXPECT_TRUE(now.depth >= before.depth && now.nodes >= before.nodes && now.time >= before.time);
        }
        EXPECT_EQ(report.last().depth, 8);
        EXPECT_EQ(report.best, report.last().pv[0]);
    }
    // A number of nodes is meant give or take 4 percent, at random.
    long long least = 4'000, most = least;
    for (int i = 0; i < 200; ++i) {
        const long long nodes = search(engine_, "go nodes 4000 movestogo 9").last().nodes;
        least = std::min(least, nodes);
        most = std::max(most, nodes);
    }
    EXPECT_TRUE(least >= 3'844 && least <= 3'880) << least;
    EXPECT_TRUE(most <= 4'170 && most >= 4'120) << most;
}

// After three and a half seconds iterations and root moves are announced, the moves only where one line is shown, and
// nothing before the time from which progress is shown. The rate of nodes makes an iteration begin then.
TEST(Progress, RootMovesAreAnnounced) {
    const std::pair<Lines, std::set<std::string>> CASES[] = {
        {{"-nps", "500"}, {"info depth", "info currm"}},
        {{"-nps", "700", "-cfg", "two.cfg"}, {"info depth"}},
        {{"-nps", "500", "-noise", "1000"}, {}},
    };
    TemporaryDirectory directory;
    directory.write("two.cfg", "MultiPV = 2\n");
    std::deque<EngineProcess> engines;
    for (const auto &[arguments, kinds] : CASES) {
        engines.emplace_back(arguments, directory.path());
        engines.back().send("position fen 8/8/8/3k4/8/8/7R/4K3 w - -\ngo movetime 4500");
    }
    for (const auto &[arguments, kinds] : CASES) {
        std::set<std::string> announced;
        for (const std::string &line : read_search(engines.front()).lines)
            if (line.starts_with("info ") && !line.starts_with("info string ") && line.find(" pv ") == line.npos)
                announced.insert(line.substr(0, 10));
        EXPECT_EQ(announced, kinds);
        engines.pop_front();
    }
}

// Times are kept; clocks that are short, gone or below zero are all answered, and never so late that the game is lost.
TEST_F(SearchCommands, TimesAndShortClocks) {
    const struct {
        const char *go;
        int least, most;  // ms
    } CASES[] = {
        {"go movetime 50", 45, 250},
        {"go movetime 400", 395, 600},
        {"go wtime 1000 btime 1000", 0, 1000},
        {"go wtime 300 btime 300 movestogo 1", 0, 300},
        {"go wtime -500 btime -500 movestogo 0", 0, 0},
        {"go wtime 1000 btime 1000 movestogo -1", 0, 1000},
    };
    for (const auto &c : CASES) {
        const auto start = Clock::now();
        EXPECT_NE(search(engine_, c.go).best, "null") << c.go;
        EXPECT_GE(Clock::now() - start, Milliseconds(c.least)) << c.go;
        EXPECT_LE(Clock::now() - start, Milliseconds(c.most) + scaled(Milliseconds(300))) << c.go;
    }
    // In check from a8 only Kb1 is left: no need to think.
    engine_.send("position fen r5k1/8/8/8/8/2pp4/2r5/K2R4 w - -");
    EXPECT_EQ(search(engine_, "go wtime 6000000 btime 6000000").best, "a1b1");
    // The weakest play visits 40 nodes a second, after a first iteration that is not slowed.
    engine_.send("position startpos\nsetoption name UCI_LimitStrength value true\nsetoption name UCI_Elo value 1500");
    EXPECT_LE(search(engine_, "go movetime 500").last().nodes, 60);
}

TEST_F(SearchCommands, PonderingEndsWithStopOrPonderhit) {
    const std::pair<const char *, const char *> CASES[] = {
        {"go ponder wtime 200 btime 200", "ponderhit"},
        {"go ponder wtime 200 btime 200", "stop"},
        {"go ponder depth 3", "ponderhit"},  // long over when the end comes
        {"go ponder wtime 1000 btime 1000", "go ponder wtime 1000 btime 1000\nponderhit"},
        // What follows a second "go" in the same write belongs to that search, not to the one it overtakes.
        {"go infinite", "go infinite\nstop"},
    };
    for (const auto &[go, end] : CASES) {
        search(engine_, "go depth 60 movetime 1");  // its depth does not end the next one
        begin(engine_, go);
        std::this_thread::sleep_for(Milliseconds(200));
        for (const std::string &line : replies_to(engine_, "")) EXPECT_FALSE(line.starts_with("bestmove")) << go;
        engine_.send(end);
        for (int i = std::string_view(end).starts_with("go") ? 2 : 1; i > 0; --i)
            EXPECT_NE(read_search(engine_, Milliseconds(3000)).best, "null") << go;
        EXPECT_EQ(replies_to(engine_, "stop"), Lines{});
    }
}

// A change of threads ends the search, which still has its result; other settings do not; a new game does.
TEST_F(SearchCommands, SettingsAndNewGamesDuringASearch) {
    std::filesystem::create_directory_symlink(std::filesystem::path(DRAL_SOURCE_DIR) / "tests/data/syzygy",
                                              directory_.path() / "tables");
    const std::string fen = "fen 8/5k2/3r4/8/3P4/4RK2/8/8 w - -";
    for (const std::string threads : {"8", "2", "1"}) {
        engine_.send("position " + fen);
        begin(engine_, "go infinite");
        engine_.send("setoption name Threads value " + threads);
        EXPECT_NE(read_search(engine_).best, "null");
        EXPECT_TRUE(playable(engine_, fen, search(engine_, "go depth 7").last().pv));
        engine_.send("position " + fen);
        begin(engine_, "go infinite");
        for (const std::string &setting :
             Lines{"Threads value " + threads, "Hash value 3", "Clear_Hash", "Mtl_Queen value 9"})
            engine_.send("setoption name " + setting);
        for (const std::string &line : replies_to(engine_, "")) EXPECT_FALSE(line.starts_with("bestmove"));
        // Tables end it as well, however often they are named; then all threads reach them at once.
        for (const char *path : {"tables", "missing", "tables"})
            engine_.send("setoption name SyzygyPath value " + std::string(path));
        EXPECT_NE(read_search(engine_).best, "null");
        EXPECT_NE(search(engine_, "go movetime 200").best, "null");
        engine_.send("setoption name SyzygyPath value <empty>");
        engine_.send("go infinite\nucinewgame");
        EXPECT_NE(read_search(engine_).best, "null");
    }
}

// The same short games, to twenty growing limits of nodes, twice in a process and once in another.
TEST(Determinism, TheSameGamesGiveTheSameLines) {
    const auto game = [](EngineProcess &engine) {
        std::string moves, said;
        for (int ply = 0; ply < 6; ++ply) {
            engine.send("position startpos moves" + moves);
            const SearchReport report = search(engine, "go wtime 100000000 btime 100000000");
            for (const std::string &line : report.lines)
                if (parse_info(line) || line.starts_with("bestmove"))
                    said += std::regex_replace(line, std::regex("(time|nps) \\d+"), "") + '\n';
            moves += " " + report.best;
        }
        return said;
    };
    std::deque<EngineProcess> engines;
    for (int nodes = 20; engines.size() < (sanitized() ? 8U : 40U); nodes += nodes / 3)
        for (int i = 0; i < 2; ++i) engines.emplace_back(Lines{"-hash", "1", "-n", std::to_string(nodes)});
    for (std::size_t i = 0; i < engines.size(); i += 2) {
        const std::string first = game(engines[i]);
        engines[i].send(i % 4 == 0 ? "ucinewgame" : "setoption name Clear_Hash");
        EXPECT_EQ(game(engines[i]), first) << i;
        EXPECT_EQ(game(engines[i + 1]), first) << "in another process, " << i;
    }
}

}  // namespace
