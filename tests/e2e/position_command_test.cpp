// "position": what is set up, which moves are taken, and texts that describe no chess position.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "uci_session.h"

namespace {

using namespace e2e;

std::string knight_dance(int plies) {
    static const char *const MOVES[] = {" g1f3", " g8f6", " f3g1", " f6g8"};
    std::string text;
    for (int i = 0; i < plies; ++i) text += MOVES[i % 4];
    return text;
}

class PositionCommand : public EngineTest {
protected:
    PositionCommand() : EngineTest({"-log"}) {}

    // The position and ply that a search starts from, as the log shows them: "fen text, ply".
    std::string current() {
        engine_.send("go depth 1");
        engine_.expect_line("bestmove ");
        const std::string log = directory_.read("dral.log");
        const auto last = [&](const std::string &word, const std::string &end) {
            const std::size_t start = log.rfind(word) + word.size();
            return log.substr(start, log.find_first_of(end, start) - start);
        };
        return last("info string fen ", "\n") + ", " + last("info string ply= ", ",");
    }
};

TEST_F(PositionCommand, PlaysItsMoves) {
    const std::pair<std::string, std::string> CASES[] = {
        {"startpos moves", std::string(START_FEN) + ", 0"},
        {"startpos moves e2e4 e7e5 g1f3", "rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq -, 3"},
        {"  startpos   moves   e2e4", "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3, 1"},
        // Castling, en passant, promotions.
        {"fen r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1 moves e1g1 e8c8", "2kr3r/8/8/8/8/8/8/R4RK1 w - -, 2"},
        {"fen 4k3/8/8/3pP3/8/8/8/4K3 w - d6 moves e5d6", "4k3/8/3P4/8/8/8/8/4K3 b - -, 1"},
        {"fen 1r2k3/P7/8/8/8/8/p7/1R2K3 w - - moves a7a8q a2b1n", "Qr2k3/8/8/8/8/8/8/1n2K3 w - -, 2"},
        // Fields in any state of completeness.
        {"fen 4k3/8/8/8/8/8/8/4K2R b K - 12 34", "4k3/8/8/8/8/8/8/4K2R b K -, 0"},
    };
    for (const auto &[command, expected] : CASES) {
        EXPECT_EQ(replies_to(engine_, "position " + command), Lines{}) << command;
        EXPECT_EQ(current(), expected) << command;
    }
}

TEST_F(PositionCommand, StopsAtTheFirstIllegalMove) {
    const std::pair<std::string, std::string> CASES[] = {
        {"startpos", "e2e5"},  // no such step
        {"startpos", "e7e5"},  // the other side's piece
        {"startpos", "a1a5"},  // through a piece
        {"startpos", "0000"},
        {"startpos", "e2e9"},
        {"startpos", "Nf3"},
        {"startpos", "\xff\xff\xff\xff"},
        {"fen 4r1k1/8/8/8/8/8/4N3/4K3 w - -", "e2c3"},  // pinned
        {"fen 5rk1/8/8/8/8/8/8/4K2R w K -", "e1g1"},    // over an attacked square
        {"fen 8/8/8/K2pP2r/8/8/8/4k3 w - d6", "e5d6"},  // en passant bares the king
    };
    for (const auto &[position, move] : CASES) {
        replies_to(engine_, "position " + position);
        const std::string before = current();
        EXPECT_EQ(replies_to(engine_, "position " + position + " moves " + move + " a2a3 h7h6"),
                  Lines{"info string illegal move " + move});
        EXPECT_EQ(current(), before) << move;
    }
    EXPECT_EQ(replies_to(engine_, "position startpos moves g1f3 g8f6 g8f6 f3g1"),
              Lines{"info string illegal move g8f6"});
    EXPECT_EQ(current(), "rnbqkb1r/pppppppp/5n2/8/8/5N2/PPPPPPPP/RNBQKB1R w KQkq -, 2");
}

TEST_F(PositionCommand, TakesLongGames) {
    EXPECT_EQ(replies_to(engine_, "position startpos moves" + knight_dance(6000) + " e2e4"), Lines{});
    EXPECT_EQ(current(), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3, 6001");
    EXPECT_NE(search(engine_, "go movetime 50").best, "null");

    // Too long ones change nothing.
    engine_.send("position startpos moves d2d4");
    for (const int plies : {8201, 100'000}) {
        const Lines replies = replies_to(engine_, "position startpos moves" + knight_dance(plies));
        ASSERT_EQ(replies.size(), 1U);
        EXPECT_TRUE(replies[0].starts_with("info string ")) << replies[0];
        EXPECT_EQ(current(), "rnbqkbnr/pppppppp/8/8/3P4/8/PPP1PPPP/RNBQKBNR b KQkq d3, 1");
    }
    // Cut at the limit of a line: some reply or none, but no harm.
    replies_to(engine_, "position startpos moves" + knight_dance(400'000));
    EXPECT_EQ(replies_to(engine_, "position startpos"), Lines{});
    EXPECT_NE(search(engine_, "go depth 3").best, "null");
}

// More than 100 plies without capture or pawn move are a draw that is not searched; 100 still are.
TEST_F(PositionCommand, FiftyMoveDrawsAreNotSearched) {
    engine_.send("position startpos moves" + knight_dance(100));
    EXPECT_NE(search(engine_, "go depth 2").best, "null");
    engine_.send("position startpos moves" + knight_dance(101));
    EXPECT_EQ(search(engine_, "go depth 2").best, "null");
    engine_.send("position startpos moves" + knight_dance(101) + " e7e5");
    EXPECT_NE(search(engine_, "go depth 2").best, "null");
}

TEST_F(PositionCommand, TextsThatAreNoPositionAreNotSearched) {
    const std::string queens = "QQQQQQQQ/";
    const std::string CASES[] = {
        "",
        "4k3/" + queens + queens + queens + "QQQQQQ2/8/8/4K3 w - -",
        "PPPPkPPP/8/8/8/8/8/8/ppppKppp b - -",      // pawns where none can stand
        "4k3/8/8/8/8/8/8/4RK2 w - -",               // the side that moved is in check
        "4k3/pppppppp/pppppppp/8/8/8/8/4K3 b - -",  // seventeen pieces
        "99999999999999999999/0000/1234567890",
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP w KQkq -",  // a rank missing
        "\xff\xfe\x80 \x01\x02 \xff \xff",
        std::string(10'000, 'Q'),
        std::string(10'000, ' '),
        std::string(10'000, '/') + std::string(10'000, 'k'),
        std::string(500'000, 'k') + " w " + std::string(300'000, 'K'),
    };
    for (const std::string &fen : CASES) {
        SCOPED_TRACE(fen.substr(0, 80));
        replies_to(engine_, "position fen " + fen);
        const SearchReport report = search(engine_, "go infinite");
        EXPECT_EQ(report.best, "null");
        EXPECT_EQ(report.strings.size(), 1U) << joined(report.lines);
        // Moves find nothing to hold on to either.
        replies_to(engine_, "position fen " + fen + " moves a2a3 e1e2 e8e7");
    }
    engine_.send("position startpos");
    EXPECT_NE(search(engine_, "go depth 5").best, "null");
}

// Odd, but each side has its king and nobody is left in check: these are searched, and their moves can be played.
TEST_F(PositionCommand, OddPositionsAreSearched) {
    const char *const CASES[] = {
        "4k3/8/8/8/8/8/8/4K3 x - -",                          // no side: the one before
        "qqqqkqqq/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQKQQQ w - -",  // as full of captures as can be
        "4k3/8/8/8/8/8/8/4K3 w KQkq e3",                      // rights and a square without their pieces
        "4k3/8/8/8/8/8/8/4K3 w - a1",
        "4k3/8/8/3P4/8/8/8/4K3 w - e6",       // en passant with nothing to take,
        "4k3/8/8/3Pr3/8/8/8/4K3 w - e6",      // with a rook where the pawn should be,
        "4k3/8/4n3/3Pp3/8/8/8/4K3 w - e6",    // onto a knight,
        "4k3/8/8/8/3pP3/8/8/4K3 b - d3",      // behind the own pawn,
        "4k3/8/8/8/8/8/4P3/4K3 w - e3",       // and on a square that is only passed
        "4k3/8/8/8/8/8/8/4K3/8/8/8/8 w - -",  // too many ranks
        "4k3/8/8/8/8/8/8/4K3 w - - 999999999999 -5 ; more",
    };
    for (const char *fen : CASES) {
        SCOPED_TRACE(fen);
        const std::string command = "position fen " + std::string(fen);
        engine_.send(command);
        // The clock decides nothing before the second iteration, which a wall of queens takes long to reach.
        const bool crowded = std::string_view(fen).starts_with("qqqq");
        const SearchReport report = search(engine_, crowded ? "go infinite\nstop" : "go movetime 60");
        ASSERT_NE(report.best, "null");
        const Lines replies = replies_to(engine_, command + " moves " + report.best);
        EXPECT_EQ(joined(replies).find("illegal move"), std::string::npos) << joined(replies);
    }
}

}  // namespace
