// The move picker against the move generator, in whatever state a node may leave it.
#include <gmock/gmock.h>

#include "engine_fixture.h"
#include "search/picker.h"

namespace {

// The same on every standard library: no distribution objects.
class Random {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    std::uint64_t bits() { return engine_(); }
    int below(int limit) { return static_cast<int>(engine_() % static_cast<std::uint64_t>(limit)); }

private:
    std::mt19937_64 engine_;
};

class PickerTest : public EngineTest {
protected:
    // Fills killers, counter moves, follow-ups and history with anything.
    void disturb(SearchThread &thread, Random &random) {
        PlyRecord &record = thread.plies[PLY];
        const std::vector<MoveEntry> legal = legal_moves(pos);
        const auto any_move = [&] {
            return random.below(2) == 0 || legal.empty() ? static_cast<Move>(random.bits())
                                                         : legal[random.below(static_cast<int>(legal.size()))].move;
        };
        for (Move *m : {&record.killer1, &record.killer2, &record.check_killer}) *m = any_move();
        for (MoveEntry &entry : path)
            entry = {any_move(), static_cast<Piece>(random.below(16)), static_cast<Piece>(random.below(16))};
        if (random.below(4) == 0) path[random.below(2)].move = NO_MOVE;
        OrderingTables &ordering = thread.ordering;
        for (auto &slot : ordering.countermove)
            for (auto &piece : slot) std::generate(std::begin(piece), std::end(piece), any_move);
        for (auto &piece : ordering.followup) std::generate(std::begin(piece), std::end(piece), any_move);
        for (auto &slice : ordering.history)
            for (auto &piece : slice)
                std::generate(std::begin(piece), std::end(piece),
                              [&] { return static_cast<std::uint16_t>(random.below(HISTORY_MAX + 1)); });
    }

    SearchThread &enter(const std::string &fen) {
        set_fen(pos, fen);
        SearchThread &thread = prepare_thread(engine);
        thread.history.ply = PLY;
        PlyRecord &record = thread.plies[PLY];
        record.list = record.current = thread.move_stack.data();
        record.checker = checker_of(pos, pos.side);
        record.hash_move = record.killer1 = record.killer2 = record.check_killer = NO_MOVE;
        thread.ordering = {};
        for (int i = 0; i < 2; ++i) thread.plies[PLY - 1 - i].current = &path[i];
        return thread;
    }

    // The legal ones among the moves that the picker hands out.
    std::vector<Move> pick(SearchThread &thread) {
        PlyRecord &record = thread.plies[PLY];
        const Pins pins(pos, pos.side, record.in_check());
        std::vector<Move> picked;
        start_picking(record, PickKind::ALL);
        while (const MoveEntry *entry = pick_next(thread, PLY)) {
            EXPECT_EQ(entry->piece, pos.board[from_square(entry->move)]);
            EXPECT_EQ(entry->captured, pos.board[to_square(entry->move)]);
            if (is_legal(pos, pos.side, entry->move, pins)) picked.push_back(entry->move);
        }
        return picked;
    }

    static constexpr int PLY = 3;
    std::array<MoveEntry, 2> path{};
};

}  // namespace

// The move loop gets every legal move once and the hash move first.
TEST_F(PickerTest, DeliversTheLegalMoves) {
    std::vector<std::string> fens = random_game_fens(61, short_run() ? 4 : 40, 160, 3);
    fens.push_back("n1n1k1n1/PPPPPPPP/8/8/8/8/pppppppp/N1N1K1N1 w - -");
    fens.push_back("8/8/8/K2pP2r/8/8/8/4k3 w - d6");
    Random random(62);
    for (const std::string &fen : fens) {
        SCOPED_TRACE(fen);
        SearchThread &thread = enter(fen);
        disturb(thread, random);
        PlyRecord &record = thread.plies[PLY];
        std::vector<Move> legal{NO_MOVE};  // some moves are a hash move once, and no move is
        for (const MoveEntry &entry : legal_moves(pos)) legal.push_back(entry.move);
        for (std::size_t i = 0; i < legal.size(); i += 1 + static_cast<std::size_t>(random.below(5))) {
            record.hash_move = legal[i];
            const std::vector<Move> picked = pick(thread);
            ASSERT_THAT(picked, testing::UnorderedElementsAreArray(legal.begin() + 1, legal.end()));
            ASSERT_EQ(picked.front(), i > 0 ? legal[i] : picked.front());
        }
    }
}

// A move of the table that cannot be played in the position is none: the node goes its way as without the entry, whose
// bound would cut it.
TEST_F(PickerTest, GarbageInTheTableIsNoMove) {
    Random random(64);
    for (const std::string &fen : random_game_fens(65, short_run() ? 1 : 10, 120, 5)) {
        std::array<std::string, 2> results;
        const auto garbage = static_cast<Move>(random.bits());
        for (const bool stored : {false, true}) {
            SearchThread &thread = enter(fen);
            if (is_pseudo_legal(pos, garbage, pos.side)) continue;
            engine.shared.stop_flag = STOP_NONE;
            clear_table(engine.shared);
            if (stored) tt_store(engine.shared.table, pos, PLY, 9, garbage, 3000, 0, 1);
            Line pv{};
            results[stored] = std::to_string(search_node(thread, PLY, 2, 0, 1, CUT_NODE, pv));
            results[stored] += ' ' + std::to_string(thread.nodes) + ' ' + coordinates(pv[PLY]);
        }
        EXPECT_EQ(results[0], results[1]) << coordinates(garbage) << ' ' << fen;
    }
}
