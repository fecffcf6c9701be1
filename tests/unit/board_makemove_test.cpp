#include "test_support.h"

namespace {

// The position as it is set up from the text that the present one writes, with the clock that no text carries.
void expect_equals_its_own_set_up(const Position &pos, TestPosition &scratch) {
    const std::string fen = get_fen(pos);
    ASSERT_FALSE(set_fen(scratch.pos, fen).rights_dropped);
    ASSERT_EQ(get_fen(scratch.pos), fen);
    scratch.pos.fifty = pos.fifty;
    ASSERT_EQ(differing_fields(pos, scratch.pos), "") << fen;
}

struct Snapshot {
    Position pos;
    int undo_count;
    int ply;
    Move current_move;
};

Snapshot snapshot(const TestPosition &board) {
    return {board.pos, board.history.undo_count, board.history.ply, board.history.current_move};
}

void expect_restored(const TestPosition &board, const Snapshot &before) {
    ASSERT_EQ(differing_fields(board.pos, before.pos), "");
    ASSERT_EQ(board.history.undo_count, before.undo_count);
    ASSERT_EQ(board.history.ply, before.ply);
    ASSERT_EQ(board.history.current_move, before.current_move);
}

void play_random_game(std::string_view fen, std::uint64_t seed) {
    const auto board = make_test_position(fen);
    const auto scratch = make_test_position();
    Position &pos = board->pos;
    Random random(seed);
    std::vector<Snapshot> game;
    for (int ply = 0; ply < 250; ++ply) {
        const Snapshot before = snapshot(*board);
        MoveList list;
        const MoveEntry *end = gen_legal(pos, list.data());
        for (const MoveEntry *entry = list.data(); entry != end; ++entry) {
            SCOPED_TRACE(get_fen(before.pos) + " " + coordinates(entry->move));
            make_move(pos, entry->move);
            ASSERT_NO_FATAL_FAILURE(expect_equals_its_own_set_up(pos, *scratch));
            unmake_move(pos);
            ASSERT_NO_FATAL_FAILURE(expect_restored(*board, before));
        }
        game.push_back(before);
        const bool in_check = square_attacked(pos, pos.king_square[pos.side], opponent(pos.side));
        if (!in_check && random.below(10) == 0) {
            make_null_move(pos);
        } else if (end != list.data()) {
            make_move(pos, list[random.below(static_cast<int>(end - list.data()))].move);
        } else {
            game.pop_back();
            break;
        }
        ASSERT_NO_FATAL_FAILURE(expect_equals_its_own_set_up(pos, *scratch));
    }
    for (; !game.empty(); game.pop_back()) {
        SCOPED_TRACE("taking back ply " + std::to_string(game.size()));
        if (board->history.current_move == NO_MOVE)
            unmake_null_move(pos);
        else
            unmake_move(pos);
        ASSERT_NO_FATAL_FAILURE(expect_restored(*board, game.back()));
    }
}

TEST(MakeMove, RandomGamesAreConsistentAndReversible) {
    const std::string_view fens[] = {
        START_FEN,
        "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
        "r3k2r/8/8/8/8/8/8/R3K2R b KQkq -",
        "n1n1k1n1/PPPPPPPP/8/8/8/8/pppppppp/N1N1K1N1 w - -",
        "4k3/pppppppp/8/8/8/8/PPPPPPPP/4K3 w - -",
    };
    std::uint64_t seed = 100;
    for (const std::string_view fen : fens) {
        for (int i = 0; i < 4; ++i) {
            SCOPED_TRACE("seed " + std::to_string(seed));
            ASSERT_NO_FATAL_FAILURE(play_random_game(fen, seed++));
        }
    }
}

TEST(MakeMove, WorkedCases) {
    const struct {
        const char *what, *fen, *move, *after;
        int fifty;  // from 10 before the move
    } cases[] = {
        {"double step", "4k3/8/8/8/8/8/4P3/4K3 w - -", "e2e4", "4k3/8/8/8/4P3/8/8/4K3 b - e3", 0},
        {"quiet move counts", "4k3/8/8/8/8/8/8/4K1N1 w - -", "g1f3", "4k3/8/8/8/8/5N2/8/4K3 b - -", 11},
        {"castling king side", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "e1g1", "r3k2r/8/8/8/8/8/8/R4RK1 b kq -", 0},
        {"rook takes rook", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "h1h8", "r3k2R/8/8/8/8/8/8/R3K3 b Qq -", 0},
        {"rook takes the right", "r3k3/1P6/8/8/8/8/8/4K3 w q -", "b7a8r", "R3k3/8/8/8/8/8/8/4K3 b - -", 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const auto board = make_test_position(c.fen);
        const auto after = make_test_position(c.after);
        Position &pos = board->pos;
        pos.fifty = 10;
        const Move m = parse_coordinates(pos, c.move);
        ASSERT_NE(m, NO_MOVE);
        make_move(pos, m);
        after->pos.fifty = static_cast<std::uint8_t>(c.fifty);
        EXPECT_EQ(differing_fields(pos, after->pos), "") << get_fen(pos);
    }
}

TEST(NullMove, PassesAndKeepsTheRest) {
    const auto board = make_test_position("4k3/8/8/3pP3/8/8/8/R3K3 w Q d6");
    Position &pos = board->pos;
    make_move(pos, parse_coordinates(pos, "e1d2"));
    const Snapshot before = snapshot(*board);
    make_null_move(pos);
    EXPECT_EQ(get_fen(pos), "4k3/8/8/3pP3/8/8/3K4/R7 w - -");
    EXPECT_EQ(pos.key, before.pos.key ^ 1);
    EXPECT_EQ(pos.fifty, before.pos.fifty + 1);
    EXPECT_EQ(board->history.current_move, NO_MOVE);
    make_null_move(pos);
    EXPECT_EQ(pos.key, before.pos.key);
    EXPECT_EQ(board->history.ply, before.ply + 2);
    unmake_null_move(pos);
    unmake_null_move(pos);
    expect_restored(*board, before);
}

constexpr const char *KNIGHT_TOUR[] = {"g1f3", "g8f6", "f3g1", "f6g8"};

void shuffle_knights(Position &pos, int plies) {
    for (int i = 0; i < plies; ++i) make_move(pos, parse_coordinates(pos, KNIGHT_TOUR[i % 4]));
}

TEST(History, ClockStopsAtItsLargestValue) {
    const auto board = make_test_position();
    Position &pos = board->pos;
    shuffle_knights(pos, 255);
    EXPECT_EQ(pos.fifty, 255);
    make_move(pos, parse_coordinates(pos, KNIGHT_TOUR[3]));
    EXPECT_EQ(pos.fifty, 255);
    make_null_move(pos);
    EXPECT_EQ(pos.fifty, 255);
    unmake_null_move(pos);
    make_move(pos, parse_coordinates(pos, "a2a3"));
    EXPECT_EQ(pos.fifty, 0);
    unmake_move(pos);
    unmake_move(pos);
    EXPECT_EQ(pos.fifty, 255);
    unmake_move(pos);
    EXPECT_EQ(pos.fifty, 254);
}

TEST(History, HoldsTheLongestGameAndASearch) {
    const auto board = make_test_position();
    const Snapshot before = snapshot(*board);
    constexpr int PLIES = MAX_GAME_MOVES + 70;
    shuffle_knights(board->pos, PLIES);
    EXPECT_EQ(board->history.undo_count, PLIES);
    EXPECT_EQ(board->history.ply, PLIES + 1);
    for (int i = 0; i < PLIES; ++i) unmake_move(board->pos);
    expect_restored(*board, before);
}

TEST(Repetitions, CountedBackToTheLastIrreversibleMove) {
    const struct {
        const char *what, *fen;
        std::vector<const char *> moves;  // an empty one passes
        int repetitions;
    } cases[] = {
        {"twice", "4k3/8/8/8/8/8/8/4K2R w - -", {"h1h2", "e8e7", "h2h1", "e7e8", "h1h2", "e8e7", "h2h1", "e7e8"}, 2},
        {"after six plies", "4k3/8/8/8/8/8/8/4K2R w - -", {"h1h2", "e8e7", "h2h3", "e7d8", "h3h1", "d8e8"}, 1},
        {"two passes are no repetition", "4k3/8/8/8/8/8/8/4K2R w - -", {"", ""}, 0},
        {"castling right lost", "4k3/8/8/8/8/8/8/4K2R w K -", {"h1h2", "e8e7", "h2h1", "e7e8"}, 0},
        {"en-passant square gone", "4k3/8/8/4P3/8/8/8/4K2R b - e3", {"e8e7", "h1h2", "e7e8", "h2h1"}, 0},
        {"pawn move between",
         "4k3/8/8/8/8/8/P7/4K2R w - -",
         {"h1h2", "e8e7", "h2h1", "e7e8", "a2a3", "e8e7", "h1h2", "e7e8", "h2h1"},
         1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const auto board = make_test_position(c.fen);
        for (const char *move : c.moves) {
            if (move[0] == '\0') {
                make_null_move(board->pos);
                continue;
            }
            const Move m = parse_coordinates(board->pos, move);
            ASSERT_NE(m, NO_MOVE) << move;
            make_move(board->pos, m);
        }
        EXPECT_EQ(count_repetitions(board->pos), c.repetitions);
    }
}

TEST(MoveTrace, SeesEveryMoveBeforeItIsMade) {
    const auto board = make_test_position();
    std::vector<std::string> traced;
    const auto tell = [](void *context, const Position &pos, Move m) {
        static_cast<std::vector<std::string> *>(context)->push_back(std::to_string(pos.history->ply) + ' ' +
                                                                    coordinates(m));
    };
    const MoveTrace trace{tell, &traced};
    board->history.trace = &trace;
    make_move(board->pos, parse_coordinates(board->pos, "e2e4"));
    make_null_move(board->pos);
    unmake_null_move(board->pos);
    unmake_move(board->pos);
    board->history.trace = nullptr;
    make_null_move(board->pos);
    EXPECT_EQ(traced, (std::vector<std::string>{"1 e2e4", "2 null"}));
}

}  // namespace
