// The pool of search threads: what the secondary ones do, and what all of them share.
#include <thread>

#include "engine_fixture.h"
#include "platform/clock.h"
#include "search/picker.h"

namespace {

std::uint32_t next_random(std::uint32_t state) { return state * 19375 + 987654321; }

class ThreadsTest : public EngineTest {
protected:
    void start(int threads) { apply_option(engine, "Threads", std::to_string(threads)); }
    SearchThread &record(int index) { return search_thread_at(shared.pool, index); }

    // For what a secondary thread does in a search, done here, when thread 0 has reached an iteration.
    SearchThread &prepare_secondary(int depth, int main_iteration = 2) {
        limits.max_depth = depth;
        begin_search(engine, limits, REQUEST_SEARCH);
        clear_table(shared);
        prepare_threads(shared, pos);
        shared.iteration = static_cast<std::uint8_t>(main_iteration);
        shared.result.score = 0;
        return record(shared.pool.size - 1);
    }

    SearchShared &shared = engine.shared;
};

}  // namespace

// A depth that more than half of the threads have reached is left out, from the seventh on. Nothing is published.
TEST_F(ThreadsTest, SecondaryThreadsSkipDepths) {
    const struct {
        std::vector<int> others;  // depths of the other threads
        int max_depth, lines;
        const char *depths;
    } cases[] = {
        {{9, 9, 9}, 12, 1, " 1 2 3 4 5 6 8 10 11 12"},
        {{9, 9, 6}, 12, 1, " 1 2 3 4 5 6 7 8 9 10 11 12"},
        {{9, 9, 7}, 10, 1, " 1 2 3 4 5 6 8 9 10"},
        {{9, 9, 9}, 7, 1, " 1 2 3 4 5 6 7"},
        {{9, 9, 9}, 8, 1, " 1 2 3 4 5 6 8"},
        {{9, 9, 9}, 9, 2, " 1 2 3 4 5 6 7 8 9"},
        {{9}, 9, 1, " 1 2 3 4 5 6 7 8 9"},
        {{9, 9}, 9, 1, " 1 2 3 4 5 6 8 9"},
        {{9, 0}, 9, 1, " 1 2 3 4 5 6 7 8 9"},
    };
    set_fen(pos, "8/1p3kp1/8/8/2P5/6PP/1P3K2/8 w - -");
    for (const auto &c : cases) {
        start(static_cast<int>(c.others.size()) + 1);
        engine.settings.MultiPV = static_cast<std::int16_t>(c.lines);
        SearchThread &secondary = prepare_secondary(c.max_depth);
        for (int i = 0; i < static_cast<int>(c.others.size()); ++i)
            record(i).eval.iteration = static_cast<std::uint8_t>(c.others[i]);
        search_thread(secondary);
        std::string depths;
        for (std::size_t depth = 0; depth < shared.nodes_by_depth.size(); ++depth)
            if (shared.nodes_by_depth[depth] != 0) depths += ' ' + std::to_string(depth);
        EXPECT_EQ(depths, c.depths) << c.others.size() << " others, the last at " << c.others.back();
        EXPECT_EQ(shared.result.pv[1] + shared.result.depth + shared.result.change_depth + shared.last_iteration, 0);
        EXPECT_EQ(std::tie(shared.iteration, shared.stop_flag), std::make_tuple(2, STOP_NONE));
    }
    for (const auto &[fen, known] :
         {std::pair{"k7/2Q5/8/8/8/8/8/K7 b - -", NO_TB_RESULT}, {"7k/8/8/8/8/8/8/K7 w - -", TB_DRAW}}) {
        set_fen(pos, fen);  // stalemate, or a result that thread 0 has found in a table
        SearchThread &secondary = prepare_secondary(4);
        shared.root_tb_result = known;
        search_thread(secondary);
        EXPECT_EQ(secondary.nodes + shared.stop_flag + shared.single_reply, 0U);
    }
}

// All root moves but the first lose up to 23 points of their ordering scores, by random numbers that begin with the time.
TEST_F(ThreadsTest, SecondaryThreadsPerturbTheRootOrder) {
    start(2);
    SearchThread &secondary = prepare_secondary(0);
    search_thread(secondary);  // generates the moves
    PlyRecord &root = secondary.plies[ROOT_PLY];
    score_root_moves(secondary);
    const int count = secondary.root_count;
    ASSERT_EQ(count, 20);
    std::vector<std::pair<Move, int>> scored;
    for (const MoveEntry *entry = root.list; entry != root.list + count; ++entry)
        scored.emplace_back(entry->move, *secondary.score_of(entry));

    const std::int64_t before = wall_clock_seconds();
    prepare_secondary(1);
    shared.target_nps = 9999.0;  // null windows at the first depth: the order searched remains to be seen
    shared.start -= 1000.0;
    shared.elapsed = 1000.0;
    search_thread(secondary);
    bool seed_found = false;
    for (std::int64_t second = before; second <= wall_clock_seconds(); ++second) {
        std::uint32_t random = next_random(static_cast<std::uint32_t>(second));
        std::vector<std::pair<Move, int>> order = scored;
        for (int i = 1; i < count; ++i) {
            random = next_random(random);
            order[i].second -= static_cast<int>(random % 24);
        }
        if (random != secondary.random_state) continue;
        seed_found = true;
        int in_order = 0;
        for (int i = 0; i < count; ++i) {
            std::iter_swap(order.begin() + i, std::max_element(order.begin() + i, order.end(),
                                                               [](auto &a, auto &b) { return a.second < b.second; }));
            for (const MoveEntry *entry = root.list; entry != root.list + count; ++entry) {
                if (*secondary.score_of(entry) != -11000 - i)
                    continue;  // a move that was better has a score of its own
                EXPECT_EQ(entry->move, order[i].first) << i;
                ++in_order;
            }
        }
        EXPECT_GE(in_order, count / 2);
    }
    EXPECT_TRUE(seed_found);
}

TEST_F(ThreadsTest, SecondaryThreadsStartAfterTheFirstIteration) {
    start(2);
    SearchThread &secondary = prepare_secondary(2, 1);
    secondary.root_count = -1;
    shared.stop_flag = STOP_REPORT;
    search_thread(secondary);
    EXPECT_EQ(secondary.root_count, -1);
    shared.stop_flag = STOP_NONE;
    std::thread searching([&secondary] { search_thread(secondary); });
    sleep_ms(30);
    EXPECT_EQ(secondary.nodes, 0U);
    shared.iteration = 2;
    searching.join();
    EXPECT_GT(secondary.nodes, 0U);
}

TEST_F(ThreadsTest, CountersAreSummedAndReset) {
    start(2);
    for (std::uint64_t i = 0, bit = 1; i < 2; ++i, bit <<= 32) {
        SearchThread &thread = record(static_cast<int>(i));
        thread.nodes = bit, thread.tb_hits = 2 * bit, thread.hash_probes = 3 * bit, thread.hash_hits = 4 * bit;
        thread.eval.evaluations = 5 * bit, thread.eval.cache_hits = 6 * bit;
        thread.eval.pawn_probes = 7 * bit, thread.eval.pawn_hits = 8 * bit;
    }
    for (const std::uint64_t of_both : {std::uint64_t{0x100000001}, std::uint64_t{0}}) {
        const ThreadStats sum = sum_thread_stats(shared.pool);
        const std::uint64_t sums[] = {sum.nodes,       sum.tb_hits,   sum.hash_probes, sum.hash_hits,
                                      sum.evaluations, sum.eval_hits, sum.pawn_probes, sum.pawn_hits};
        for (std::uint64_t i = 0; i < 8; ++i) EXPECT_EQ(sums[i], (i + 1) * of_both) << i;
        prepare_threads(shared, pos);
    }
}

// Also where the warmer has not got to the end of the table, or has not begun.
TEST_F(ThreadsTest, AllThreadsClearTheTable) {
    TranspositionTable &table = shared.table;
    const auto clears = [&] {
        for (std::size_t i = 0; i < table.count + 16; ++i) table.entries[i].data_word = i + 1;
        clear_table_if_idle(shared);
        return std::all_of(table.entries, table.entries + table.count + 16, [](auto &e) { return e.data_word == 0; });
    };
    for (const int threads : {1, 2, 3, 7}) {
        start(threads);
        search_to_depth(1);
        for (const std::size_t reached : {0U, 131072U, 262144U, 262160U}) {
            tt_pause_warming(table);
            table.cold = table.count + 16 - reached;
            EXPECT_TRUE(clears()) << threads << ' ' << reached;
        }
    }
    record(6).command.store(50);  // none that it knows
    EXPECT_FALSE(clears());
    record(6).command.store(COMMAND_IDLE);
    shared.table.enabled = 0;
    EXPECT_FALSE(clears());
    stop_threads(shared);
    EXPECT_EQ(shared.pool.size, 0);
    EXPECT_EQ(shared.stop_flag, STOP_SHUTDOWN);
}

TEST_F(ThreadsTest, SecondaryThreadsPublishNothing) {
    start(2);
    SearchThread &secondary = prepare_secondary(4);
    search_thread(secondary);
    EXPECT_NE(secondary.line[1], NO_MOVE);
    EXPECT_EQ(secondary.best_depth, 4);
    EXPECT_EQ(shared.result.pv[1], NO_MOVE);
    EXPECT_EQ(shared.result.depth, 0);
    EXPECT_EQ(shared.last_iteration, 0);
    EXPECT_EQ(shared.iteration, 2);
    EXPECT_EQ(shared.stop_flag, STOP_NONE);
    EXPECT_EQ(secondary.plies[0].static_eval, -secondary.root_eval);

    prepare_secondary(4).line[1] = NO_MOVE;
    shared.root_tb_result = TB_DRAW;  // known to thread 0: nothing to search
    search_thread(secondary);
    EXPECT_EQ(secondary.nodes, 0U);

    set_fen(pos, "7k/8/8/8/8/8/6q1/K6r w - -");
    prepare_secondary(4);
    search_thread(secondary);
    EXPECT_EQ(shared.single_reply, 0);
    set_fen(pos, "k7/2Q5/8/8/8/8/8/K7 b - -");
    prepare_secondary(4);
    search_thread(secondary);
    EXPECT_EQ(shared.stop_flag, STOP_NONE);
}

TEST_F(ThreadsTest, ThreadZeroHasAHeadStart) {
    for (const int threads : {1, 2}) {
        start(threads);
        bool at_once = false;
        for (int round = 0; round < (threads == 1 ? 50 : 3) && !at_once; ++round) {
            prepare_secondary(1, 1);
            const double began = monotonic_seconds();
            start_search_threads(shared);
            at_once = monotonic_seconds() - began < 0.005;
            wait_until_idle(shared.pool);
        }
        EXPECT_EQ(at_once, threads == 1);
    }
}

TEST_F(ThreadsTest, EveryThreadGetsTheGame) {
    start(2);
    play("e2e4 e7e5 g1f3");
    const MoveHistory &game = engine.game.history;
    SearchThread &last = record(1);
    for (const std::int64_t budget : {0, 1, 5000}) {
        last.history.ply = 9;
        last.history.current_move = last.line[1] = 9;
        last.eval.iteration = last.selective_depth = last.aspiration = 9;
        last.best_depth = last.null_depth = 9;
        shared.node_limit = budget;
        prepare_threads(shared, pos);
        EXPECT_EQ(get_fen(last.position), get_fen(pos));
        EXPECT_EQ(last.position.key, pos.key);
        EXPECT_EQ(last.position.history, &last.history);
        EXPECT_EQ(last.history.undo_count, 3);
        for (int ply = 0; ply < 3; ++ply) EXPECT_EQ(last.history.undo[ply].key, game.undo[ply].key);
        EXPECT_EQ(last.history.ply, ROOT_PLY);
        EXPECT_EQ(last.history.current_move, game.current_move);
        EXPECT_EQ(last.eval.iteration + last.best_depth + last.null_depth + last.selective_depth, 0);
        EXPECT_EQ(last.aspiration + last.line[1], 0);
        EXPECT_EQ(last.node_budget, budget > 0 ? static_cast<std::uint64_t>(budget) : std::uint64_t{1} << 62);
    }
}
