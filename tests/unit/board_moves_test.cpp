#include <set>

#include "board/exchange.h"
#include "test_support.h"

namespace {

std::string listed(const MoveEntry *begin, const MoveEntry *end) {
    std::string all;
    for (; begin != end; ++begin) all += (all.empty() ? "" : " ") + coordinates(begin->move);
    return all.empty() ? "-" : all;
}

// What follows a move and its clock, whether it gives check, its exchange, and its texts.
TEST(Moves, InEveryRespect) {
    check_rows("board/moves.tsv", 3, [](const auto &row) {
        const auto board = make_test_position(row[1]);
        Position &pos = board->pos;
        pos.fifty = 10;
        const std::string before = state_of(pos);
        const Colour side = pos.side;
        const Move m = parse_coordinates(pos, row[2]);
        const Square from = from_square(m);
        const Square to = to_square(m);
        const MoveEntry entry{m, pos.board[from], pos.board[to]};
        const int check = gives_check(pos, side, entry);
        EXPECT_EQ(gives_check(pos, side, entry, CheckSquares(pos, side)), check);
        const int value = see_value(pos, side, from, to, false);
        EXPECT_EQ(see_value(pos, side, from, to, true), std::max(value, 0));
        EXPECT_TRUE(see_at_least(pos, from, to, value));
        EXPECT_FALSE(see_at_least(pos, from, to, value + 1));
        const int least = see_value(pos, side, NO_SQUARE, to, true);
        const std::string exchange = fields(value, see_ok(pos, m), see_reply(pos, from, to), least);
        const MoveTexts texts = move_to_san(pos, m);
        EXPECT_EQ(parse_move(pos, texts[0]).move, m);
        EXPECT_EQ(is_pseudo_legal(pos, m, side), type_of(entry.captured) != KING);
        make_move(pos, m);
        const std::string after = fields(get_fen(pos), int{pos.fifty});
        EXPECT_TRUE(is_consistent(pos));
        unmake_move(pos);
        EXPECT_EQ(state_of(pos), before);
        return fields(after, check, exchange, texts[0], texts[1], texts[2], texts[3]);
    });
}

// The order in which the generators list moves, with a target or without, and the words that a stored move may consist of
// although no generator lists them (or, after '!', the other way round).
TEST(Moves, Generated) {
    check_rows("board/generators.tsv", 3, [](const auto &row) {
        const auto board = make_test_position(row[1]);
        const Position &pos = board->pos;
        const Square target = row[2] == "-" ? NO_SQUARE : make_square(row[2][0] - 'a', row[2][1] - '1');
        MoveList list;
        const std::string captures = listed(list.data(), gen_captures(pos, pos.side, list.data(), target));
        const std::string promotions = listed(list.data(), gen_promotions(pos, pos.side, true, list.data()));
        const std::string quiets = listed(list.data(), gen_quiets(pos, pos.side, list.data(), target));

        std::string stored;
        for (const Colour side : {WHITE, BLACK}) {
            std::set<Move> known;
            const MoveEntry *end = gen_moves(pos, side, list.data(), NO_SQUARE);
            for (const MoveEntry *entry = list.data(); entry != end; ++entry)
                if (type_of(entry->captured) != KING) known.insert(entry->move);
            for (int word = 0; word < 65536; ++word) {
                const Move m = static_cast<Move>(word);
                if (popcount(m & PROMOTE_ANY) > 1 || is_pseudo_legal(pos, m, side) == known.contains(m)) continue;
                stored += (known.contains(m) ? " !" : " ") + coordinates(m);
            }
        }
        return fields(captures, promotions, quiets, listed(list.data(), gen_legal(pos, list.data())),
                      stored.empty() ? "-" : stored.substr(1));
    });
}

TEST(Moves, Typed) {
    check_rows("board/typed_moves.tsv", 2, [](const auto &row) {
        const ParsedMove parsed = parse_move(make_test_position(row[0])->pos, row[1]);
        EXPECT_EQ(parsed.found(), parsed.matches == 1);
        return fields(parsed.matches, coordinates(parsed.move));
    });
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

// The larger counts would take too long, above all with assertions.
TEST(MovePaths, MatchKnownCounts) {
#ifdef NDEBUG
    const std::uint64_t largest = short_run() ? 20'000 : 200'000;
#else
    const std::uint64_t largest = 20'000;
#endif
    std::ifstream file(test_data("perft/perft.epd"));
    int counts = 0;
    for (std::string line; std::getline(file, line);) {
        const auto board = make_test_position();
        // Not a few castle from other squares than ours.
        if (set_fen(board->pos, line.substr(0, line.find(';'))).rights_dropped) continue;
        std::istringstream rest(line.substr(line.find(';')));
        const std::string before = state_of(board->pos);
        std::uint64_t expected = 0;
        for (std::string depth; rest >> depth >> expected;) {
            if (expected >= largest) continue;
            ++counts;
            ASSERT_EQ(count_paths(board->pos, std::stoi(depth.substr(2))), expected) << line << " at " << depth;
        }
        ASSERT_EQ(state_of(board->pos), before);
    }
    EXPECT_GT(counts, 500);
}

}  // namespace
