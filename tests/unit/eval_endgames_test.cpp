// Endings: material draws and odd cases of the recognisers; the reference rows cover the rest.
#include "engine_fixture.h"

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

// The comparison with the endgame tables covers the single positions.
TEST_F(EndgamesTest, PawnEndingsAreSymmetricAndCounted) {
    int won[2] = {};
    int differences = 0;
    for (Square pawn = 8; pawn < 56; ++pawn) {
        if (pawn % 8 > 3) continue;
        for (Square strong = 0; strong < 64; ++strong)
            for (Square weak = 0; weak < 64; ++weak)
                for (const Colour side : {WHITE, BLACK}) {
                    const bool wins = kpk_is_won(WHITE, pawn, strong, weak, side);
                    won[side] += wins;
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
        // Rook or queen: 100 x pieces + 200 + 2 x (edge - 8 x distance)
        {"8/8/8/3k4/8/8/P7/K5R1 w - -", 636},  // 500 + 200 + 2 x (0 - 32), the pawn is ignored
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
