// "setoption", the configuration file and the log file.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string>

#include "uci_session.h"

namespace {

using namespace e2e;

class Options : public EngineTest {};

TEST_F(Options, RepliesWithWhatIsStored) {
    const struct {
        const char *setting;  // after "setoption "
        const char *reply;    // after "info string "; nullptr: silence
    } CASES[] = {
        // Integers: clamped, read as far as they are numbers.
        {"name Hash value 99999999999999999999", "Hash set to 16384"},
        {"name Hash value -99999999999999999999", "Hash set to 0"},
        {"name Hash value 65600", "Hash set to 16384"},  // past 16 bits
        {"name Hash value 12abc", "Hash set to 12"},
        {"name Hash value +24", "Hash set to 24"},
        {"name Contempt", "Contempt set to 0"},
        // Checks: on where "true" stands anywhere.
        {"name OwnBook value true", "OwnBook set to 1"},
        {"name OwnBook value True", "OwnBook set to 0"},
        {"name OwnBook value it is true", "OwnBook set to 1"},
        // Pairs: clamped one by one, a missing second number stays as it was.
        {"name Mtl_Knight value 10,3000", "Mtl_Knight set to 20,2000"},
        {"name Mtl_Knight value 400", "Mtl_Knight set to 400,2000"},
        {"name Threats value 99999999999,5", "Threats set to 200,5"},
        {"name Awareness value 30,40", "Awareness set to 30,40"},
        // Texts keep their inner blanks.
        {"name OwnBook_File value my books/a b.bin", "OwnBook_File set to 'my books/a b.bin'"},
        {"name OwnBook_File", "OwnBook_File set to ''"},
        {"name Clear_Hash", "Hash table cleared"},
        // How name and value are found.
        {"name    Contempt    value    5", "Contempt set to 5"},
        {"  name Contempt value 6", "Contempt set to 6"},
        {"value 5 name Contempt", nullptr},
        {"name contempt value 5", nullptr},
        {"name  value 5", nullptr},
        {"", nullptr},
    };
    for (const auto &c : CASES) {
        const Lines expected = c.reply == nullptr ? Lines{} : Lines{"info string " + std::string(c.reply)};
        EXPECT_EQ(replies_to(engine_, "setoption " + std::string(c.setting)), expected) << c.setting;
    }
    // Long texts are cut.
    for (const std::size_t length : {143, 144, 145, 200, 100'000}) {
        const std::string text(length, 'b');
        EXPECT_EQ(replies_to(engine_, "setoption name OwnBook_File value " + text),
                  Lines{"info string OwnBook_File set to '" + text.substr(0, 143) + "'"})
            << length;
    }
    // The listing shows the values in force.
    const char *const SHOWN[][3] = {{"OwnBook", "true", "true"},
                                    {"Contempt", "-20", "-20"},
                                    {"Mtl_Rook", "500,600", "500,600"},
                                    {"PST_Pawn", "120", "120,100"},
                                    {"OwnBook_File", "x y.bin", "x y.bin"}};
    for (const auto &[option, value, shown] : SHOWN) {
        engine_.send("setoption name " + std::string(option) + " value " + value);
        EXPECT_EQ(listed_default(engine_, option), shown) << option;
    }
}

// Whatever number or text is sent, what is stored lies in the range that is listed, and the engine goes on.
TEST_F(Options, NoValueLeavesItsRange) {
    static const std::regex SPIN("option name (\\w+) type spin default -?\\d+ min (-?\\d+) max (-?\\d+)");
    static const std::regex STORED("info string (\\w+) set to (-?\\d+)");
    for (const std::string &line : listing(engine_)) {
        std::smatch option;
        if (!std::regex_match(line, option, SPIN)) continue;
        const long long low = std::stoll(option[2]);
        const long long high = std::stoll(option[3]);
        for (const std::string &value :
             Lines{std::to_string(low - 1), std::to_string(low), std::to_string(high), std::to_string(high + 1),
                   "2147483648", "-9223372036854775809", "1e9", "", "many"}) {
            const std::string text =
                joined(replies_to(engine_, "setoption name " + option[1].str() + " value " + value));
            std::smatch stored;
            ASSERT_TRUE(std::regex_search(text, stored, STORED)) << text;
            EXPECT_EQ(stored[1], option[1]);
            EXPECT_GE(std::stoll(stored[2]), low) << text;
            EXPECT_LE(std::stoll(stored[2]), high) << text;
        }
        replies_to(engine_, "setoption name Threads value 1");
        replies_to(engine_, "setoption name Hash value 1");
        EXPECT_NE(search(engine_, "go depth 2").best, "null") << line;
    }
}

// A position in which the evaluation weighs pieces against each other: an option must reach the search.
TEST_F(Options, ChangedWeightsReachTheNextSearch) {
    engine_.send("position fen 4k3/pppp4/8/8/8/8/PPPP4/3QK3 w - -");
    const std::string before = search(engine_, "go depth 1").last().score;
    engine_.send("setoption name Mtl_Queen value 300,300");
    const SearchReport after = search(engine_, "go depth 1");
    EXPECT_NE(after.last().score, before);
    EXPECT_EQ(std::count(after.strings.begin(), after.strings.end(), "info string setting search and eval params..."),
              1)
        << joined(after.lines);
    // Nothing changed since, so nothing is rebuilt.
    EXPECT_EQ(search(engine_, "go depth 1").strings, Lines{});
}

TEST_F(Options, HashIsResizedAtTheNextSearch) {
    for (const char *size : {"0", "1", "3", "0", "64", "1"}) {
        SCOPED_TRACE(size);
        engine_.send("setoption name Hash value " + std::string(size));
        const SearchReport report = search(engine_, "go depth 7");
        const std::string line = "info string allocated " + std::string(size) + " Mbytes for hash table";
        EXPECT_NE(joined(report.lines).find(line + "\n\n"), std::string::npos) << joined(report.lines);
        EXPECT_EQ(report.last().depth, 7);
        // The same size once more: the table stays.
        engine_.send("setoption name Hash value " + std::string(size));
        const SearchReport again = search(engine_, "go depth 2");
        EXPECT_EQ(std::count(again.lines.begin(), again.lines.end(), line), 0);
    }
}

TEST(HashTable, ThatDoesNotFitEndsTheProgram) {
    if (sanitized()) GTEST_SKIP() << "the limit is on address space, of which sanitizers reserve terabytes";
    const auto limited = [](const std::string &arguments) {
        return std::vector<std::string>{"-c",
                                        "ulimit -v 1000000; exec '" + engine_binary().string() + "' " + arguments};
    };
    EngineProcess at_start("/bin/sh", limited("-hash 4096"), {});
    EXPECT_EQ(at_start.read_until_exit().status, 1);

    EngineProcess later("/bin/sh", limited(""), {});
    await_ready(later);
    later.send("setoption name Hash value 4096");
    later.send("go depth 1");
    EXPECT_EQ(later.read_until_exit().status, 255);
}

class ConfigurationFile : public EngineTest {
protected:
    // The lines that loading prints.
    Lines load(const std::string &name) { return replies_to(engine_, "setoption name ConfigFilePath value " + name); }
    static Lines loaded(const std::string &name, Lines replies) {
        replies.insert(replies.begin(), {"info string ConfigFilePath set to '" + name + "'",
                                         "info string loading parameters from " + name});
        return replies;
    }
};

TEST_F(ConfigurationFile, SetsWhatItsLinesName) {
    directory_.write("dral.cfg",
                     "# a comment\n"
                     "\n"
                     "Hash = 17          # MB\n"
                     "Contempt=-5\n"
                     "  Selectivity = 50\n"  // a blank before the name is part of it
                     "OwnBook = true # false\n"
                     "Mtl_Knight   =    400,380\n"
                     "#Threads = 2\n"
                     "Threads 2\n"    // no '='
                     "threads = 2\n"  // no such name
                     "= 5\n"
                     "=\n"
                     "OwnBook_File = some books/x.bin\n"
                     "MultiPV = 3\n");
    EXPECT_EQ(joined(load("dral.cfg")),
              joined(loaded("dral.cfg",
                            {"info string Hash set to 17", "info string Contempt set to -5",
                             "info string OwnBook set to 1", "info string Mtl_Knight set to 400,380",
                             "info string OwnBook_File set to 'some books/x.bin'", "info string MultiPV set to 3"})));
}

// A ring of files is read once, yet the same file can be loaded again later. Lines after the one that closes it count.
TEST_F(ConfigurationFile, RingsAreReadOnce) {
    directory_.write("self.cfg", "Contempt = 1\nConfigFilePath = self.cfg\nSelectivity = 90\n");
    directory_.write("a.cfg", "ConfigFilePath = b.cfg\nContempt = 2\n");
    directory_.write("b.cfg", "ConfigFilePath = a.cfg\nSelectivity = 80\n");
    const Lines self =
        loaded("self.cfg", {"info string Contempt set to 1", "info string ConfigFilePath set to 'self.cfg'",
                            "info string Selectivity set to 90"});
    EXPECT_EQ(load("self.cfg"), self);
    EXPECT_EQ(joined(load("a.cfg")),
              joined(loaded("a.cfg",
                            loaded("b.cfg", {"info string ConfigFilePath set to 'a.cfg'",
                                             "info string Selectivity set to 80", "info string Contempt set to 2"}))));
    EXPECT_EQ(load("self.cfg"), self);
}

TEST_F(ConfigurationFile, MissingAndStrangeOnesDoNoHarm) {
    std::filesystem::create_directory(directory_.path() / "folder");
    for (const std::string name : {"missing.cfg", "no/such/folder.cfg"})
        EXPECT_EQ(load(name), Lines{"info string ConfigFilePath set to '" + name + "'"});
    EXPECT_EQ(load("folder").front(), "info string ConfigFilePath set to 'folder'");
    std::string noise;
    for (int i = 0; i < 20'000; ++i) noise += static_cast<char>((i * 7919 + i / 3) % 256);
    directory_.write("noise.cfg", noise);
    directory_.write("long.cfg", std::string(100'000, 'n') + "=" + std::string(100'000, 'v') + "\nContempt = 3\n");
    directory_.write("empty.cfg", "");
    directory_.write("end.cfg", "Contempt");
    EXPECT_EQ(load("noise.cfg")[1], "info string loading parameters from noise.cfg");
    EXPECT_EQ(load("long.cfg").back(), "info string Contempt set to 3");
    EXPECT_EQ(load("empty.cfg"), loaded("empty.cfg", {}));
    EXPECT_EQ(load("end.cfg"), loaded("end.cfg", {}));
}

TEST(LogFile, HoldsCommandsAndReplies) {
    TemporaryDirectory directory;
    directory.write("dral.log", "from an earlier run\n");
    EngineProcess engine({"-log"}, directory.path());
    await_ready(engine);
    engine.send("debug off");  // leaves the echo on
    engine.send("position startpos moves g1f3");
    const SearchReport report = search(engine, "go depth 2");
    quit_and_check(engine);

    // What precedes the first command is the calibration's.
    const std::string log = directory.read("dral.log");
    const std::size_t start = std::min(log.find("CMD: isready"), log.size());
    Lines expected = {"CMD: isready",
                      "readyok",
                      "CMD: debug off",
                      "CMD: position startpos moves g1f3",
                      "CMD: go depth 2",
                      "info string fen rnbqkbnr/pppppppp/8/8/8/5N2/PPPPPPPP/RNBQKB1R b KQkq -",
                      "info string ply= 1, trg_time= 10000000.000 sec"};
    expected.insert(expected.end(), report.lines.begin(), report.lines.end());
    expected.push_back("CMD: quit");
    EXPECT_EQ(log.substr(start), joined(expected));
    EXPECT_EQ(directory.read("dral.log").find("earlier"), std::string::npos);
}

TEST(LogFile, CanBeSwitchedOffAndOn) {
    TemporaryDirectory directory;
    EngineProcess engine({}, directory.path());
    await_ready(engine);
    EXPECT_FALSE(std::filesystem::exists(directory.path() / "dral.log"));
    engine.send("setoption name Log value true");
    replies_to(engine, "first");
    engine.send("setoption name Log value false");
    replies_to(engine, "unheard");
    engine.send("setoption name Log value true");
    replies_to(engine, "second");
    quit_and_check(engine);
    const std::string log = directory.read("dral.log");
    EXPECT_NE(log.find("CMD: first\n"), std::string::npos) << log;
    EXPECT_EQ(log.find("unheard"), std::string::npos) << log;
    EXPECT_NE(log.find("CMD: second\n"), std::string::npos) << log;
}

TEST(LogFile, StaysOffWhenTheOldOneCannotBeDeleted) {
    TemporaryDirectory directory;
    std::filesystem::create_directories(directory.path() / "dral.log" / "occupied");
    EngineProcess engine({"-log"}, directory.path());
    engine.expect_line([](std::string_view line) { return line == "log file in use."; });
    EXPECT_EQ(listed_default(engine, "Log"), "false");
    quit_and_check(engine);
}

}  // namespace
