#include "test_support.h"

namespace {

std::string joined(const MoveTexts &texts) { return texts[0] + ' ' + texts[1] + ' ' + texts[2] + ' ' + texts[3]; }

TEST(Notation, FourTextsOfAMove) {
    const struct {
        const char *what, *fen, *move, *texts;
    } cases[] = {
        {"pawn capture", "4k3/8/8/3p4/4P3/8/8/4K3 w - -", "e4d5", "e4d5 exd5 ed "},
        {"en passant", "4k3/8/8/3pP3/8/8/8/4K3 w - d6", "e5d6", "e5d6 exd6 ed "},
        {"promotion", "8/4P3/8/8/8/8/k7/4K3 w - -", "e7e8q", "e7e8=Q e8=Q =Q "},
        {"promotion by capture with check", "3r3k/4P3/8/8/8/8/8/4K3 w - -", "e7d8q", "e7d8=Q+ exd8=Q+ ed=Q+ +"},
        {"file shared", "7k/8/8/R7/8/8/8/R5K1 w - -", "a1a3", "a1a3 R1a3 Raa3 R1a3"},
        {"a pinned rival still counts", "4k3/8/8/8/4r3/8/4N3/N3K3 w - -", "a1b3", "a1b3 Nb3 Nab3 N1b3"},
        {"three knights, one on the file", "7k/8/8/1N3N2/8/1N6/8/6K1 w - -", "b5d4", "b5d4 N5d4 Nbd4 N5d4"},
        {"castling short", "4k3/8/8/8/8/8/8/4K2R w K -", "e1g1", "e1g1 o-o O-O 0-0"},
        {"castling long", "r3k3/8/8/8/8/8/8/4K3 b q -", "e8c8", "e8c8 o-o-o O-O-O 0-0-0"},
        {"check", "rnbqkbnr/ppppp1pp/8/5p2/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -", "d1h5", "d1h5+ Qh5+ Qdh5+ Q1h5+"},
        {"discovered check by a pawn", "7k/8/8/8/3P4/2B5/8/4K3 w - -", "d4d5", "d4d5+ d5+ + +"},
        {"mate is written as check", "6k1/5ppp/8/8/8/8/8/R3K3 w - -", "a1a8", "a1a8+ Ra8+ Raa8+ R1a8+"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const auto board = make_test_position(c.fen);
        const Move m = parse_coordinates(board->pos, c.move);
        ASSERT_NE(m, NO_MOVE);
        EXPECT_EQ(joined(move_to_san(board->pos, m)), c.texts);
    }
    EXPECT_EQ(move_to_san(make_test_position()->pos, NO_MOVE)[0], "null");
}

TEST(Notation, CoordinateText) {
    const struct {
        Move move;
        const char *lower_case, *equals_sign;
    } cases[] = {
        {make_move_word(A7, A8, PROMOTE_KNIGHT), "a7a8n", "a7a8=N"},
        {make_move_word(A7, A8, PROMOTE_ROOK | PROMOTE_KNIGHT), "a7a8n", "a7a8=N"},
        {make_move_word(A7, A8, PROMOTE_ANY), "a7a8q", "a7a8=Q"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(move_to_text(c.move, PromotionStyle::LOWER_CASE), c.lower_case);
        EXPECT_EQ(move_to_text(c.move, PromotionStyle::EQUALS_SIGN), c.equals_sign);
    }
}

TEST(Notation, TypedMoves) {
    constexpr const char *CASTLE = "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -";
    constexpr const char *PROMOTE = "8/4P3/8/8/8/8/k7/4K3 w - -";
    constexpr const char *QUEEN = "rnbqkbnr/ppppp1pp/8/5p2/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -";
    constexpr const char *CAPTURE = "4k3/8/8/1p1p4/P3P3/8/8/4K3 w - -";
    const struct {
        const char *fen, *typed;
        const char *move;  // empty: not understood
    } cases[] = {
        {START_FEN.data(), "N1f3", "g1f3"},
        {START_FEN.data(), "", ""},
        {START_FEN.data(), "+", ""},
        {START_FEN.data(), "q", ""},
        {CASTLE, "0-0", "e1g1"},
        {CASTLE, "O-O-O", "e1c1"},
        {CASTLE, "Kg1", ""},
        {PROMOTE, "e8=Q", "e7e8q"},
        {PROMOTE, "=R", "e7e8r"},
        {PROMOTE, "e8", ""},
        {PROMOTE, "e7e8", ""},
        {QUEEN, "Qh5+!?", "d1h5"},
        {QUEEN, "Qh5#", ""},
        {QUEEN, "Qh5!", ""},
        {CAPTURE, "ed", "e4d5"},
        {CAPTURE, "ab", ""},
        {CAPTURE, "ed5", ""},
        {"4k3/8/8/8/4r3/8/4N3/N3K3 w - -", "Nc3", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.fen) + " '" + c.typed + "'");
        const ParsedMove parsed = parse_move(make_test_position(c.fen)->pos, c.typed);
        EXPECT_EQ(parsed.found(), c.move[0] != '\0');
        EXPECT_EQ(parsed.found() ? coordinates(parsed.move) : "", c.move);
    }
}

TEST(Notation, AmbiguousMoves) {
    const struct {
        const char *what, *fen, *typed;
        int matches;
    } cases[] = {
        {"two knights, rank given", "4k3/8/8/8/8/8/8/1N2KN2 w - -", "N1d2", 2},
        {"three knights, rank given", "4k3/8/8/8/2N5/1N6/8/1N2KN2 w - -", "N1d2", 2},
        {"three queens on one rank", "7k/8/8/8/8/8/8/Q1Q1Q1K1 w - -", "Q1c3", 3},
        {"the other knight is pinned", "4k3/8/8/8/4r3/8/4N3/N3K3 w - -", "Nb3", 1},
        {"unknown", "4k3/8/8/8/8/8/8/1N2KN2 w - -", "Nd5", 0},
        {"two pawns capture between the same files", "4k3/8/8/3p4/4P3/3p4/4P3/4K3 w - -", "ed", 2},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const ParsedMove parsed = parse_move(make_test_position(c.fen)->pos, c.typed);
        EXPECT_EQ(parsed.matches, c.matches);
        EXPECT_EQ(parsed.move != NO_MOVE, c.matches == 1);
    }
}

// Of three or more equal pieces one may share the file and another the rank; then one letter or digit cannot tell.
bool beyond_one_letter(Position &pos, Move m) {
    bool same_file = false;
    bool same_rank = false;
    for (const MoveEntry &entry : legal_moves(pos)) {
        const Square from = from_square(m);
        const Square other = from_square(entry.move);
        if (to_square(entry.move) != to_square(m) || other == from || entry.piece != pos.board[from]) continue;
        same_file |= file_of(other) == file_of(from);
        same_rank |= rank_of(other) == rank_of(from);
    }
    return same_file && same_rank;
}

TEST(Notation, WrittenMovesAreReadBack) {
    std::vector<std::string> fens = random_game_fens(41, 20, 300, 12);
    for (const char *fen : {"n1n1k1n1/PPPPPPPP/8/8/8/8/pppppppp/N1N1K1N1 w - -",
                            "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
                            "4k3/8/8/2pPp3/8/8/8/4K3 w - c6", "7k/8/8/Q2Q4/8/8/8/Q5K1 w - -"})
        fens.push_back(fen);
    int read = 0;
    for (const std::string &fen : fens) {
        SCOPED_TRACE(fen);
        const auto board = make_test_position(fen);
        Position &pos = board->pos;
        for (const MoveEntry &entry : legal_moves(pos)) {
            const MoveTexts texts = move_to_san(pos, entry.move);
            EXPECT_EQ(parse_move(pos, texts[0]).move, entry.move) << texts[0];
            const ParsedMove parsed = parse_move(pos, texts[1]);
            EXPECT_EQ(parsed.move, beyond_one_letter(pos, entry.move) ? NO_MOVE : entry.move) << texts[1];
            read += parsed.found();
        }
    }
    EXPECT_GT(fens.size(), 300u);
    EXPECT_GT(read, 5000);
}

}  // namespace
