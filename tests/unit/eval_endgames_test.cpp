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

Square square(const char *name) { return static_cast<Square>(name[0] - 'a' + 8 * (name[1] - '1')); }

}  // namespace

TEST_F(EndgamesTest, MaterialDraws) {
    const struct {
        const char *fen;
        bool draw;
    } cases[] = {
        {"4k3/8/8/8/8/8/8/4K3 w - -", true},         // kings only
        {"4k3/8/8/8/8/8/8/2B1K3 w - -", true},       // a bishop
        {"4k3/8/8/8/8/8/8/1N2K3 b - -", true},       // a knight
        {"4k3/8/8/8/8/8/8/1NN1K3 w - -", true},      // two knights
        {"2n1k3/8/8/8/8/8/8/2B1K3 b - -", true},     // bishop against knight
        {"1nn1k3/8/8/8/8/8/8/2B1K3 w - -", true},    // bishop against two knights
        {"2b1k3/8/8/8/8/8/8/2B1K3 w - -", true},     // bishops
        {"1nn1k3/8/8/8/8/8/8/1NN1K3 w - -", true},   // two knights each
        {"4k3/8/8/8/8/8/8/1BN1K3 w - -", false},     // bishop and knight mate
        {"4k3/8/8/8/8/8/8/1BB1K3 w - -", false},     // two bishops mate
        {"4k3/8/8/8/8/8/8/NNN1K3 w - -", false},     // three knights mate
        {"4k3/8/8/8/8/8/8/R3K3 w - -", false},       // a rook mates
        {"1nn1k3/7p/8/8/8/8/8/2B1K3 w - -", false},  // a pawn can win
        {"4k3/8/8/8/8/8/P7/2B1K3 w - -", false},
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

TEST_F(EndgamesTest, KnownPawnEndings) {
    const struct {
        const char *pawn, *strong, *weak;
        bool pawn_side_wins, other_side_loses;  // pawn's side to move; the lone king to move
    } cases[] = {
        {"e5", "e6", "e8", true, true},    // king on the sixth rank before its pawn
        {"e4", "e5", "e7", false, true},   // whoever must move gives up the opposition
        {"e4", "e5", "e8", true, false},   // whoever moves takes it
        {"e4", "d6", "e8", true, true},    // on a key square
        {"e7", "e6", "e8", true, false},   // Kd6 Kf7 Kd7 wins, but the lone king to move is stalemated
        {"a2", "a1", "a8", false, false},  // a rook pawn before a king in its corner
        {"a6", "b6", "a8", false, false},  // the same, with the king's help
        {"a5", "b7", "e6", true, true},    // king on the rook pawn's key square
        {"a2", "h1", "b3", false, false},  // the pawn is lost
        {"a5", "h1", "e5", true, false},   // just outside the square, and just inside
    };
    for (const auto &c : cases) {
        EXPECT_EQ(kpk_is_won(WHITE, square(c.pawn), square(c.strong), square(c.weak), WHITE), c.pawn_side_wins)
            << c.pawn << c.strong << c.weak;
        EXPECT_EQ(kpk_is_won(WHITE, square(c.pawn), square(c.strong), square(c.weak), BLACK), c.other_side_loses)
            << c.pawn << c.strong << c.weak;
    }
}

TEST_F(EndgamesTest, BareKing) {
    const struct {
        const char *fen;
        int score;
    } cases[] = {
        // Pawn: distance of the weak king to the promotion square + 4 x rank - the strong king's, + 800 when won
        {"4k3/8/4K3/4P3/8/8/8/8 w - -", 814},   // 0 + 16 - 2 + 800
        {"4k3/8/4K3/4P3/8/8/8/8 b - -", -814},  // the same, lone king to move
        {"8/8/8/8/4p3/4k3/8/4K3 b - -", 814},   // the first with the colours exchanged: 0 + 16 - 2 + 800
        {"4k3/8/8/4K3/4P3/8/8/8 w - -", 809},   // 0 + 12 - 3 + 800
        {"4k3/8/8/4K3/4P3/8/8/8 b - -", -9},    // 0 + 12 - 3, drawn
        {"k7/8/8/8/8/8/P7/K7 w - -", -3},       // 0 + 4 - 7, drawn
        {"8/8/8/8/8/1k6/P7/7K b - -", -2},      // 5 + 4 - 7, the pawn falls
        // Bishop and knight: 8 x corner + 10 x centrality - 6 x distance + 740
        {"7k/8/8/8/3K4/8/8/1NB5 w - -", 792},    // dark bishop, h8: 56 + 20 - 24 + 740
        {"k7/8/8/8/3K4/8/8/1NB5 w - -", 736},    // dark bishop, a8: 0 + 20 - 24 + 740
        {"k7/8/8/8/3K4/8/8/1N3B2 w - -", 792},   // light bishop, a8 counts as h8
        {"7k/8/8/8/3K4/8/8/1N3B2 b - -", -736},  // light bishop, h8 counts as a8
        // light bishop, g1 counts as b1: |1 + 0 - 7| = 6; king on the second ring: 48 + 10 - 30 + 740
        {"8/8/8/8/8/2nb4/1k6/6K1 w - -", -768},
        {"8/8/8/8/8/2nb4/8/k5K1 w - -", -752},  // king on the edge, distance 6: 48 + 0 - 36 + 740
        // Rook or queen: 100 x pieces + 200 + 2 x (edge - 8 x distance)
        {"k7/8/K7/8/8/8/8/7R w - -", 788},  // 500 + 200 + 2 x (60 - 16)
        {"k7/8/K7/8/8/8/8/7R b - -", -788},
        {"8/8/8/3k4/8/8/8/K5Q1 b - -", -1136},  // 1000 + 200 + 2 x (0 - 8 x 4)
        {"8/8/8/8/2k5/8/8/K5Q1 b - -", -1172},  // c4: 1000 + 200 + 2 x (10 - 8 x 3)
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
        {"8/8/4k3/8/8/p7/8/1NN1K3 w - -", 16},    // only two knights
        {"8/8/4k3/8/8/p7/7P/1NN1K3 w - -", 256},  // and a pawn
        {"4k3/7p/8/8/8/8/8/R3K3 w - -", 256},
        {"q3k3/7r/8/8/8/8/R7/4K3 w - -", 256},  // S is black
        // Pawns of one rook file (or none), at most a wrong bishop, and W's king in the corner
        {"k7/7p/8/8/P7/P7/P7/1K6 w - -", 16},
        {"2k5/7p/8/8/P7/P7/P7/1K6 w - -", 256},    // two files from the corner: pawn ending, even
        {"k7/7p/8/8/8/P7/P7/1KB5 w - -", 16},      // a8 is light, c1 dark
        {"k7/7p/8/8/8/P7/P7/1K3B2 w - -", 256},    // the right bishop; no piece of W
        {"8/k6p/8/8/8/P7/PP6/1KB5 w - -", 256},    // a second file; no piece of W
        {"6k1/p7/8/8/8/7P/7P/1KB3B1 w - -", 256},  // two pieces ahead comes first
        {"6k1/p7/8/8/8/7P/7P/1K3B2 w - -", 16},    // h8 is dark, f1 light
        {"6k1/p7/8/8/8/7P/7P/1KB5 w - -", 256},    // the right bishop
        {"4k3/8/8/2b5/8/7p/P7/7K w - -", 16},      // S is black: h1 is light, c5 dark
        {"4k3/8/8/3b4/8/7p/P7/6K1 w - -", 256},    // d5 is light
        {"k7/7p/8/8/8/8/8/2B1K3 w - -", 16},       // S without pawns: the corner is a8
        // S without pawns: 16 for each piece, at most 128
        {"8/8/4k2p/8/8/8/8/2B1K3 w - -", 16},
        {"4k2n/8/8/8/8/8/8/R3K3 w - -", 32},
        {"r2bk3/8/8/8/8/8/8/R3K2R w - -", 64},       // 4 against 3
        {"r2qk3/p7/8/8/8/8/8/R2QKB2 w - -", 112},    // 7 against 6
        {"rr2k2q/p7/8/8/8/8/8/RR1QKB2 w - -", 128},  // 9 against 8: 144 cut to 128
        // Many pieces, or W without any
        {"r2bk3/8/8/8/8/8/4P3/R3K2R w - -", 256},    // 4 against 3
        {"4k3/4n3/8/8/8/8/4P3/R3K3 w - -", 206},     // one pawn
        {"4k3/4n3/8/8/8/8/3PP3/R3K3 w - -", 226},    // two pawns
        {"4k3/4n3/8/8/8/8/2PPP3/R3K3 w - -", 246},   // three pawns
        {"4k3/4n3/8/8/8/8/1PPPP3/R3K3 w - -", 256},  // four pawns
        // One pawn, W not behind in pieces
        {"8/2k5/8/6K1/7P/8/2r5/1R6 w - -", 166},      // 206 - 40
        {"6k1/8/8/6K1/7P/8/2r5/1R6 w - -", 116},      // 206 - 40 - 50: the king attacks h7 and h8
        {"8/2K5/8/3Pk3/8/8/6r1/R7 w - -", 166},       // the king attacks only d6, which S's king covers
        {"8/2k5/8/6K1/7P/b7/8/B7 w - -", 126},        // 206 - 80; bishops of one colour
        {"5b2/2k5/8/6K1/7P/8/8/B7 w - -", 76},        // 206 - 80 - 50: the bishop attacks h6
        {"5bk1/8/8/6K1/7P/8/8/B7 w - -", 64},         // 206 - 80 - 50 - 50 = 26, at least 64
        {"8/2KP4/8/8/8/8/8/n6k w - -", 126},          // 206 - 80, knight against none
        {"q6k/8/8/3P4/8/2N1B3/4B3/6K1 w - -", 166},   // three pieces against a queen, 4: 206 - 40
        {"q2k4/8/8/3P4/8/2N1B3/4B3/6K1 w - -", 116},  // 166 - 50: the king attacks d7
        // Bishops of different colours: at most 256 - c
        {"2b1k3/5pp1/8/8/8/8/4PPP1/2B1K3 w - -", 128},     // c = 128; three pawns, 246
        {"5bk1/5pp1/8/8/8/8/4PPP1/2B1K3 w - -", 246},      // one colour
        {"r1b1k3/5pp1/8/8/8/8/4PPP1/2B1K2R w - -", 192},   // W has a rook: c = 64
        {"1nb1k3/5pp1/8/8/8/8/4PPP1/2B1K1N1 w - -", 160},  // W has a knight: c = 96
        {"2b1k3/6p1/8/8/8/8/5PPP/2B1K3 w - -", 192},       // two pawns ahead: c = 64
        {"2b1k3/6p1/8/8/8/8/PP4P1/2B1K3 w - -", 224},      // and two passed pawns: c = 32
        {"2b1k3/5ppp/8/8/8/8/PP3PP1/2B1K3 w - -", 192},    // four against three, two passed: c = 64
        {"2b1k3/6p1/8/8/8/8/4PPPP/2B1K3 w - -", 256},      // three pawns ahead: no cut
        {"2b1k3/4ppp1/8/8/8/8/5PP1/2B1K3 b - -", 128},     // S is black
        {"4k3/6p1/8/8/8/8/5PP1/4K3 w - -", 256},           // no pieces: nothing to cut
    };
    for (const auto &c : cases) {
        score(c.fen);
        EXPECT_EQ(display.draw_scale * 256, c.scale) << c.fen;
    }
}
