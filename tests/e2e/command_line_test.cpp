// Switches of the command line, start-up messages and exit statuses.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "uci_session.h"

namespace {

using namespace e2e;

TEST(CommandLine, ValuesReachTheOptions) {
    const struct {
        std::vector<std::string> arguments;
        const char *option, *shown;
    } CASES[] = {
        {{"-hash", "-5"}, "Hash", "0"},
        {{"-hash", "5x", "-nonsense", "-hash"}, "Hash", "5"},
        {{"-threads", "500"}, "Threads", "128"},
        {{"-log", "-quiet"}, "Log", "false"},
        {{"-quiet", "-log"}, "Log", "true"},
        {{"-Hash", "5", "hash", "6", "-hash7"}, "Hash", "64"},
        {{"-numa", "-uci_extra", "", "-hash", "7"}, "Hash", "7"},
    };
    for (const auto &c : CASES) {
        EngineProcess engine(c.arguments);
        EXPECT_EQ(listed_default(engine, c.option), c.shown) << testing::PrintToString(c.arguments);
        quit_and_check(engine);
    }
}

TEST(CommandLine, TheLaterProtocolSwitchWins) {
    EngineProcess protocol({"-c", "-uci"});
    EXPECT_EQ(joined(replies_to(protocol, "bd")).find(START_FEN), std::string::npos);
    quit_and_check(protocol);

    EngineProcess console({"-uci", "-c"});
    console.expect_line(START_FEN);
    quit_and_check(console);
}

TEST(CommandLine, ReadsTheConfigurationFile) {
    TemporaryDirectory directory;
    directory.write("dral.cfg", "Contempt = 12\nThreads = 2\nHash = 5\n");
    EngineProcess engine({"-hash", "3", "-cfg", "dral.cfg"}, directory.path());
    for (const char *line :
         {"info string allocated 3 Mbytes for hash table", "", "info string loading parameters from dral.cfg",
          "info string Contempt set to 12", "info string Threads set to 2", "info string Hash set to 5"})
        EXPECT_EQ(engine.read_line(), line);
    EXPECT_EQ(listed_default(engine, "Contempt"), "12");
    EXPECT_EQ(listed_default(engine, "Threads"), "2");
    const SearchReport report = search(engine, "go depth 2");
    EXPECT_NE(joined(report.lines).find("info string allocated 5 Mbytes for hash table"), std::string::npos);
    quit_and_check(engine);

    EngineProcess without({"-cfg", "missing.cfg"}, directory.path());
    EXPECT_EQ(without.read_line(), "info string allocated 64 Mbytes for hash table");
    EXPECT_EQ(listed_default(without, "ConfigFilePath"), "missing.cfg");
    quit_and_check(without);
}

TEST(CommandLine, NoiseHoldsProgressBack) {
    const std::pair<Lines, std::size_t> CASES[] = {
        {{"-quiet"}, 1},  // the result alone
        {{"-noise", "9999"}, 1},
        {{"-noise", "1000"}, 2},  // the final line of play and the result
    };
    for (const auto &[arguments, lines] : CASES) {
        EngineProcess engine(arguments);
        await_ready(engine);
        const SearchReport report = search(engine, "go depth 5");
        EXPECT_EQ(report.lines.size(), lines) << joined(report.lines);
        quit_and_check(engine);
    }
}

TEST(CommandLine, ModesWithoutWorkEndAtOnce) {
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{"-mkconfig"}, {"-match", "x.pgn"}}) {
        EngineProcess engine(arguments);
        const ExitReport report = engine.read_until_exit();
        EXPECT_EQ(report.status, 0) << testing::PrintToString(arguments);
        EXPECT_EQ(report.lines, (Lines{"info string allocated 64 Mbytes for hash table", ""}));
        EXPECT_EQ(report.errors, "");
    }
}

}  // namespace
