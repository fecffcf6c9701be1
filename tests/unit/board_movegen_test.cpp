#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "test_support.h"

namespace {

// Texts with blanks between them.
template <typename Texts>
std::string joined(const Texts &texts) {
    std::string all;
    for (const std::string &text : texts) all += (all.empty() ? "" : " ") + text;
    return all;
}

enum Generator { CAPTURES, PROMOTIONS, QUIETS };

std::string generated(Position &pos, Generator generator, Square target = NO_SQUARE) {
    MoveList list;
    MoveEntry *end = nullptr;
    switch (generator) {
    case CAPTURES: end = gen_captures(pos, pos.side, list.data(), target); break;
    case PROMOTIONS: end = gen_promotions(pos, pos.side, true, list.data()); break;
    case QUIETS: end = gen_quiets(pos, pos.side, list.data(), target); break;
    }
    std::vector<std::string> moves;
    std::transform(list.data(), end, std::back_inserter(moves), [](const MoveEntry &e) { return coordinates(e.move); });
    return joined(moves);
}

TEST(Generators, ExactOrder) {
    const struct {
        const char *what, *fen;
        Generator generator;
        Square target;
        const char *moves;
    } cases[] = {
        {"king last, never limited by a target", "4k3/8/8/8/3p4/2Q5/4p3/4K3 w - -", CAPTURES, D4, "c3d4 e1e2"},
        {"en passant under a target", "4k3/8/8/3pP3/7b/8/8/4K3 w - d6", CAPTURES, H4, "e5d6"},
        {"push, toward a, toward h", "1n1n3k/2P5/8/8/8/8/8/K7 w - -", PROMOTIONS, NO_SQUARE,
         "c7c8q c7c8n c7c8b c7c8r c7b8q c7b8n c7b8b c7b8r c7d8q c7d8n c7d8b c7d8r"},
        {"castling last", "r3k2r/8/8/8/8/8/P6P/R3K2R w KQkq -", QUIETS, NO_SQUARE,
         "a2a3 h2h3 a2a4 h2h4 a1b1 a1c1 a1d1 h1f1 h1g1 e1d1 e1f1 e1d2 e1e2 e1f2 e1g1 e1c1"},
        {"castling needs b1, c1, d1 empty", "4k3/8/8/8/8/8/8/RN2K1NR w KQ -", QUIETS, F3, "e1d1 e1f1 e1d2 e1e2 e1f2"},
        {"in check from a slider: between only", "4k3/8/8/8/7b/8/1N1BP1P1/R3K1N1 w Q -", QUIETS, H4,
         "g2g3 e1d1 e1f1 e1f2 e1c1"},
    };
    for (const auto &c : cases) {
        const auto board = make_test_position(c.fen);
        EXPECT_EQ(generated(board->pos, c.generator, c.target), c.moves) << c.what;
    }
}

// An en-passant square that no double step can have left behind stays in the position, but takes nothing.
TEST(Generators, ImpossibleEnPassantSquares) {
    const struct {
        const char *what, *fen, *captures, *legal_pawn_moves;
    } cases[] = {
        {"no pawn behind", "4k3/8/8/4P3/8/8/8/4K3 w - d6", "", "e5e6"},
        {"own pawn behind", "4k3/8/8/3PP3/8/8/8/4K3 w - d6", "", "d5d6 e5e6"},
        {"a knight behind", "4k3/8/8/3nP3/8/8/8/4K3 w - d6", "", "e5e6"},
        {"for the wrong side", "4k3/8/8/8/3Pp3/8/8/4K3 w - d3", "", "d4d5"},
        {"first rank", "4k3/8/8/8/8/8/4p3/3N3K b - d1", "", "e2d1b e2d1n e2d1q e2d1r e2e1b e2e1n e2e1q e2e1r"},
        {"last rank, an enemy pawn behind", "7k/3pP3/8/8/8/8/8/4K3 w - d8", "", "e7e8b e7e8n e7e8q e7e8r"},
        // A plain capture of the piece on d6: the pawn on d5 stays and goes on giving check, the knight is gone.
        {"occupied, check by the pawn behind", "4k3/8/3b4/3pP3/4K3/8/8/8 w - d6", "e5d6 e4d5", ""},
        {"occupied, check by the knight on it", "4k3/8/3n4/3pPK2/8/8/8/8 w - d6", "e5d6", "e5d6"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const auto board = make_test_position(c.fen);
        Position &pos = board->pos;
        EXPECT_EQ(generated(pos, CAPTURES), c.captures);
        std::set<std::string> pawn_moves;
        for (const MoveEntry &entry : legal_moves(pos))
            if (type_of(entry.piece) == PAWN) pawn_moves.insert(coordinates(entry.move));
        EXPECT_EQ(joined(pawn_moves), c.legal_pawn_moves);
        for (Move m = 1; m != 0; ++m) {
            if (!is_pseudo_legal(pos, m, pos.side) || pos.type_on(from_square(m)) != PAWN) continue;
            if (popcount(m & PROMOTE_ANY) > 1 || !is_legal(pos, pos.side, m)) continue;
            EXPECT_TRUE(pawn_moves.contains(coordinates(m))) << coordinates(m);
        }
    }
}

std::uint64_t count_paths(Position &pos, int depth) {
    const std::vector<MoveEntry> moves = legal_moves(pos);
    if (depth == 1) return moves.size();
    EXPECT_EQ(no_legal_moves(pos), moves.empty());
    std::uint64_t paths = 0;
    for (const MoveEntry &entry : moves) {
        make_move(pos, entry.move);
        paths += count_paths(pos, depth - 1);
        unmake_move(pos);
    }
    return paths;
}

// Counts above the limit would take too long with assertions on, or when a short run is asked for.
std::uint64_t largest_path_count() {
#ifdef NDEBUG
    if (std::getenv("DRAL_TEST_SHORT") == nullptr) return 5'000'000;
#endif
    return 100'000;
}

TEST(MovePaths, MatchKnownCounts) {
    const auto path = test_data_directory() / "perft" / "perft.epd";
    std::ifstream file(path);
    if (!file) GTEST_SKIP() << "no move-path counts at " << path;
    const std::uint64_t largest = largest_path_count();
    int lines = 0;
    int counts = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.find(';') == std::string::npos) continue;
        const auto board = make_test_position(line.substr(0, line.find(';')));
        if (board->reading.rights_dropped) continue;  // castling from other squares than ours
        ++lines;
        std::istringstream fields(line.substr(line.find(';')));
        std::string depth;
        std::uint64_t expected = 0;
        while (fields >> depth >> expected) {
            if (expected >= largest) continue;
            ++counts;
            ASSERT_EQ(count_paths(board->pos, std::stoi(depth.substr(2))), expected) << line << " at " << depth;
        }
    }
    EXPECT_GT(lines, 0);
    EXPECT_GE(counts, lines);
}

const char *const SINGLE_MOVE_POSITIONS[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "r3k2r/8/8/8/8/8/8/R3K2R b KQkq -",
    "r3k2r/8/8/8/8/8/8/R3K2R w - -",
    "rn2k1nr/8/8/8/8/8/8/RN2K1NR w KQkq -",
    "4k2r/8/8/8/8/8/8/R4K1R w k -",
    "2R1K2R/8/8/8/8/8/8/4k3 w - -",
    "8/8/8/8/8/8/8/R1K4k w - -",
    "8/8/8/8/7k/8/8/RK5R w - -",
    "8/8/8/8/7k/8/8/R4K1R w - -",
    "8/8/8/8/7k/8/R7/5K2 w - -",
    "2k5/6r1/8/8/8/8/8/4K3 b - -",
    "n1n1k1n1/PPPPPPPP/8/8/8/8/pppppppp/N1N1K1N1 w - -",
    "4k3/8/8/2pPp3/8/8/8/4K3 w - c6",
    "4k3/8/8/8/4Pp2/8/8/4K3 b - e3",
    "8/8/8/K2pP2r/8/8/8/4k3 w - d6",
};

// Castling as a stored move is judged: the king anywhere on its first rank, the rook where it belongs, no rights.
bool stored_castling_possible(const Position &pos, Colour side, Square from, Square to) {
    const int step = to > from ? 1 : -1;
    const int rook_distance = to > from ? 3 : 4;
    const int rook_file = from % 8 + step * rook_distance;
    if (from / 8 != (side == WHITE ? 0 : 7) || rook_file < 0 || rook_file > 7) return false;
    if (pos.board[from + step * rook_distance] != side * 8 + ROOK) return false;
    for (int n = 0; n <= 2; ++n) {
        if (n > 0 && pos.board[from + step * n] != 0) return false;
        if (walked_attackers(pos, from + step * n, opponent(side)) != 0) return false;
    }
    return true;
}

TEST(PseudoLegality, AgreesWithTheGeneratorsOnEveryMoveWord) {
    std::vector<std::string> fens(std::begin(SINGLE_MOVE_POSITIONS), std::end(SINGLE_MOVE_POSITIONS));
    for (std::string &fen : random_game_fens(21, 6, 160, 10)) fens.push_back(std::move(fen));
    for (const std::string &fen : fens) {
        SCOPED_TRACE(fen);
        const auto board = make_test_position(fen);
        const Position &pos = board->pos;
        for (const Colour side : {WHITE, BLACK}) {
            std::set<Move> generated_moves;
            MoveList list;
            MoveEntry *end = gen_captures(pos, side, list.data(), NO_SQUARE);
            end = gen_promotions(pos, side, true, end);
            end = gen_quiets(pos, side, end, NO_SQUARE);
            for (const MoveEntry *entry = list.data(); entry != end; ++entry) {
                ASSERT_EQ(entry->piece, pos.board[from_square(entry->move)]) << coordinates(entry->move);
                ASSERT_EQ(entry->captured, pos.board[to_square(entry->move)]) << coordinates(entry->move);
                if (type_of(entry->captured) != KING) generated_moves.insert(entry->move);
            }
            for (int word = 0; word < 65536; ++word) {
                const Move m = static_cast<Move>(word);
                if (popcount(m & PROMOTE_ANY) > 1) continue;
                const Square from = from_square(m);
                const Square to = to_square(m);
                const bool castling =
                    pos.board[from] == side * 8 + KING && from / 8 == to / 8 && std::abs(from - to) == 2;
                const bool expected = castling ? (m & PROMOTE_ANY) == 0 && stored_castling_possible(pos, side, from, to)
                                               : generated_moves.contains(m);
                ASSERT_EQ(is_pseudo_legal(pos, m, side), expected) << coordinates(m) << " side " << side;
            }
        }
    }
}

// The cases that the comparison below leaves out.
TEST(GivesCheck, WorkedCases) {
    const struct {
        const char *what, *fen, *move;
        int check;
    } cases[] = {
        {"the rook of a castling king", "5k2/8/8/8/8/8/8/4K2R w K -", "e1g1", 0},
        {"promotion along the king's file", "8/4P3/8/8/8/8/8/K3k3 w - -", "e7e8q", 0},
        {"promotion along the king's diagonal", "4r3/3P4/8/8/k7/8/8/6K1 w - -", "d7e8q", 0},
        {"line opened by the pawn taken en passant", "8/8/8/1k1pP2R/8/8/8/4K3 w - d6", "e5d6", 0},
        {"line opened by the pawn that takes en passant", "7k/8/8/3pP3/3Q4/8/8/4K3 w - d6", "e5d6", 2},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const auto board = make_test_position(c.fen);
        const Position &pos = board->pos;
        const Move m = parse_coordinates(board->pos, c.move);
        ASSERT_NE(m, NO_MOVE);
        const MoveEntry entry{m, 0, pos.board[from_square(m)], pos.board[to_square(m)]};
        EXPECT_EQ(gives_check(pos, pos.side, entry), c.check);
    }
}

// 0, 1 or 2 from the position after the move. Left out: castling, and lines that only the start square of a promoting
// pawn or the pawn taken en passant had closed.
TEST(GivesCheck, AgreesWithMakingTheMove) {
    std::vector<std::string> fens = random_game_fens(31, 25, 250, 3);
    for (std::string &fen : random_game_fens(33, 25, 400, 7)) fens.push_back(std::move(fen));
    int seen[3] = {};
    for (const std::string &fen : fens) {
        SCOPED_TRACE(fen);
        const auto board = make_test_position(fen);
        Position &pos = board->pos;
        const Colour side = pos.side;
        const Square king = pos.king_square[opponent(side)];
        for (const MoveEntry &entry : legal_moves(pos)) {
            const Square from = from_square(entry.move);
            const Square to = to_square(entry.move);
            const bool castling = type_of(entry.piece) == KING && std::abs(from - to) == 2;
            const bool closed_by_start = (entry.move & PROMOTE_ANY) != 0 && (between(to, king) >> from & 1) != 0;
            if (castling || closed_by_start || is_en_passant_capture(pos, entry.move)) continue;
            const int answer = gives_check(pos, side, entry);
            make_move(pos, entry.move);
            const Bitboard checkers = walked_attackers(pos, king, side);
            unmake_move(pos);
            const int expected = (checkers & ~bit(to)) != 0 ? 2 : checkers != 0 ? 1 : 0;
            ASSERT_EQ(answer, expected) << coordinates(entry.move);
            ++seen[answer];
        }
    }
    EXPECT_GT(seen[1], 1000);
    EXPECT_GT(seen[2], 50);
}

}  // namespace
