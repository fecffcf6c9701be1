// Terms whose weights are changed, for both colours: with their defaults the reference rows cover them. The expected
// values are worked out beside each position.
//
// A pair (a, b) is an opening and an endgame half; at stage s it shows as (a x (24 - s) + b x s) / 24, toward zero.
#include "engine_fixture.h"

#include <string>

#include "eval/display.h"
#include "eval/eval.h"

namespace {

using Change = void (*)();  // of the settings

class EvalTermsTest : public EngineTest {
protected:
    // The position with the given settings; fills result and display.
    int look(const std::string &fen, Change change = nullptr) {
        settings = Settings{};
        settings.Hash = 4;
        if (change != nullptr) change();
        derive_eval_tables();
        Position &pos = game->position;
        set_fen(pos, fen);
        result = {};
        display = {};
        testing::internal::CaptureStdout();  // the display prints boards
        const int score = evaluate(pos, game->eval, pos.side, 2, false, result, &display);
        testing::internal::GetCapturedStdout();
        return score;
    }
    int total(DisplayTerm term, Colour c) const {
        return display.totals[static_cast<std::size_t>(term)][static_cast<std::size_t>(c)];
    }
    EvalResult result{};
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
        {"6k1/7p/8/4N3/8/8/P7/6K1 w - -", KNIGHTS, 45, [] { settings.knight_outpost.op = 240; }},
        // the pawn d7 takes c6 and e6 away: 6 squares (17, 21); b5 and f5 remain as outposts, half of 240: (8 + 17 + 120, 10 + 21) = (145, 31): 858 / 24
        {"6k1/3p4/8/8/3N4/8/P7/6K1 w - -", KNIGHTS, 35, [] { settings.knight_outpost.op = 240; }},
        // d5: (2, 2), c6, b7, a8, e6, f7, g8, c4, b3, a2 is a pawn, e4, f3, g2, h1: 12, c6, e6, c4, e4, f3: 17 (36, 43);
        // outpost 240: (278, 45): 1313 / 24
        {"6k1/7p/8/3B4/8/8/P7/6K1 w - -", BISHOPS, 54, [] { settings.bishop_outpost.op = 240; }},
        // shield 4 x 90 x 4 / 16 - 64 = 26: (8 + 26 - 6) / 2 = 14: -777 / 24
        {"nn2k3/n7/8/8/8/8/5PPP/6K1 w - -", KINGS, -32, [] { settings.pawn_shield.op = 90; }},
        // storm 3 x -30: (8 - 106) / 2 = -49: -966 / 24
        {"kn6/nn6/8/8/8/8/5PPP/6K1 w - -", KINGS, -40, [] { settings.pawn_storm.op = -30; }},
        // safe checks cost 80 each, not 8: (-594, -59): -3556 / 24
        {"4k3/8/8/8/8/5q1p/P7/6K1 w - -", KINGS, -148, [] { settings.safe_check.op = -80; }},
        // 100 x 136 / 256 = 53
        {"7k/3p4/8/4PP2/8/8/8/K7 w - -", PASSERS, 119, [] { settings.pawn_candidate.en = 100; }},
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
