// What a chess program under the UCI protocol is asked again and again, on top of EngineProcess.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "engine_process.h"

namespace e2e {

// Whether the program was built with a sanitizer, which the environment tells: one build of the tests speaks to all.
inline bool sanitized() { return std::getenv("DRAL_TEST_SANITIZED") != nullptr; }

inline constexpr std::string_view START_FEN = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";

inline std::vector<std::string> words_of(const std::string &text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

// The parts of a text between its semicolons.
inline Lines parts_of(const std::string &text) {
    std::istringstream in(text);
    Lines parts;
    for (std::string part; std::getline(in, part, ';');) parts.push_back(part);
    return parts;
}

inline std::string joined(const Lines &lines) {
    std::string text;
    for (const std::string &line : lines) text += line + '\n';
    return text;
}

// One principal variation as the protocol shows it.
struct InfoLine {
    int multipv = 0;  // 0: not shown
    int depth = 0, seldepth = 0;
    std::string score;  // "cp 12", "mate -3"
    long long time = 0, nodes = 0, hashfull = 0;
    std::vector<std::string> pv;
};

// Reads a line of exactly the form that is promised to the user interface; nothing for any other text.
inline std::optional<InfoLine> parse_info(const std::string &line) {
    static const std::regex FORM(
        "info (?:multipv (\\d+) )?depth (\\d+) seldepth (-?\\d+) score (cp -?\\d+|mate -?\\d+) time (\\d+) "
        "nodes (\\d+) nps \\d+ tbhits \\d+ hashfull (\\d+) pv((?: [a-h][1-8][a-h][1-8][qrbn]?)+)");
    std::smatch part;
    if (!std::regex_match(line, part, FORM)) return std::nullopt;
    return InfoLine{part[1].matched ? std::stoi(part[1]) : 0,
                    std::stoi(part[2]),
                    std::stoi(part[3]),
                    part[4],
                    std::stoll(part[5]),
                    std::stoll(part[6]),
                    std::stoll(part[7]),
                    words_of(part[8])};
}

// Everything a "go" led to.
struct SearchReport {
    Lines lines;                  // all, in order, "bestmove" included
    std::vector<InfoLine> infos;  // the principal variations among them
    Lines strings;                // the "info string" lines among them
    std::string best;             // "null" when there is no move
    std::string ponder;           // empty: none

    const InfoLine &last() const {
        if (infos.empty()) throw EngineFailure("the search showed no line of play:\n" + joined(lines));
        return infos.back();
    }
};

// The report that ends with the next "bestmove" line. Any line out of form is thrown as a failure.
inline SearchReport read_search(EngineProcess &engine, Milliseconds timeout = DEFAULT_TIMEOUT) {
    static const std::regex BEST(
        "bestmove (null|[a-h][1-8][a-h][1-8][qrbn]?)(?: ponder ([a-h][1-8][a-h][1-8][qrbn]?))?");
    static const std::regex PROGRESS(
        "info depth \\d+ time \\d+ nodes \\d+ nps \\d+ hashfull \\d+|"
        "info currmove [a-h][1-8][a-h][1-8] currmovenumber \\d+");
    SearchReport report;
    report.lines = engine.expect_line("bestmove ", timeout);
    for (const std::string &line : report.lines) {
        if (const auto info = parse_info(line))
            report.infos.push_back(*info);
        else if (line.starts_with("info string "))
            report.strings.push_back(line);
        else if (line.starts_with("info ") && !std::regex_match(line, PROGRESS))
            throw EngineFailure("line out of form: " + line);
    }
    std::smatch part;
    if (!std::regex_match(report.lines.back(), part, BEST))
        throw EngineFailure("line out of form: " + report.lines.back());
    report.best = part[1];
    report.ponder = part[2];
    return report;
}

inline SearchReport search(EngineProcess &engine, std::string_view go, Milliseconds timeout = DEFAULT_TIMEOUT) {
    engine.send(go);
    return read_search(engine, timeout);
}

// Sends the lines and returns all that is printed until the engine has answered a following "isready".
inline Lines replies_to(EngineProcess &engine, std::string_view line) {
    engine.send(line);
    engine.send("isready");
    Lines lines = engine.expect_line("readyok");
    lines.pop_back();
    return lines;
}

inline Lines listing(EngineProcess &engine) {
    engine.send("uci");
    return engine.expect_line([](std::string_view line) { return line == "uciok"; });
}

// The default that "uci" shows for an option.
inline std::string listed_default(EngineProcess &engine, const std::string &option) {
    static const std::string WORD = " default ";
    for (const std::string &line : listing(engine)) {
        if (!line.starts_with("option name " + option + " ")) continue;
        const std::size_t start = line.find(WORD) + WORD.size();
        const std::size_t range = line.find(" min ", start);
        return line.substr(start, range == std::string::npos ? range : range - start);
    }
    return "(not listed)";
}

// Passes over what is printed at start-up.
inline void await_ready(EngineProcess &engine) {
    engine.send("isready");
    engine.expect_line("readyok");
}

// Ends the program as a user interface does and checks that it ends well, with nothing on standard error (where the
// sanitizers report).
inline void quit_and_check(EngineProcess &engine) {
    engine.send("quit");
    const ExitReport report = engine.read_until_exit();
    EXPECT_EQ(report.status, 0) << "signal " << report.signal << '\n' << engine.transcript();
    EXPECT_EQ(report.errors, "");
}

// A test with an engine of its own, which must end well after it.
class EngineTest : public testing::Test {
protected:
    explicit EngineTest(const std::vector<std::string> &arguments = {}) : engine_(arguments, directory_.path()) {
        await_ready(engine_);
    }
    void TearDown() override { quit_and_check(engine_); }

    TemporaryDirectory directory_;
    EngineProcess engine_;
};

}  // namespace e2e
