// Every evaluation term in small positions, for both colours. The expected values are worked out beside each position.
//
// A pair (a, b) is an opening and an endgame half; at stage s it shows as (a x (24 - s) + b x s) / 24, toward zero.
#include "engine_fixture.h"

#include <cctype>
#include <string>

#include "eval/display.h"
#include "eval/eval.h"

namespace {

using Change = void (*)();  // of the settings

class EvalTermsTest : public EngineTest {
protected:
    void TearDown() override { EngineTest::TearDown(); }
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
    int positional(Colour c) const { return display.positional[static_cast<std::size_t>(c)]; }
    // What the totals of pawns, pieces and passers leave of the positional value: blocked pawns, threats and the tempo.
    int rest(Colour c) const {
        int sum = positional(c);
        for (std::size_t term = 0; term < DISPLAY_TERMS; ++term) sum -= total(static_cast<DisplayTerm>(term), c);
        return sum;
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

// Ranks 7 to 2; kings alone show the endgame half (stage 24), three queens each the opening half (stage 0).
TEST_F(EvalTermsTest, PawnStructure) {
    const Change half_and_double = [] { settings.Pawn_Structure = {50, 200}; };
    const Change none = [] { settings.Pawn_Structure = {0, 0}; };
    const Change doubled = [] { settings.pawn_doubled = {-21, -9}; };
    const struct {
        const char *ranks;
        int opening, endgame;  // white's total
        Change change;
    } cases[] = {
        // a2: (-8, 0); backward (-4, -4), isolated (-6, -6), weak (-8, -6)
        {"7p/8/8/8/8/P7", -26, -16, nullptr},
        // d4 and e4: (10, 2), connected 48 x 6 / 48 = 6 and 6 x 36 / 48 = 4
        {"3pp3/8/8/3PP3/8/8", 32, 12, nullptr},
        // doubled d4, d2 at 50 and 200 %: 10 / 2 and -4 / 2; -2.5 rounds to -3, -2, -3; 2 x 2; -10, -8, -12
        {"3p4/8/8/3P4/8/3P4", 5 - 2 - 16, 4 - 60, half_and_double},
        {"3p4/8/8/3P4/8/3P4", 0, 0, none},
        // doubled costs 16 and 4 more, twice
        {"3p4/8/8/3P4/8/3P4", -24 - 32, -28 - 8, doubled},
    };
    for (const auto &c : cases) {
        for (const bool opening : {true, false}) {
            const std::string queens = opening ? "QQQ3K1" : "6K1";
            std::string black_queens = queens;
            for (char &letter : black_queens) letter = static_cast<char>(std::tolower(letter));
            const std::string fen = black_queens + "/" + c.ranks + "/" + queens + " w - -";
            look(fen, c.change);
            EXPECT_EQ(display.stage, opening ? 0 : 24);
            EXPECT_EQ(total(DisplayTerm::PAWNS, WHITE), opening ? c.opening : c.endgame) << fen;
            look(mirrored(fen), c.change);
            EXPECT_EQ(total(DisplayTerm::PAWNS, BLACK), opening ? c.opening : c.endgame) << fen;
        }
    }
}

TEST_F(EvalTermsTest, Totals) {
    using enum DisplayTerm;
    const struct {
        const char *fen;
        DisplayTerm term;
        int value;  // white's total
        Change change = nullptr;
    } cases[] = {
        // KNIGHTS. d4: (8, 10), 8 squares (24, 30), reaches an outpost (8, 0): (40, 40)
        {"6k1/7p/8/8/3N4/8/P7/6K1 w - -", KNIGHTS, 40},
        // mobility 0 and 200 %: (8 + 8, 10 + 60) at 23
        {"6k1/7p/8/8/3N4/8/P7/6K1 w - -", KNIGHTS, 67,
         [] {
             settings.Mobility_Knight = {0, 200};
         }},
        // square table 200 and 50 %: (16 + 24 + 8, 5 + 30) = (48, 35): 853 / 24
        {"6k1/7p/8/8/3N4/8/P7/6K1 w - -", KNIGHTS, 35,
         [] {
             settings.PST_Knight = {200, 50};
         }},
        // undefended: 8 squares (24, 30) less g6: (21, 26); outpost 240 only: (269, 36): 1097 / 24
        {"6k1/7p/8/4N3/8/8/P7/6K1 w - -", KNIGHTS, 45, [] { settings.knight_outpost.op = 240; }},
        // the pawn d7 takes c6 and e6 away: 6 squares (17, 21); b5 and f5 remain as outposts, half of 240: (8 + 17 + 120, 10 + 21) = (145, 31): 858 / 24
        {"6k1/3p4/8/8/3N4/8/P7/6K1 w - -", KNIGHTS, 35, [] { settings.knight_outpost.op = 240; }},
        // BISHOPS. d4: (2, 2), 12 squares and 5 central ones: 17 (36, 43), reaches outposts (6, 0): (44, 45): 1079 / 24
        {"6k1/7p/8/8/3B4/8/P7/6K1 w - -", BISHOPS, 44},
        // c2: (-2, -2), 5 squares and d3, e4: 7 (12, 14), pawn e4 blocked on its colour (-5, -10): (5, 2): 51 / 24
        {"6k1/8/8/4p3/4P3/8/2B5/6K1 w - -", BISHOPS, 2},
        // d5: (2, 2), c6, b7, a8, e6, f7, g8, c4, b3, a2 is a pawn, e4, f3, g2, h1: 12, c6, e6, c4, e4, f3: 17 (36, 43);
        // outpost 240: (278, 45): 1313 / 24
        {"6k1/7p/8/3B4/8/8/P7/6K1 w - -", BISHOPS, 54, [] { settings.bishop_outpost.op = 240; }},
        // ROOKS. d1: (2, 0), 12 squares and d5 to d8: 16 (31, 39), open file (14, 6): (47, 45) at 22: 1084 / 24
        {"6k1/7p/8/8/8/8/P7/3R2K1 w - -", ROOKS, 45},
        // h1: (-6, 0), no square (-21, -26), trapped by g1 (-25, 0): (-52, -26): -676 / 24
        {"6k1/7p/8/8/8/8/7P/6KR w - -", ROOKS, -28},
        // b7: (-3, 0), 14 squares and b5, b6, b8: 17 (33, 42), open (14, 6), seventh (8, 8): (52, 56): 1336 / 24
        {"6k1/1R6/7p/8/8/8/P7/6K1 w - -", ROOKS, 55},
        // QUEENS. d4: (2, 3), 26 squares (18, 46): (20, 49) at 20: 1060 / 24
        {"6k1/7p/8/8/3Q4/8/P7/6K1 w - -", QUEENS, 44},
        // a1: (-12, -21), b1 (-11, -28), away from files f to h (-10, -10): (-33, -59) at 19: -1286 / 24
        {"6k1/7p/8/8/8/8/PP6/QN4K1 w - -", QUEENS, -53},
        // KINGS in the endgame. d4: 16 x 52 / 60 = 13
        {"6k1/6p1/8/8/3K4/8/4P3/8 w - -", KINGS, 13},
        // 13 / 2 = 6.5 rounds to 7
        {"6k1/6p1/8/8/3K4/8/4P3/8 w - -", KINGS, 7,
         [] {
             settings.PST_King = {0, 50};
         }},
        // KINGS with three knights against them, no queen. g1: 8, shield 4 x 54 x 4 / 16 - 64 = -10, three defenders -6:
        // -8, halved -4; endgame -29, no move inside -10: (-4, -39) at 21: -831 / 24
        {"nn2k3/n7/8/8/8/8/5PPP/6K1 w - -", KINGS, -34},
        // shield 4 x 90 x 4 / 16 - 64 = 26: (8 + 26 - 6) / 2 = 14: -777 / 24
        {"nn2k3/n7/8/8/8/8/5PPP/6K1 w - -", KINGS, -32, [] { settings.pawn_shield.op = 90; }},
        // storm 3 x -30: (8 - 106) / 2 = -49: -966 / 24
        {"kn6/nn6/8/8/8/8/5PPP/6K1 w - -", KINGS, -40, [] { settings.pawn_storm.op = -30; }},
        // KINGS before queen f3 and pawn h3. g1: 8, no shield -64, no defender -24. Safe checks on e3 (or further) and on
        // g2 or g3: 2. Zone: f1, f2, g2, g3, h1, h3 by the queen, g2 by the pawn: 7. Danger 5 + 4 x 2 + 4 x 7 - 1 = 40:
        // 354. 8 - 442 - 2 x 8 = -450; endgame -29 - 10 - 2 x 10 = -59: (-450, -59) at 20: -2980 / 24
        {"4k3/8/8/8/8/5q1p/P7/6K1 w - -", KINGS, -124},
        // no danger: (-96, -59): -1564 / 24
        {"4k3/8/8/8/8/5q1p/P7/6K1 w - -", KINGS, -65,
         [] {
             settings.King_Safety = {0, 100};
         }},
        // half: 40 x 40 / 8 = 200: (-296, -59): -2364 / 24
        {"4k3/8/8/8/8/5q1p/P7/6K1 w - -", KINGS, -98,
         [] {
             settings.King_Safety = {50, 100};
         }},
        // safe checks cost 80 each, not 8: (-594, -59): -3556 / 24
        {"4k3/8/8/8/8/5q1p/P7/6K1 w - -", KINGS, -148, [] { settings.safe_check.op = -80; }},
        // PASSERS, pawns only. e7: 200, free (200 + 64) / 8 = 33, square rule 16 x 7; (24 x 5 - 16 x 3) x 7 / 8 = 63
        {"8/4P3/8/1K6/8/6k1/7p/8 w - -", PASSERS, 408},
        // at 50 %: 100 + 164 / 8 + 112 + 63
        {"8/4P3/8/1K6/8/6k1/7p/8 w - -", PASSERS, 295,
         [] {
             settings.Passed_Pawns = {100, 50};
         }},
        // at 0 %: 0 + 64 / 8 + 112 + 63
        {"8/4P3/8/1K6/8/6k1/7p/8 w - -", PASSERS, 183,
         [] {
             settings.Passed_Pawns = {100, 0};
         }},
        // candidate e5, sentry d7, supporter f5: 50 x (2 x 32 + 3 x 24) / 256 = 26; passed f5: 77 + 77 / 4 = 96,
        // (24 x 2 - 16 x 6) x 5 / 8 = -30: 66
        {"7k/3p4/8/4PP2/8/8/8/K7 w - -", PASSERS, 92},
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

// Blocked pawns, threats and the tempo of the endgame half, in positions with pawns only.
TEST_F(EvalTermsTest, RestOfPawnEndings) {
    const struct {
        const char *fen;
        int white, black;
        Change change = nullptr;
    } cases[] = {
        {"8/p7/8/3k4/4P3/8/8/6K1 w - -", 8 - 28, 0},  // tempo; e4 hangs
        {"8/p7/8/3k4/4P3/8/8/6K1 w - -", 8 - 14, 0,
         [] {
             settings.Threats = {100, 50};
         }},
        {"8/p7/8/3k4/4P3/8/8/6K1 w - -", 8 - 56, 0,
         [] {
             settings.Threats = {0, 200};
         }},
        {"6k1/6p1/8/8/8/4K3/4P3/8 w - -", 8 - 6 - 6, 0},  // e2 blocked in the centre
        {"6k1/8/5pp1/8/7K/8/P7/8 b - -", -8, 8},          // g5 would attack the king
        {"6k1/8/6p1/8/7K/8/P7/8 b - -", 0, 8},            // but the king takes on g5
    };
    for (const auto &c : cases) {
        look(c.fen, c.change);
        EXPECT_EQ(display.stage, 24);
        EXPECT_EQ(rest(WHITE), c.white) << c.fen;
        EXPECT_EQ(rest(BLACK), c.black) << c.fen;
        look(mirrored(c.fen), c.change);
        EXPECT_EQ(rest(BLACK), c.white) << c.fen;
        EXPECT_EQ(rest(WHITE), c.black) << c.fen;
    }
}
