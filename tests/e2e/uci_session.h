// What a chess program under the UCI protocol is asked again and again, on top of EngineProcess.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <regex>
#include <sstream>

#include "engine_process.h"

namespace e2e {

// Whether the program was built with a sanitizer, which the environment tells: one build of the tests speaks to all.
inline bool sanitized() { return std::getenv("DRAL_TEST_SANITIZED") != nullptr; }

inline constexpr std::string_view START_FEN = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";

inline std::string joined(const Lines &lines) {
    std::string text;
    for (const std::string &line : lines) text += line + '\n';
    return text;
}

// One principal variation as the protocol shows it.
struct InfoLine {
    int depth;
    long long time, nodes;
    Lines pv;
};

// Reads a line of exactly the form that is promised to the user interface; nothing for any other text.
inline std::optional<InfoLine> parse_info(const std::string &line) {
    static const std::regex FORM(
        "info (?:multipv [1-9]\\d* )?depth (\\d+) seldepth \\d+ score (?:cp -?\\d{1,4}|mate -?[1-9]\\d*) "
        "time (\\d+) nodes (\\d+) nps \\d+ tbhits \\d+ hashfull (?:\\d{1,3}|1000) pv((?: ([a-h][1-8]){2}[qrbn]?)+)");
    std::smatch part;
    if (!std::regex_match(line, part, FORM)) return std::nullopt;
    std::istringstream pv(part[4]);
    return InfoLine{
        std::stoi(part[1]), std::stoll(part[2]), std::stoll(part[3]), {std::istream_iterator<std::string>(pv), {}}};
}

// Everything a "go" led to.
struct SearchReport {
    Lines lines;                  // all, in order, "bestmove" included
    std::vector<InfoLine> infos;  // the principal variations among them
    std::string best;             // "null" when there is no move

    const InfoLine &last() const {
        if (infos.empty()) throw EngineFailure("the search showed no line of play:\n" + joined(lines));
        return infos.back();
    }
};

// The report that ends with the next "bestmove" line. Any line out of form is thrown as a failure.
inline SearchReport read_search(EngineProcess &engine, Milliseconds timeout = DEFAULT_TIMEOUT) {
    static const std::regex BEST("bestmove (null|([a-h][1-8]){2}[qrbn]?)( ponder ([a-h][1-8]){2}[qrbn]?)?");
    static const std::regex PROGRESS(
        "info depth \\d+ time \\d+ nodes \\d+ nps \\d+ hashfull \\d+|"
        "info currmove ([a-h][1-8]){2} currmovenumber [1-9]\\d{0,2}");
    SearchReport report{engine.expect_line("bestmove ", timeout), {}, {}};
    for (const std::string &line : report.lines) {
        if (const auto info = parse_info(line))
            report.infos.push_back(*info);
        else if (line.starts_with("info ") && !line.starts_with("info string ") && !std::regex_match(line, PROGRESS))
            throw EngineFailure("line out of form: " + line);
    }
    std::smatch part;
    if (!std::regex_match(report.lines.back(), part, BEST))
        throw EngineFailure("line out of form: " + report.lines.back());
    report.best = part[1];
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

// Whether the moves can be played one after another from the position ("startpos" or "fen ...").
inline bool playable(EngineProcess &engine, const std::string &position, const Lines &moves) {
    std::string line = "position " + position + (position.find(" moves ") == std::string::npos ? " moves" : "");
    for (const std::string &move : moves) line += " " + move;
    return replies_to(engine, line).empty();
}

// Passes over what is printed at start-up.
inline void await_ready(EngineProcess &engine) { replies_to(engine, ""); }

// Ends the program as a user interface does and checks that it ends well, with nothing on standard error (where the
// sanitizers report).
inline void quit_and_check(EngineProcess &engine) {
    engine.send("quit");
    const ExitReport report = engine.read_until_exit();
    EXPECT_EQ(report.status, 0) << engine.transcript();
    EXPECT_EQ(report.errors, "");
}

// A test with an engine of its own, which must end well after it.
class EngineTest : public testing::Test {
protected:
    EngineTest() : engine_({}, directory_.path()) { await_ready(engine_); }
    void TearDown() override { quit_and_check(engine_); }

    TemporaryDirectory directory_;
    EngineProcess engine_;
};

}  // namespace e2e
