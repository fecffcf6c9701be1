// Every evaluation term in small positions, for both colours. The expected values are worked out beside each position.
//
// A pair (a, b) is an opening and an endgame half; at stage s it shows as (a x (24 - s) + b x s) / 24, toward zero.
#include "engine_fixture.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "eval/display.h"
#include "eval/eval.h"

namespace {

using Change = void (*)();  // of the settings

class EvalTermsTest : public EngineTest {
protected:
    void TearDown() override {
        set_contempt_context(WHITE, true);
        EngineTest::TearDown();
    }
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
        // e2: (-4, 0); backward, isolated; opposed, so not weak
        {"4p3/8/8/8/8/4P3", -14, -10, nullptr},
        // d4 (10, 2), d3 (4, 0); doubled (-5, -5), backward and isolated (-10, -10) twice
        {"3p4/8/8/3P4/3P4/8", 10 + 4 - 30, 2 - 30, nullptr},
        // d2 (-4, 0) instead of d3
        {"3p4/8/8/3P4/8/3P4", 10 - 4 - 30, 2 - 30, nullptr},
        // d4 and e4: (10, 2), connected 48 x 6 / 48 = 6 and 6 x 36 / 48 = 4
        {"3pp3/8/8/3PP3/8/8", 32, 12, nullptr},
        // e4: (10, 2), defended (4, 4); d3: (4, 0), backward (-4, -4)
        {"3pp3/8/8/4P3/3P4/8", 14, 2, nullptr},
        // the same with no pawn ahead of d3: weak (-8, -6)
        {"7p/8/8/4P3/3P4/8", 6, -4, nullptr},
        // a6: (8, 8) + connected (18, 18 x 36 / 48 = 13); b6: (12, 8) + (21, 15)
        {"7p/PP6/8/8/8/8", 59, 44, nullptr},
        // a4: (-2, 2), isolated although c4 stands two files off: (-18, -16); c4: (6, 2), (-18, -16)
        {"7p/8/8/P1P5/8/8", 4 - 36, 4 - 32, nullptr},
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
        // e5: (8, 10), 7 squares, g6 is the pawn's (21, 26); defended outpost (16 + 8, 0): (53, 36): 881 / 24
        {"6k1/7p/8/4N3/3P4/8/8/6K1 w - -", KNIGHTS, 36},
        // outpost 240 + 120: (389, 36): 1217 / 24
        {"6k1/7p/8/4N3/3P4/8/8/6K1 w - -", KNIGHTS, 50, [] { settings.knight_outpost.op = 240; }},
        // undefended: 8 squares (24, 30) less g6: (21, 26); outpost 240 only: (269, 36): 1097 / 24
        {"6k1/7p/8/4N3/8/8/P7/6K1 w - -", KNIGHTS, 45, [] { settings.knight_outpost.op = 240; }},
        // the pawn d7 takes c6 and e6 away: 6 squares (17, 21); b5 and f5 remain as outposts, half of 240: (8 + 17 + 120, 10 + 21) = (145, 31): 858 / 24
        {"6k1/3p4/8/8/3N4/8/P7/6K1 w - -", KNIGHTS, 35, [] { settings.knight_outpost.op = 240; }},
        // b1: (-18, -21), 3 squares (5, 6), away from files f to h (-8, 0): (-21, -15): -366 / 24
        {"6k1/7p/8/8/8/8/P7/1N4K1 w - -", KNIGHTS, -15},
        // g4 pinned: (0, 0), (-18, -23), reaches e5 and f6 (8, 0): (-10, -23) at 21: -513 / 24
        {"6r1/k6p/8/8/6N1/8/P7/6K1 w - -", KNIGHTS, -21},

        // BISHOPS. d4: (2, 2), 12 squares and 5 central ones: 17 (36, 43), reaches outposts (6, 0): (44, 45): 1079 / 24
        {"6k1/7p/8/8/3B4/8/P7/6K1 w - -", BISHOPS, 44},
        // c2: (-2, -2), 5 squares and d3, e4: 7 (12, 14), pawn e4 blocked on its colour (-5, -10): (5, 2): 51 / 24
        {"6k1/8/8/4p3/4P3/8/2B5/6K1 w - -", BISHOPS, 2},
        // d2, other colour: (-1, -1); c1, e1, c3, b4, a5, e3, g5, h6; f4 the pawn's: 8, and c3, e3, f4: 11 (23, 27), no
        // outpost but g5 (6, 0): (28, 26): 626 / 24
        {"6k1/8/8/4p3/4P3/8/3B4/6K1 w - -", BISHOPS, 26},
        // d5: (2, 2), c6, b7, a8, e6, f7, g8, c4, b3, a2 is a pawn, e4, f3, g2, h1: 12, c6, e6, c4, e4, f3: 17 (36, 43);
        // outpost 240: (278, 45): 1313 / 24
        {"6k1/7p/8/3B4/8/8/P7/6K1 w - -", BISHOPS, 54, [] { settings.bishop_outpost.op = 240; }},
        // the bishop sees through its queen: d4 as before, (44, 45) at 19: 1075 / 24
        {"6k1/7p/5Q2/8/3B4/8/P7/6K1 w - -", BISHOPS, 44},

        // ROOKS. d1: (2, 0), 12 squares and d5 to d8: 16 (31, 39), open file (14, 6): (47, 45) at 22: 1084 / 24
        {"6k1/7p/8/8/8/8/P7/3R2K1 w - -", ROOKS, 45},
        // half open: 11 squares and d5 to d7: 14 (27, 34), (6, 0): (35, 34): 818 / 24
        {"6k1/3p4/8/8/8/8/P7/3R2K1 w - -", ROOKS, 34},
        // h1: (-6, 0), no square (-21, -26), trapped by g1 (-25, 0): (-52, -26): -676 / 24
        {"6k1/7p/8/8/8/8/7P/6KR w - -", ROOKS, -28},
        // the king on the far side does not trap: (-6, 0), f1, g1, e1 is the king: 2 (-5, -6): (-11, -6): -154 / 24
        {"6k1/7p/8/8/8/8/7P/4K2R w - -", ROOKS, -6},
        // b7: (-3, 0), 14 squares and b5, b6, b8: 17 (33, 42), open (14, 6), seventh (8, 8): (52, 56): 1336 / 24
        {"6k1/1R6/7p/8/8/8/P7/6K1 w - -", ROOKS, 55},
        // the same, no pawn or king on the last two ranks: (44, 48): 1144 / 24
        {"8/1R6/6kp/8/8/8/P7/6K1 w - -", ROOKS, 47},

        // QUEENS. d4: (2, 3), 26 squares (18, 46): (20, 49) at 20: 1060 / 24
        {"6k1/7p/8/8/3Q4/8/P7/6K1 w - -", QUEENS, 44},
        // g4 pinned: (-1, -1), (-18, -48): (-19, -49) at 18: -996 / 24
        {"6r1/k6p/8/8/6Q1/8/P7/6K1 w - -", QUEENS, -41},
        // a1: (-12, -21), b1 (-11, -28), away from files f to h (-10, -10): (-33, -59) at 19: -1286 / 24
        {"6k1/7p/8/8/8/8/PP6/QN4K1 w - -", QUEENS, -53},

        // KINGS in the endgame. d4: 16 x 52 / 60 = 13
        {"6k1/6p1/8/8/3K4/8/4P3/8 w - -", KINGS, 13},
        // 13 / 2 = 6.5 rounds to 7
        {"6k1/6p1/8/8/3K4/8/4P3/8 w - -", KINGS, 7,
         [] {
             settings.PST_King = {0, 50};
         }},
        // a1: -44 x 52 / 60 = -38; no move into b2 to g7: -10
        {"6k1/6p1/8/8/8/8/1P6/K7 w - -", KINGS, -48},
        // a4: -12; pawns on the h-file: 8 + 10 + 12 + 14 + 16 + 18 = 78
        {"8/7p/8/8/K6k/8/7P/8 w - -", KINGS, -90},
        // d4: 13 - 8 - 10 - 12
        {"8/7p/8/8/3K3k/8/7P/8 w - -", KINGS, -17},
        // pawns on the g-file: 13 - 8 - 10
        {"8/6p1/8/8/3K3k/8/6P1/8 w - -", KINGS, -5},

        // KINGS with three knights against them, no queen. g1: 8, shield 4 x 54 x 4 / 16 - 64 = -10, three defenders -6:
        // -8, halved -4; endgame -29, no move inside -10: (-4, -39) at 21: -831 / 24
        {"nn2k3/n7/8/8/8/8/5PPP/6K1 w - -", KINGS, -34},
        // shield 4 x 90 x 4 / 16 - 64 = 26: (8 + 26 - 6) / 2 = 14: -777 / 24
        {"nn2k3/n7/8/8/8/8/5PPP/6K1 w - -", KINGS, -32, [] { settings.pawn_shield.op = 90; }},
        // storm 3 x -9: (8 - 43) / 2 = -17: -870 / 24
        {"kn6/nn6/8/8/8/8/5PPP/6K1 w - -", KINGS, -36},
        // a pawn left on g7, 2 x -9: (8 - 34) / 2 = -13: -858 / 24
        {"kn6/nn4p1/8/8/8/8/5PPP/6K1 w - -", KINGS, -35},
        // storm 3 x -30: (8 - 106) / 2 = -49: -966 / 24
        {"kn6/nn6/8/8/8/8/5PPP/6K1 w - -", KINGS, -40, [] { settings.pawn_storm.op = -30; }},
        // g3: -12, shield 4 x 54 x 2 / 16 - 64 = -37, -6: -55 / 2 = -27; endgame -10 x 52 / 60 = -8: -249 / 24
        {"nn2k3/n7/8/8/8/6K1/5PPP/8 w - -", KINGS, -10},
        // two knights only: the table value 8 / 2 = 4: (4, -39) at 22: -850 / 24
        {"nn2k3/8/8/8/8/8/5PPP/6K1 w - -", KINGS, -35},

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
        // blocked on e5: 36, e7: (24 x 1 - 16 x 3) x 4 / 8 = -12
        {"8/8/4k3/4P3/4K3/8/7p/8 w - -", PASSERS, 24},
        // e6 is the enemy king's: 36, (24 x 1 - 16 x 4) x 4 / 8 = -20
        {"8/3k4/8/4P3/8/3K4/7p/8 w - -", PASSERS, 16},
        // e6 covered by both kings is safe: 62, path not free, (24 x 1 - 16 x 2) x 5 / 8 = -5
        {"8/3k4/8/3KP3/8/8/7p/8 w - -", PASSERS, 57},
        // d5: 62 + 126 / 8 = 77, square rule 3 < 4: + 80, supported + 157 / 4 = 196, (24 x 4 - 16 x 6) = 0: 196
        // e5: 77, no square rule (3 < 3), + 77 / 4 = 96, (24 x 3 - 16 x 6) x 5 / 8 = -15: 81
        {"7k/8/8/3PP3/8/8/7p/K7 w - -", PASSERS, 277},
        // e5: 77 - 15 = 62; e4 blocked: 14 + (24 x 3 - 16 x 5) x 3 / 8 = 11, doubled: 5
        {"7k/8/8/4P3/4P3/8/7p/K7 w - -", PASSERS, 67},
        // a2 to a4: 9 + 73 / 8 = 18, square rule 6 < 7: + 48, a5: (24 x 7 - 16 x 4) x 3 / 8 = 39
        {"7k/8/8/8/8/8/P6p/4K3 w - -", PASSERS, 105},
        // not to move: 7 < 7 fails
        {"7k/8/8/8/8/8/P6p/4K3 b - -", PASSERS, 57},
        // candidate e5, sentry d7, supporter f5: 50 x (2 x 32 + 3 x 24) / 256 = 26; passed f5: 77 + 77 / 4 = 96,
        // (24 x 2 - 16 x 6) x 5 / 8 = -30: 66
        {"7k/3p4/8/4PP2/8/8/8/K7 w - -", PASSERS, 92},
        // 100 x 136 / 256 = 53
        {"7k/3p4/8/4PP2/8/8/8/K7 w - -", PASSERS, 119, [] { settings.pawn_candidate.en = 100; }},
        // no supporter
        {"7k/3p4/8/4P3/8/8/8/K7 w - -", PASSERS, 0},
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
}

TEST_F(EvalTermsTest, Material) {
    const struct {
        const char *fen;
        int value;
        Change change = nullptr;
    } cases[] = {
        // queen and pawn, lone queen: (1200 - 50 + 90, 1200 - 50 + 110) at 20
        {"6k1/7p/8/8/3Q4/8/P7/6K1 w - -", 1256},
        // (900 - 50 + 90, 1000 - 50 + 110): 24960 / 24
        {"6k1/7p/8/8/3Q4/8/P7/6K1 w - -", 1040,
         [] {
             settings.queen_value = {900, 1000};
         }},
        // two bishops and a pawn: (780 + 30 + 90, 750 + 50 + 110) at 22: 21820 / 24
        {"6k1/7p/8/8/8/8/P7/1BB3K1 w - -", 909},
        // a knight beside the queen: (1200 + 380 + 90, 1200 + 360 + 110) = 1670
        {"6k1/7p/8/8/3Q4/8/P7/1N4K1 w - -", 1670},
    };
    for (const auto &c : cases) {
        look(c.fen, c.change);
        EXPECT_EQ(display.material[WHITE], c.value) << c.fen;
        look(mirrored(c.fen), c.change);
        EXPECT_EQ(display.material[BLACK], c.value) << c.fen;
    }
}

// Blocked pawns, threats and the tempo of the endgame half, in positions with pawns only.
TEST_F(EvalTermsTest, RestOfPawnEndings) {
    const struct {
        const char *fen;
        int white, black;
        Change change = nullptr;
    } cases[] = {
        {"8/p7/8/3k4/4P3/8/8/6K1 w - -", 8 - 28, 0},  // tempo; e4 hangs
        {"8/p7/8/3k4/4P3/8/8/6K1 b - -", -28, 8},
        {"8/p7/8/3k4/4P3/8/8/6K1 w - -", 8 - 14, 0,
         [] {
             settings.Threats = {100, 50};
         }},
        {"8/p7/8/3k4/4P3/8/8/6K1 w - -", 8 - 56, 0,
         [] {
             settings.Threats = {0, 200};
         }},
        {"6k1/6p1/8/8/8/4K3/4P3/8 w - -", 8 - 6 - 6, 0},  // e2 blocked in the centre
        {"6k1/6p1/8/8/8/6K1/6P1/8 w - -", 8 - 6, 0},      // g2 blocked
        {"6k1/8/8/4p3/4P3/8/8/6K1 b - -", -6, 8 - 6},     // blocked pawns, not at home
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

// Weights that are digits of one number show the counts; what is left of the positional value without them is subtracted.
TEST_F(EvalTermsTest, ThreatCounts) {
    const Change digits = [] {
        settings.attacked_piece = {-10, -10};
        settings.hung_piece = {-100, -100};
        settings.hung_pawn = {-1000, -1000};
        settings.multi_hung = {-5000, -5000};
        settings.threat_ppush = {-10000, -10000};
    };
    const Change nothing = [] { settings.Threats = {0, 0}; };
    // pushes, multi hung (5), hung pawns, hung pieces, attacked pieces: 2 pushes and one attacked piece are 20010
    const struct {
        const char *fen;
        int white, black;
        const char *threatened;
    } cases[] = {
        {"8/p7/8/3k4/4P3/8/8/6K1 w - -", 1000, 0, "e4"},
        {"4r3/p6k/8/8/4P3/5K2/8/8 w - -", 10, 0, ""},        // attacked once, defended by the king
        {"4r3/p6k/8/8/4P3/3P1K2/8/8 w - -", 0, 0, ""},       // defended by a pawn
        {"4r3/p3r2k/8/8/4P3/5K2/8/8 w - -", 1000, 0, "e4"},  // attacked twice, defended once
        {"4r3/p3r2k/8/8/4P3/5K2/8/4R3 w - -", 10, 0, ""},    // defended twice
        {"4r3/p3r2k/8/8/4P3/3P1K2/8/8 w - -", 0, 0, ""},     // twice, but defended by a pawn
        {"7k/8/8/4p3/3N4/2P5/8/7K w - -", 100, 0, "d4"},     // knight attacked by a pawn
        {"k6q/7p/8/8/3R4/3K4/8/8 w - -", 10, 0, ""},         // rook attacked by a queen
        {"k6b/7p/8/8/3R4/3K4/8/8 w - -", 100, 0, "d4"},      // rook attacked by a bishop
        {"2kr4/7p/8/8/3Q4/3K4/8/8 w - -", 100, 10, "d4"},    // queen against rook, both defended
        {"2kq4/7p/8/8/3Q4/3K4/8/8 w - -", 0, 0, ""},         // queens
        {"7k/7p/8/8/P2r3P/8/8/1K6 w - -", 7000, 0, "a4h4"},  // two pawns
        {"7k/4p3/3p4/8/3N1K2/8/8/8 w - -", 20000, 0, ""},    // e5 would attack knight and king
        {"8/4pn2/3k4/8/3N1K2/8/8/8 w - -", 20000, 0, ""},    // but not if knight and king cover e5
        {"7k/4p3/8/8/3N1K2/8/8/8 w - -", 0, 0, ""},          // the king takes on e5
    };
    for (const auto &c : cases) {
        for (const bool exchanged : {false, true}) {
            const std::string fen = exchanged ? mirrored(c.fen) : c.fen;
            look(fen, nothing);
            const int without[] = {positional(WHITE), positional(BLACK)};
            look(fen, digits);
            // Tapering may round either value by one.
            EXPECT_NEAR(without[WHITE] - positional(WHITE), exchanged ? c.black : c.white, 1) << fen;
            EXPECT_NEAR(without[BLACK] - positional(BLACK), exchanged ? c.white : c.black, 1) << fen;
            if (!exchanged) {
                EXPECT_EQ(display.threatened, squares(c.threatened)) << fen;
            }
        }
    }
}

TEST_F(EvalTermsTest, ThreatLevels) {
    const struct {
        const char *fen;
        int white;
    } cases[] = {
        // hung pawn 64; free passer a7 with target a5: 8 x 2^3
        {"8/p7/8/3k4/4P3/8/8/6K1 w - -", 128},
        // hung knight 4 x 64; passer e5, e4 safe but e2 the knight's: 2 x 2^4
        {"7k/8/8/4p3/3N4/2P5/8/7K w - -", 288},
        // cornered knight 250; passer h7, safe to h5 but not free: 2 x 2^3
        {"7N/7p/1k6/8/8/8/P7/6K1 w - -", 266},
        // two squares: not cornered; free passer a7
        {"7N/p7/8/2k5/8/8/7P/6K1 w - -", 64},
        // bishop on h8 with only the pawn g7 to take: 250; passer g7, g5 safe but g2 the king's: 2 x 2^3
        {"7B/6p1/8/2k5/8/8/P7/6K1 w - -", 266},
        // g7 and the pawn f6: not cornered; passer f6, f5 safe (relative rank 3) but f2 the king's: 2 x 2^3
        {"7B/8/5p2/2k5/8/8/P7/6K1 w - -", 16},
        // the queen may check on g2: 900; passer h3 is stopped by the king
        {"4k3/8/8/8/8/5q1p/P7/6K1 w - -", 900},
        // free passer on its seventh rank: 8 x 2^7
        {"8/8/8/8/7P/1K6/4p3/7k w - -", 1024},
    };
    for (const auto &c : cases) {
        look(c.fen);
        EXPECT_EQ(result.threat_level[WHITE], c.white) << c.fen;
        look(mirrored(c.fen));
        EXPECT_EQ(result.threat_level[BLACK], c.white) << c.fen;
    }
}

TEST_F(EvalTermsTest, WholeScores) {
    // Pawns -16 each; kings 13 and -29; passer e2: 18 + (24 x 3 - 16) x 3 / 8 = 39, g7: 18 + (24 x 3 - 16 x 4) x 3 / 8 = 21.
    const std::string white_to_move = "6k1/6p1/8/8/3K4/8/4P3/8 w - -";
    const std::string black_to_move = "6k1/6p1/8/8/3K4/8/4P3/8 b - -";
    // With tempo 8: 44 + 24 = 68, and 13 x 68 x 68 / 4096 = 14
    EXPECT_EQ(look(white_to_move), 82);
    // 36 + 16 = 52, and 13 x 52 x 52 / 4096 = 8
    EXPECT_EQ(look(black_to_move), -60);
    // One pawn of the engine: 2 x 41 / 41
    const Change contempt = [] { settings.Contempt = 41; };
    set_contempt_context(WHITE, true);
    EXPECT_EQ(look(white_to_move, contempt), 84);
    set_contempt_context(BLACK, true);
    EXPECT_EQ(look(white_to_move, contempt), 80);
    set_contempt_context(WHITE, false);
    EXPECT_EQ(look(white_to_move, contempt), 82);
}
