#include "test_support.h"

namespace {

TEST(Fen, ReadAndWrittenBack) {
    const struct {
        const char *what, *text, *written;
    } cases[] = {
        {"clocks are not read", "4k3/8/8/8/8/8/8/4K3 b - - 37 80", "4k3/8/8/8/8/8/8/4K3 b - -"},
        {"operations are not read", "4k3/8/8/8/8/8/8/4K3 w - - bm Ke2; id \"x\";", "4k3/8/8/8/8/8/8/4K3 w - -"},
        {"rights in any order", "r3k2r/8/8/8/8/8/8/R3K2R w qkQK -", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -"},
        {"unknown letters among the rights", "r3k2r/8/8/8/8/8/8/R3K2R w xKAq -", "r3k2r/8/8/8/8/8/8/R3K2R w Kq -"},
        {"en passant", "4k3/8/8/3pP3/8/8/8/4K3 w - d6", "4k3/8/8/3pP3/8/8/8/4K3 w - d6"},
        {"unusable en passant stays", "4k3/8/8/8/8/8/8/4K3 w - h3", "4k3/8/8/8/8/8/8/4K3 w - h3"},
        {"en passant: digit only", "4k3/8/8/3pP3/8/8/8/4K3 w - 6", "4k3/8/8/3pP3/8/8/8/4K3 w - -"},
        {"en passant: letter only", "4k3/8/8/3pP3/8/8/8/4K3 w - d", "4k3/8/8/3pP3/8/8/8/4K3 w - -"},
        {"en passant: off the board", "4k3/8/8/3pP3/8/8/8/4K3 w - d9", "4k3/8/8/3pP3/8/8/8/4K3 w - -"},
        {"en passant: digit first", "4k3/8/8/3pP3/8/8/8/4K3 w - 6d", "4k3/8/8/3pP3/8/8/8/4K3 w - -"},
        {"en passant: too long", "4k3/8/8/3pP3/8/8/8/4K3 w - d66", "4k3/8/8/3pP3/8/8/8/4K3 w - -"},
        {"short ranks", "4k/8/8/p/8/8/8/4K w - -", "4k3/8/8/p7/8/8/8/4K3 w - -"},
        {"long rank stops at the h-file", "4k3/8/8/7pPPP/8/8/8/4K3 w - -", "4k3/8/8/7P/8/8/8/4K3 w - -"},
        {"zero and unknown characters", "4k3/8/8/0x0P/8/8/8/4K3 w - -", "4k3/8/8/1P6/8/8/8/4K3 w - -"},
        {"pawns on the edge ranks", "P3k2p/8/8/8/8/8/8/p3K2P w - -", "P3k2p/8/8/8/8/8/8/p3K2P w - -"},
        {"a ninth rank overwrites the first", "4k3/8/8/8/8/8/8/4K3/R7 w - -", "4k3/8/8/8/8/8/8/R3K3 w - -"},
        {"placement alone", "4k3/8/8/8/8/8/8/4K3", "4k3/8/8/8/8/8/8/4K3 w - -"},
        {"nothing", "", "8/8/8/8/8/8/8/8 w - -"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const auto board = make_test_position(c.text);
        EXPECT_EQ(get_fen(board->pos), c.written);
        EXPECT_FALSE(board->reading.rights_dropped);
        EXPECT_EQ(board->pos.fifty, 0);
        EXPECT_TRUE(is_consistent(board->pos));
    }
}

TEST(Fen, UnreadableSideKeepsTheLastOne) {
    const auto board = make_test_position("4k3/8/8/8/8/8/8/4K3 b - -");
    for (const char *text : {"4k3/8/8/8/8/8/8/4K3 x - -", "4k3/8/8/8/8/8/8/4K3", "4k3/8/8/8/8/8/8/4K3 ", ""}) {
        SCOPED_TRACE(text);
        set_fen(board->pos, text);
        EXPECT_EQ(board->pos.side, BLACK);
        EXPECT_EQ(board->pos.key & 1, 1u);
    }
    set_fen(board->pos, "4k3/8/8/8/8/8/8/4K3 w - -");
    set_fen(board->pos, "4k3/8/8/8/8/8/8/4K3 W - -");
    EXPECT_EQ(board->pos.side, WHITE);
}

TEST(Fen, ContradictedCastlingRightsAreRemoved) {
    const struct {
        const char *text;
        bool dropped;
        int rights;
        const char *rest;
    } cases[] = {
        {"8/8/8/8/8/8/8/4K2k w KQ -", true, 0, ""},
        {"8/8/8/8/8/8/8/4K2k w KQ - 37 80", true, 0, " 37 80"},
        {"4k3/8/8/8/8/8/8/R3K3 w KQ - bm O-O-O;", true, 2, " bm O-O-O;"},
        {"r3k2r/8/8/8/8/8/8/R2K3R w KQkq -", true, 12, ""},
        {"r3k2R/8/8/8/8/8/8/r3K2R w KQkq -", true, 9, ""},
        {"8/8/8/8/8/8/8/4K2k w - - 3", false, 0, " 3"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        const auto board = make_test_position(c.text);
        EXPECT_EQ(board->reading.rights_dropped, c.dropped);
        EXPECT_EQ(board->reading.rest, c.rest);
        EXPECT_EQ(board->pos.castling, c.rights);
        EXPECT_TRUE(is_consistent(board->pos));
    }
}

TEST(Fen, SetUpEmptiesTheHistory) {
    const auto board = make_test_position();
    Position &pos = board->pos;
    for (const char *text : {"g1f3", "g8f6", "f3g1", "f6g8"}) make_move(pos, parse_coordinates(pos, text));
    ASSERT_EQ(board->history.undo_count, 4);
    set_fen(pos, START_FEN);
    EXPECT_EQ(board->history.undo_count, 0);
    EXPECT_EQ(board->history.ply, 1);
    EXPECT_EQ(board->history.current_move, NO_MOVE);
    EXPECT_EQ(pos.fifty, 0);
    EXPECT_EQ(count_repetitions(pos), 0);
}

TEST(Keys, KnownValues) {
    const auto start = make_test_position();
    EXPECT_EQ(start->pos.key, 0x7bba12b5e7639492u);
    EXPECT_EQ(start->pos.pawn_key, 0xd7b5cec6617ede7du);
    const auto ep = make_test_position("4k3/8/8/3pP3/8/8/8/4K3 w - d6");
    EXPECT_EQ(ep->pos.key, 0xdc1d274218d1200eu);
    EXPECT_EQ(ep->pos.pawn_key, 0xca2ee3f23d208236u);
}

TEST(Keys, TellPositionsApart) {
    const struct {
        const char *what, *first, *second;
        bool key_differs, pawn_key_differs;
    } cases[] = {
        {"en-passant square", "4k3/8/8/3pP3/8/8/8/4K3 w - d6", "4k3/8/8/3pP3/8/8/8/4K3 w - -", true, false},
        {"unusable en-passant square", "4k3/8/8/8/8/8/8/4K3 w - d6", "4k3/8/8/8/8/8/8/4K3 w - -", true, false},
        {"clock", "4k3/8/8/8/8/8/4P3/4K3 w - - 9 9", "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1", false, false},
        {"removed right", "4k3/8/8/8/8/8/8/4K2R w KQkq -", "4k3/8/8/8/8/8/8/4K2R w K -", false, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const auto first = make_test_position(c.first);
        const auto second = make_test_position(c.second);
        EXPECT_EQ(first->pos.key != second->pos.key, c.key_differs);
        EXPECT_EQ(first->pos.pawn_key != second->pos.pawn_key, c.pawn_key_differs);
    }
}

TEST(HashCodes, KnownValues) {
    make_test_position();
    std::uint64_t sum = 0;
    for (const auto &row : hash_codes)
        for (const std::uint64_t code : row) sum ^= code;
    EXPECT_EQ(sum, 0x2cee8f6e7406f7c1u);

    const std::uint64_t first = hash_codes[0][0];
    EXPECT_TRUE(generate_hash_codes());
    EXPECT_EQ(hash_codes[0][0], first) << "a second call must not draw again";
}

// Whatever a user types, the position is consistent, everything that only reads it stays in bounds, and what it
// writes means the same position.
void expect_survives(Position &pos, std::string_view text) {
    set_fen(pos, text);
    ASSERT_TRUE(is_consistent(pos));
    ASSERT_TRUE(pos.ep_square <= 64 && pos.king_square[WHITE] < 64 && pos.king_square[BLACK] < 64);
    ASSERT_LT(pos.castling, 16);

    const auto again = make_test_position(get_fen(pos));
    again->pos.king_square[WHITE] = pos.king_square[WHITE];  // another of several, or none
    again->pos.king_square[BLACK] = pos.king_square[BLACK];
    ASSERT_EQ(differing_fields(pos, again->pos), "");

    const Position before = pos;
    MoveList list;
    const MoveEntry *end = gen_all(pos, list.data());
    ASSERT_LE(end - list.data(), MAX_MOVES);
    gen_legal(pos, list.data());
    no_legal_moves(pos);
    for (const Square s : ALL_SQUARES) square_attacked(pos, s, (s & 1) != 0 ? BLACK : WHITE);
    for (int m = 0; m < 65536; m += 7) is_pseudo_legal(pos, static_cast<Move>(m), pos.side);
    board_text(pos);
    unsearchable_reason(pos);
    ASSERT_EQ(differing_fields(before, pos), "");
}

TEST(MadSetUps, WorstCases) {
    const auto board = make_test_position();
    const std::string texts[] = {
        "/////////////////////////////",
        "////////kK////////Kk w KQkq e3",
        std::string(5000, 'Q'),
        std::string(200, '9').append(" ").append(200, 'w'),
        "QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQK w KQkq a1",
        "kkkkkkkk/kkkkkkkk/8/8/8/8/KKKKKKKK/KKKKKKKK b KQkq h8",
        "NNNNNNNN/NNNNNNNN/NNNNNNNN/NNNNNNNN/pppppppp/pppppppp/PPPPPPPP/PPPPPPPP w - a8",
        "pppppppp/8/8/8/8/8/8/PPPPPPPP w - e1",
        "PPPPPPPP/PPPPPPPP/8/8/8/8/pppppppp/pppppppp b - e8",
        "q2k2q1/2q2n2/b7/7q/1Q6/8/2Q1K1Q1/Q2Q2Q1 w - d6",
        "4k3/8/8/8/8/8/8/4K3 w KQkq h6 \xff\xfe",
        std::string("4k3/8/\0/8 w - -", 15),
        "        ",
        " w KQkq e3",
        "\t\n\r/ b\t-",
        "k w",
    };
    for (const std::string &text : texts) {
        SCOPED_TRACE(text.substr(0, 90));
        expect_survives(board->pos, text);
    }
}

TEST(MadSetUps, RandomText) {
    const auto board = make_test_position();
    Random random(7);
    constexpr std::string_view PLACEMENT = "PNBRQKpnbrqk12345678/////09x";
    constexpr std::string_view ANYTHING = "abcdefgh12345678 -KQkqwb/";
    for (int i = 0; i < 1500 && !testing::Test::HasFatalFailure(); ++i) {
        std::string text;
        for (int n = random.below(100); n > 0; --n) text += PLACEMENT[random.below(static_cast<int>(PLACEMENT.size()))];
        text += random.below(2) == 0 ? " w KQkq " : " b ";
        for (int n = random.below(6); n > 0; --n) text += ANYTHING[random.below(static_cast<int>(ANYTHING.size()))];
        if (random.below(8) == 0)
            text[random.below(static_cast<int>(text.size()))] = static_cast<char>(random.below(256));
        SCOPED_TRACE(text);
        expect_survives(board->pos, text);
    }
}

}  // namespace
