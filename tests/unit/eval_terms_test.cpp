// Terms whose weights are changed, for both colours: with their defaults the reference rows cover them. The expected
// values are worked out beside each position. Then the endings: material draws and odd cases of the recognisers.
//
// A pair (a, b) is an opening and an endgame half; at stage s it shows as (a x (24 - s) + b x s) / 24, toward zero.
#include "engine_fixture.h"

#include "eval/kpk.h"

namespace {

using Change = void (*)(EvalWeights &);

class EvalTermsTest : public EngineTest {
protected:
    // The position with the given weights; fills eval and display.
    int look(const std::string &fen, Change change = nullptr) {
        engine.settings.weights = {};
        if (change != nullptr) change(engine.settings.weights);
        derive_tables(engine);
        set_fen(pos, fen);
        eval = {};
        display = {};
        return evaluate(pos, thread().eval, 2, false, eval, &display);
    }
    int total(DisplayTerm term, Colour c) const { return display.totals[static_cast<std::size_t>(term)][c]; }
    EvalResult eval{};
    EvalDisplay display;
};

Bitboard squares(const std::string &names) {
    Bitboard set = 0;
    for (std::size_t i = 0; i + 1 < names.size(); i += 2)
        set |= Bitboard{1} << (names[i] - 'a' + 8 * (names[i + 1] - '1'));
    return set;
}

}  // namespace

TEST_F(EvalTermsTest, Totals) {
    using enum DisplayTerm;
    const struct {
        const char *fen;
        DisplayTerm term;
        int value;  // white's total
        Change change = nullptr;
    } cases[] = {
        // undefended: 8 squares (24, 30) less g6: (21, 26); outpost 240 only: (269, 36): 1097 / 24
        {"6k1/7p/8/4N3/8/8/P7/6K1 w - -", KNIGHTS, 45, [](EvalWeights &w) { w.knight_outpost.op = 240; }},
        // the pawn d7 takes c6 and e6 away: 6 squares (17, 21); b5 and f5 remain as outposts,
        // half of 240: (8 + 17 + 120, 10 + 21) = (145, 31): 858 / 24
        {"6k1/3p4/8/8/3N4/8/P7/6K1 w - -", KNIGHTS, 35, [](EvalWeights &w) { w.knight_outpost.op = 240; }},
        // d5: (2, 2), c6, b7, a8, e6, f7, g8, c4, b3, a2 is a pawn, e4, f3, g2, h1: 12, c6, e6, c4, e4, f3: 17 (36, 43);
        // outpost 240: (278, 45): 1313 / 24
        {"6k1/7p/8/3B4/8/8/P7/6K1 w - -", BISHOPS, 54, [](EvalWeights &w) { w.bishop_outpost.op = 240; }},
        // shield 4 x 90 x 4 / 16 - 64 = 26: (8 + 26 - 6) / 2 = 14: -777 / 24
        {"nn2k3/n7/8/8/8/8/5PPP/6K1 w - -", KINGS, -32, [](EvalWeights &w) { w.pawn_shield.op = 90; }},
        // storm 3 x -30: (8 - 106) / 2 = -49: -966 / 24
        {"kn6/nn6/8/8/8/8/5PPP/6K1 w - -", KINGS, -40, [](EvalWeights &w) { w.pawn_storm.op = -30; }},
        // safe checks cost 80 each, not 8: (-594, -59): -3556 / 24
        {"4k3/8/8/8/8/5q1p/P7/6K1 w - -", KINGS, -148, [](EvalWeights &w) { w.safe_check.op = -80; }},
        // 100 x 136 / 256 = 53
        {"7k/3p4/8/4PP2/8/8/8/K7 w - -", PASSERS, 119, [](EvalWeights &w) { w.pawn_candidate.en = 100; }},
    };
    for (const auto &c : cases) {
        const std::string fen = c.fen;
        look(fen, c.change);
        EXPECT_EQ(total(c.term, WHITE), c.value) << fen;
        look(mirrored(fen), c.change);
        EXPECT_EQ(total(c.term, BLACK), c.value) << mirrored(fen);
    }
}

TEST_F(EvalTermsTest, SquareValues) {
    look("6k1/7p/8/8/3N4/8/P7/6K1 w - -");
    // (-26, -16) at 23, passed a2 with its target a4: 9, free 73 / 8 = 9, no square rule needed (7 - 1 = 6 < 6 fails): 18;
    // a5: (24 x 6 - 16 x 6) x 3 / 8 = 18: (11 x 18 / 16 = 12, 36): 840 / 24 = 35; -394 / 24 = -16
    EXPECT_EQ(display.squares[8], 35 - 16);
    EXPECT_EQ(display.squares[27], 40);  // the knight, as above
    EXPECT_EQ(display.squares[20], 0);   // nothing stands there
    EXPECT_EQ(display.free_passers, squares("a2"));
    EXPECT_EQ(display.pinned, 0U);
    look("6r1/k6p/8/8/6N1/8/P7/6K1 w - -");
    EXPECT_EQ(display.pinned, squares("g4"));
    look("7k/7p/8/8/P2r3P/8/8/1K6 w - -");
    EXPECT_EQ(display.threatened, squares("a4h4"));
}

TEST_F(EvalTermsTest, MaterialDraws) {
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
        const int value = look(c.fen);
        EXPECT_EQ(eval.flags, c.draw ? RECOGNISED_DRAW : 0) << c.fen;
        if (c.draw) {
            EXPECT_EQ(value, 0) << c.fen;
        }
    }
}

// The comparison with the endgame tables covers the single positions.
TEST_F(EvalTermsTest, PawnEndingsAreSymmetricAndCounted) {
    int won[2] = {};
    int differences = 0;
    for (Square pawn = A2; pawn <= H7; ++pawn) {
        if (pawn % 8 > 3) continue;
        for (const Square strong : ALL_SQUARES)
            for (const Square weak : ALL_SQUARES)
                for (const Colour side : {WHITE, BLACK}) {
                    const bool wins = kpk_is_won(WHITE, pawn, strong, weak, side);
                    won[side] += wins;
                    // The other wing, and the other colour
                    differences += wins != kpk_is_won(WHITE, pawn ^ 7, strong ^ 7, weak ^ 7, side);
                    differences += wins != kpk_is_won(BLACK, pawn ^ 56, strong ^ 56, weak ^ 56, opponent(side));
                }
    }
    EXPECT_EQ(differences, 0);
    // The published counts over all 48 pawn squares, 124960 and 97604, halved.
    EXPECT_EQ(won[WHITE], 62480);
    EXPECT_EQ(won[BLACK], 48802);
}

TEST_F(EvalTermsTest, BareKing) {
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
        EXPECT_EQ(look(c.fen), c.score) << c.fen;
        EXPECT_EQ(eval.flags, 0) << c.fen;
        EXPECT_EQ(eval.threat_level[WHITE], 0) << c.fen;
        EXPECT_EQ(eval.threat_level[BLACK], 0) << c.fen;
    }
}
