// Endings: material draws, the recognisers of a bare king, and the draw scale.
#include "engine_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "eval/display.h"
#include "eval/eval.h"
#include "eval/kpk.h"

namespace {

class EndgamesTest : public EngineTest {
protected:
    int score(const char *fen) {
        Position &pos = game->position;
        EXPECT_EQ(set_fen(pos, fen), 0) << fen;
        EXPECT_FALSE(square_attacked(pos, pos.king_square[1 - pos.side], pos.side)) << fen;
        result = {};
        display = {};
        testing::internal::CaptureStdout();  // the display prints boards
        const int value = evaluate(pos, game->eval, pos.side, 2, false, result, &display);
        testing::internal::GetCapturedStdout();
        return value;
    }
    EvalResult result{};
    EvalDisplay display;
};

// A solver of its own for a white pawn on files a to d: the set of won positions grows until nothing changes. Plain
// coordinates instead of the engine's tables.
class PawnEndingSolver {
public:
    PawnEndingSolver() : won_(2 * 64 * 64 * 64) {
        for (bool grown = true; grown;) {
            grown = false;
            for (int pawn = 8; pawn < 56; ++pawn) {
                if (pawn % 8 > 3) continue;
                for (int strong = 0; strong < 64; ++strong)
                    for (int weak = 0; weak < 64; ++weak)
                        for (const int side : {0, 1})
                            if (!is_won(side, pawn, strong, weak) && legal(side, pawn, strong, weak) &&
                                (side == 0 ? strong_wins(pawn, strong, weak) : weak_loses(pawn, strong, weak))) {
                                won_[index(side, pawn, strong, weak)] = true;
                                grown = true;
                            }
            }
        }
    }
    bool is_won(int side, int pawn, int strong, int weak) const { return won_[index(side, pawn, strong, weak)]; }

private:
    static std::size_t index(int side, int pawn, int strong, int weak) {
        return static_cast<std::size_t>(((side * 64 + pawn) * 64 + strong) * 64 + weak);
    }
    static int gap(int a, int b) { return std::max(std::abs(a % 8 - b % 8), std::abs(a / 8 - b / 8)); }
    static bool gives_check(int pawn, int square) {
        return square / 8 == pawn / 8 + 1 && std::abs(square % 8 - pawn % 8) == 1;
    }
    static bool legal(int side, int pawn, int strong, int weak) {
        return pawn != strong && pawn != weak && gap(strong, weak) > 1 && !(side == 0 && gives_check(pawn, weak));
    }
    bool strong_wins(int pawn, int strong, int weak) const {
        for (int to = 0; to < 64; ++to)
            if (gap(strong, to) == 1 && to != pawn && gap(to, weak) > 1 && is_won(1, pawn, to, weak)) return true;
        const int step = pawn + 8;
        if (step == strong || step == weak) return false;
        if (step >= 56) return gap(weak, step) > 1 || gap(strong, step) == 1;  // the queen stays on the board
        if (is_won(1, step, strong, weak)) return true;
        return pawn < 16 && step + 8 != strong && step + 8 != weak && is_won(1, step + 8, strong, weak);
    }
    bool weak_loses(int pawn, int strong, int weak) const {
        bool has_move = false;
        for (int to = 0; to < 64; ++to) {
            if (gap(weak, to) != 1 || gap(strong, to) <= 1 || gives_check(pawn, to)) continue;
            if (to == pawn || !is_won(0, pawn, strong, to)) return false;
            has_move = true;
        }
        return has_move;  // otherwise stalemate
    }

    std::vector<bool> won_;
};

}  // namespace

TEST_F(EndgamesTest, MaterialDraws) {
    const struct {
        const char *fen;
        bool draw;
    } cases[] = {
        {"4k3/8/8/8/8/8/8/2B1K3 w - -", true},       // a bishop
        {"4k3/8/8/8/8/8/8/1NN1K3 w - -", true},      // two knights
        {"1nn1k3/8/8/8/8/8/8/2B1K3 w - -", true},    // bishop against two knights
        {"1nn1k3/8/8/8/8/8/8/1NN1K3 w - -", true},   // two knights each
        {"4k3/8/8/8/8/8/8/1BN1K3 w - -", false},     // bishop and knight mate
        {"4k3/8/8/8/8/8/8/NNN1K3 w - -", false},     // three knights mate
        {"1nn1k3/7p/8/8/8/8/8/2B1K3 w - -", false},  // a pawn can win
    };
    for (const auto &c : cases) {
        const int value = score(c.fen);
        EXPECT_EQ(result.flags, c.draw ? RECOGNISED_DRAW : 0) << c.fen;
        if (c.draw) {
            EXPECT_EQ(value, 0) << c.fen;
        }
    }
}

TEST_F(EndgamesTest, PawnEndingsAgreeWithASolver) {
    const PawnEndingSolver solver;
    int won[2] = {};
    int differences = 0;
    for (Square pawn = 8; pawn < 56; ++pawn) {
        if (pawn % 8 > 3) continue;
        for (Square strong = 0; strong < 64; ++strong)
            for (Square weak = 0; weak < 64; ++weak)
                for (const Colour side : {WHITE, BLACK}) {
                    const bool wins = kpk_is_won(WHITE, pawn, strong, weak, side);
                    won[side] += wins;
                    differences += wins != solver.is_won(side, pawn, strong, weak);
                    // The other wing, and the other colour
                    differences += wins != kpk_is_won(WHITE, pawn ^ 7, strong ^ 7, weak ^ 7, side);
                    differences += wins != kpk_is_won(BLACK, pawn ^ 56, strong ^ 56, weak ^ 56, 1 - side);
                }
    }
    EXPECT_EQ(differences, 0);
    // The published counts over all 48 pawn squares, 124960 and 97604, halved.
    EXPECT_EQ(won[WHITE], 62480);
    EXPECT_EQ(won[BLACK], 48802);
}

TEST_F(EndgamesTest, BareKing) {
    const struct {
        const char *fen;
        int score;
    } cases[] = {
        // Pawn: distance of the weak king to the promotion square + 4 x rank - the strong king's, + 800 when won
        {"4k3/8/4K3/4P3/8/8/8/8 w - -", 814},  // 0 + 16 - 2 + 800
        {"8/8/8/8/4p3/4k3/8/4K3 b - -", 814},  // the first with the colours exchanged: 0 + 16 - 2 + 800
        {"4k3/8/8/4K3/4P3/8/8/8 b - -", -9},   // 0 + 12 - 3, drawn
        {"8/8/8/8/8/1k6/P7/7K b - -", -2},     // 5 + 4 - 7, the pawn falls
        // Bishop and knight: 8 x corner + 10 x centrality - 6 x distance + 740
        {"7k/8/8/8/3K4/8/8/1NB5 w - -", 792},    // dark bishop, h8: 56 + 20 - 24 + 740
        {"k7/8/8/8/3K4/8/8/1NB5 w - -", 736},    // dark bishop, a8: 0 + 20 - 24 + 740
        {"7k/8/8/8/3K4/8/8/1N3B2 b - -", -736},  // light bishop, h8 counts as a8
        // light bishop, g1 counts as b1: |1 + 0 - 7| = 6; king on the second ring: 48 + 10 - 30 + 740
        {"8/8/8/8/8/2nb4/1k6/6K1 w - -", -768},
        // Rook or queen: 100 x pieces + 200 + 2 x (edge - 8 x distance)
        {"k7/8/K7/8/8/8/8/7R w - -", 788},      // 500 + 200 + 2 x (60 - 16)
        {"8/8/8/3k4/8/8/8/K5Q1 b - -", -1136},  // 1000 + 200 + 2 x (0 - 8 x 4)
        {"8/8/8/3k4/8/8/P7/K5R1 w - -", 636},   // 500 + 200 + 2 x (0 - 32), the pawn is ignored
        // 1800 + 200 + 2 x (30 - 8 x 2): rook 5, queen 10, knight 3; e1 is 0 files and 3 ranks from the centre
        {"r2q2n1/8/8/8/8/6k1/8/4K3 b - -", 2028},
        // 9 queens and 2 rooks: 10000 + 200 + 2 x (30 - 56) = 10148, cut to the highest score
        {"K7/8/8/7k/8/QQQ5/QQQ5/QQQRR3 b - -", -9598},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(score(c.fen), c.score) << c.fen;
        EXPECT_EQ(result.flags, 0) << c.fen;
        EXPECT_EQ(result.threat_level[WHITE], 0) << c.fen;
        EXPECT_EQ(result.threat_level[BLACK], 0) << c.fen;
    }
}

// The stronger side is S, its opponent W.
TEST_F(EndgamesTest, DrawScale) {
    const struct {
        const char *fen;
        int scale;
    } cases[] = {
        // S is two pieces ahead
        {"8/8/4k3/8/8/p7/8/1NN1K3 w - -", 16},  // only two knights
        // Pawns of one rook file (or none), at most a wrong bishop, and W's king in the corner
        {"k7/7p/8/8/P7/P7/P7/1K6 w - -", 16},
        {"k7/7p/8/8/8/P7/P7/1KB5 w - -", 16},      // a8 is light, c1 dark
        {"6k1/p7/8/8/8/7P/7P/1KB3B1 w - -", 256},  // two pieces ahead comes first
        {"4k3/8/8/2b5/8/7p/P7/7K w - -", 16},      // S is black: h1 is light, c5 dark
        {"k7/7p/8/8/8/8/8/2B1K3 w - -", 16},       // S without pawns: the corner is a8
        // S without pawns: 16 for each piece, at most 128
        {"rr2k2q/p7/8/8/8/8/8/RR1QKB2 w - -", 128},  // 9 against 8: 144 cut to 128
        // Many pieces, or W without any
        {"r2bk3/8/8/8/8/8/4P3/R3K2R w - -", 256},  // 4 against 3
        {"4k3/4n3/8/8/8/8/4P3/R3K3 w - -", 206},   // one pawn
        // One pawn, W not behind in pieces
        {"8/2k5/8/6K1/7P/8/2r5/1R6 w - -", 166},     // 206 - 40
        {"5bk1/8/8/6K1/7P/8/8/B7 w - -", 64},        // 206 - 80 - 50 - 50 = 26, at least 64
        {"q6k/8/8/3P4/8/2N1B3/4B3/6K1 w - -", 166},  // three pieces against a queen, 4: 206 - 40
        // Bishops of different colours: at most 256 - c
        {"2b1k3/5pp1/8/8/8/8/4PPP1/2B1K3 w - -", 128},  // c = 128; three pawns, 246
        {"2b1k3/6p1/8/8/8/8/5PPP/2B1K3 w - -", 192},    // two pawns ahead: c = 64
        {"2b1k3/6p1/8/8/8/8/4PPPP/2B1K3 w - -", 256},   // three pawns ahead: no cut
    };
    for (const auto &c : cases) {
        score(c.fen);
        EXPECT_EQ(display.draw_scale * 256, c.scale) << c.fen;
    }
}
