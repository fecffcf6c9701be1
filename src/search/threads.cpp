#include "search/threads.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <new>
#include <system_error>
#include <vector>

#include "base/output.h"
#include "platform/clock.h"
#include "platform/topology.h"

namespace {

constexpr int NUMA_THRESHOLD = 32;  // threads beyond which each one is bound to a node
constexpr int HEAD_START_MS = 5;    // of thread 0
constexpr int RANDOM_STEP = 123;    // between the threads' random states
constexpr std::uint64_t NO_NODE_LIMIT = std::uint64_t{1} << 62;

void trace_thread_move(void *context, const Position &, Move move) {
    SearchThread &thread = *static_cast<SearchThread *>(context);
    SearchShared &shared = *thread.shared;
    const int ply = thread.history.ply;
    const int depth = ply >= 0 && ply < PLY_RECORDS ? thread.plies[ply].depth : 0;
    if (write_trace(shared.trace, {ply, thread.eval.iteration, depth, move})) return;
    set_trace_level(shared, 0);
    shared.reporter.fail(Failure::TRACE_FILE, "cannot create trace.txt");
}

void initialise_record(SearchThread &thread, SearchShared &shared, int index) {
    thread.index = index;
    thread.shared = &shared;
    thread.eval.tables = &shared.eval_tables;
    thread.position.history = &thread.history;
    thread.position.ep_square = NO_SQUARE;
    thread.trace = {trace_thread_move, &thread};
    thread.history.trace = shared.trace.level != 0 ? &thread.trace : nullptr;
    thread.random_state = static_cast<std::uint32_t>(index) * RANDOM_STEP;
    for (PlyRecord &record : thread.plies) {
        record.list = record.current = thread.move_stack.data();
        record.checker = NO_SQUARE;
    }
    thread.plies[ROOT_PLY].list = thread.plies[ROOT_PLY].current = thread.move_stack.data() + 1;
}

void finish_command(SearchThread &thread, ThreadCommand answer) {
    const ThreadPool &pool = thread.shared->pool;
    const std::lock_guard<std::mutex> lock(pool.idle_lock);
    thread.command.store(answer, std::memory_order_release);
    if (busy_threads(pool) == 0) pool.all_idle.notify_all();
}

void carry_out_commands(SearchThread &thread) {
    while (true) {
        {
            std::unique_lock<std::mutex> lock(thread.command_lock);
            thread.command_given.wait(lock, [&thread] { return thread.command.load() != COMMAND_IDLE; });
        }
        switch (thread.command.load(std::memory_order_acquire)) {
        case COMMAND_SEARCH:
            search_thread(thread);
            finish_command(thread, COMMAND_IDLE);
            break;
        case COMMAND_CLEAR_HASH:
            tt_clear_slice(thread.shared->table, thread.index, thread.shared->pool.size);
            finish_command(thread, COMMAND_IDLE);
            break;
        case COMMAND_TERMINATE: finish_command(thread, COMMAND_TERMINATED); return;
        default: break;
        }
    }
}

// `node`: the NUMA node to run on, or -1 for any.
void thread_main(SearchShared &shared, int index, int node) {
    ThreadPool::Entry &entry = shared.pool.entries[static_cast<std::size_t>(index)];
    if (node >= 0) bind_to_node(node);
    // Allocated and zeroed by its own thread, so that its memory lies on that thread's node.
    std::unique_ptr<SearchThread> record(new (std::nothrow) SearchThread());
    if (record == nullptr) {
        entry.failed.store(true, std::memory_order_release);
        return;
    }
    SearchThread &thread = *record;
    initialise_record(thread, shared, index);
    entry.record.store(record.release(), std::memory_order_release);
    carry_out_commands(thread);
}

void give_command(SearchThread &thread, ThreadCommand command) {
    {
        const std::lock_guard<std::mutex> lock(thread.command_lock);
        thread.command.store(command, std::memory_order_release);
    }
    thread.command_given.notify_one();
}

// Thread `index` of `count`. 0, or the system's error code.
int create_thread(SearchShared &shared, int index, int count, int node) {
    ThreadPool::Entry &entry = shared.pool.entries[static_cast<std::size_t>(index)];
    entry.failed = false;
    try {
        entry.thread = Thread(thread_main, std::ref(shared), index, node);
        return 0;
    } catch (const std::system_error &failure) {
        shared.reporter.say(format_line("info string cannot start search thread %d of %d", index + 1, count));
        return failure.code().value() != 0 ? failure.code().value() : 1;
    }
}

}  // namespace

int start_threads(SearchShared &shared, int count) {
    ThreadPool &pool = shared.pool;
    const std::vector<int> nodes = count > NUMA_THRESHOLD ? placement_list(read_topology()) : std::vector<int>{};
    int error = 0;
    pool.size = count;
    for (int i = 0; i < count && error == 0; ++i) {
        error = create_thread(shared, i, count, numa_node_for_thread(nodes, i));
        if (error != 0) pool.size = i;
    }
    for (int i = 0; i < pool.size; ++i) {
        const ThreadPool::Entry &entry = pool.entries[static_cast<std::size_t>(i)];
        while (entry.record.load(std::memory_order_acquire) == nullptr && !entry.failed.load(std::memory_order_acquire))
            sleep_ms(0);
        if (entry.failed && error == 0) {
            error = 1;
            shared.reporter.say(format_line("info string not enough memory for search thread %d of %d", i + 1, count));
        }
    }
    if (error != 0) stop_threads(shared);
    return error;
}

void stop_threads(SearchShared &shared) {
    ThreadPool &pool = shared.pool;
    shared.stop_flag = STOP_SHUTDOWN;
    wait_until_idle(pool);
    for (int i = 0; i < pool.size; ++i) {
        ThreadPool::Entry &entry = pool.entries[static_cast<std::size_t>(i)];
        SearchThread *record = entry.record.load(std::memory_order_acquire);
        if (record != nullptr) give_command(*record, COMMAND_TERMINATE);
        if (entry.thread.joinable()) entry.thread.join();
        delete record;
        entry.record = nullptr;
    }
    pool.size = 0;
}

void prepare_threads(SearchShared &shared, const Position &game) {
    const MoveHistory &history = *game.history;
    for (int i = 0; i < shared.pool.size; ++i) {
        SearchThread &thread = search_thread_at(shared.pool, i);
        thread.position = game;
        thread.position.history = &thread.history;
        std::copy_n(history.undo.begin(), history.undo_count, thread.history.undo.begin());
        thread.history.undo_count = history.undo_count;
        thread.history.ply = ROOT_PLY;
        thread.history.current_move = history.current_move;
        thread.nodes = thread.tb_hits = thread.hash_probes = thread.hash_hits = 0;
        thread.eval.evaluations = thread.eval.cache_hits = thread.eval.pawn_probes = thread.eval.pawn_hits = 0;
        thread.eval.iteration = 0;
        thread.best_depth = 0;
        thread.selective_depth = 0;
        thread.null_depth = 0;
        thread.aspiration = ASPIRATION_NONE;
        thread.line[1] = NO_MOVE;
        thread.node_budget = shared.node_limit > 0 ? static_cast<std::uint64_t>(shared.node_limit) : NO_NODE_LIMIT;
    }
}

// The check extension reads the flags of the last move at a ply, which may be one of an earlier search.
void forget_searches(SearchShared &shared) {
    for (int i = 0; i < shared.pool.size; ++i)
        for (PlyRecord &record : search_thread_at(shared.pool, i).plies) record.move_flags = 0;
}

void start_search_threads(SearchShared &shared) {
    const ThreadPool &pool = shared.pool;
    for (int i = 0; i < pool.size; ++i) {
        give_command(search_thread_at(pool, i), COMMAND_SEARCH);
        if (i == 0 && pool.size > 1) sleep_ms(HEAD_START_MS);
    }
}

int busy_threads(const ThreadPool &pool) {
    int busy = 0;
    for (int i = 0; i < pool.size; ++i) {
        const SearchThread *record = pool.entries[static_cast<std::size_t>(i)].record.load(std::memory_order_acquire);
        busy += record != nullptr && record->command.load(std::memory_order_acquire) != COMMAND_IDLE;
    }
    return busy;
}

void wait_until_idle(const ThreadPool &pool) {
    std::unique_lock<std::mutex> lock(pool.idle_lock);
    pool.all_idle.wait(lock, [&pool] { return busy_threads(pool) == 0; });
}

void wait_until_idle(const ThreadPool &pool, int milliseconds) {
    std::unique_lock<std::mutex> lock(pool.idle_lock);
    pool.all_idle.wait_for(lock, std::chrono::milliseconds(milliseconds), [&pool] { return busy_threads(pool) == 0; });
}

void clear_table(SearchShared &shared) {
    const ThreadPool &pool = shared.pool;
    tt_pause_warming(shared.table);
    if (pool.size <= 1) {
        tt_clear_slice(shared.table, 0, 1);
    } else {
        for (int i = 0; i < pool.size; ++i) give_command(search_thread_at(pool, i), COMMAND_CLEAR_HASH);
        wait_until_idle(pool);
    }
    tt_resume_warming(shared.table);
}

void clear_table_if_idle(SearchShared &shared) {
    const TranspositionTable &table = shared.table;
    if (table.entries != nullptr && table.enabled != 0 && busy_threads(shared.pool) == 0 && !table.fresh)
        clear_table(shared);
}

void warm_table(SearchShared &shared) {
    // Beyond that each page is to lie on the node of the thread that needs it first.
    if (shared.table.entries != nullptr && shared.pool.size <= NUMA_THRESHOLD) tt_warm(shared.table);
}

void set_trace_level(SearchShared &shared, int level) {
    shared.trace.level = level;
    for (int i = 0; i < shared.pool.size; ++i) {
        SearchThread &thread = search_thread_at(shared.pool, i);
        thread.history.trace = level != 0 ? &thread.trace : nullptr;
    }
}

ThreadStats sum_thread_stats(const ThreadPool &pool) {
    ThreadStats total{};
    for (int i = 0; i < pool.size; ++i) {
        const SearchThread &thread = search_thread_at(pool, i);
        total.nodes += thread.nodes;
        total.tb_hits += thread.tb_hits;
        total.hash_probes += thread.hash_probes;
        total.hash_hits += thread.hash_hits;
        total.evaluations += thread.eval.evaluations;
        total.eval_hits += thread.eval.cache_hits;
        total.pawn_probes += thread.eval.pawn_probes;
        total.pawn_hits += thread.eval.pawn_hits;
    }
    return total;
}
