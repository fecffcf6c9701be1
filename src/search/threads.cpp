#include "search/threads.h"

#include <algorithm>
#include <memory>
#include <new>
#include <system_error>
#include <thread>

#include "base/output.h"
#include "platform/clock.h"
#include "platform/topology.h"
#include "search/tt.h"

SearchThread *game = nullptr;

namespace {

constexpr int NUMA_THRESHOLD = 32;  // threads beyond which each one is bound to a node
constexpr std::uint64_t NO_NODE_LIMIT = std::uint64_t{1} << 62;

struct PoolEntry {
    std::atomic<SearchThread *> record{nullptr};
    std::atomic<bool> failed{false};
    std::thread thread;
};

// The pool. Main thread, but for `record` and `failed`, which each thread sets once.
std::array<PoolEntry, MAX_THREADS> pool;
int pool_size = 0;

void initialise_record(SearchThread &thread, int index) {
    thread.index = index;
    thread.position.history = &thread.history;
    thread.position.ep_square = NO_SQUARE;
    thread.random_state = static_cast<std::uint32_t>(index) * 123;
    for (PlyRecord &record : thread.plies) {
        record.list = record.current = thread.move_stack.data();
        record.checker = NO_SQUARE;
    }
    thread.plies[1].list = thread.plies[1].current = thread.move_stack.data() + 1;
}

void finish_command(SearchThread &thread, ThreadCommand answer) {
    thread.command.store(answer, std::memory_order_release);
    thread.command.notify_all();
}

void thread_main(int index, bool bind) {
    PoolEntry &entry = pool[static_cast<std::size_t>(index)];
    if (bind)
        if (const int node = numa_node_for_thread(index); node >= 0) bind_to_node(node);
    // Allocated and zeroed by its own thread, so that its memory lies on that thread's node.
    std::unique_ptr<SearchThread> record(new (std::nothrow) SearchThread());
    if (record == nullptr) {
        entry.failed.store(true, std::memory_order_release);
        return;
    }
    SearchThread &thread = *record;
    initialise_record(thread, index);
    entry.record.store(record.release(), std::memory_order_release);

    while (true) {
        thread.command.wait(COMMAND_IDLE, std::memory_order_acquire);
        switch (thread.command.load(std::memory_order_acquire)) {
        case COMMAND_SEARCH:
            search_thread(thread);
            finish_command(thread, COMMAND_IDLE);
            break;
        case COMMAND_CLEAR_HASH:
            tt_clear_slice(index, pool_size);
            finish_command(thread, COMMAND_IDLE);
            break;
        case COMMAND_TERMINATE: finish_command(thread, COMMAND_TERMINATED); return;
        default: break;
        }
    }
}

void give_command(SearchThread &thread, ThreadCommand command) {
    thread.command.store(command, std::memory_order_release);
    thread.command.notify_all();
}

}  // namespace

bool allocate_game() {
    game = new (std::nothrow) SearchThread();
    if (game == nullptr) return false;
    initialise_record(*game, 0);
    return true;
}

void free_game() {
    delete game;
    game = nullptr;
}

int start_threads(int count) {
    pool_size = count;
    int error = 0;
    for (int i = 0; i < count && error == 0; ++i) {
        PoolEntry &entry = pool[static_cast<std::size_t>(i)];
        entry.failed = false;
        try {
            entry.thread = std::thread(thread_main, i, count > NUMA_THRESHOLD);
        } catch (const std::system_error &failure) {
            error = failure.code().value() != 0 ? failure.code().value() : 1;
            print_format("info string cannot start search thread %d of %d", i + 1, count);
            pool_size = i;
        }
    }
    for (int i = 0; i < pool_size; ++i) {
        PoolEntry &entry = pool[static_cast<std::size_t>(i)];
        while (entry.record.load(std::memory_order_acquire) == nullptr && !entry.failed.load(std::memory_order_acquire))
            sleep_ms(0);
        if (entry.failed && error == 0) {
            error = 1;
            print_format("info string not enough memory for search thread %d of %d", i + 1, count);
        }
    }
    if (error != 0) stop_threads();
    return error;
}

void stop_threads() {
    stop_flag = STOP_SHUTDOWN;
    wait_until_idle();
    for (int i = 0; i < pool_size; ++i) {
        PoolEntry &entry = pool[static_cast<std::size_t>(i)];
        SearchThread *record = entry.record.load(std::memory_order_acquire);
        if (record != nullptr) give_command(*record, COMMAND_TERMINATE);
        if (entry.thread.joinable()) entry.thread.join();
        delete record;
        entry.record = nullptr;
    }
    pool_size = 0;
}

int thread_count() { return pool_size; }

SearchThread &search_thread_at(int index) {
    return *pool[static_cast<std::size_t>(index)].record.load(std::memory_order_relaxed);
}

void prepare_threads() {
    for (int i = 0; i < pool_size; ++i) {
        SearchThread &thread = search_thread_at(i);
        thread.position = game->position;
        thread.position.history = &thread.history;
        const MoveHistory &history = game->history;
        std::copy_n(history.undo.begin(), history.undo_count, thread.history.undo.begin());
        thread.history.undo_count = history.undo_count;
        thread.history.ply = 1;
        thread.history.current_move = history.current_move;
        thread.nodes = thread.tb_hits = thread.hash_probes = thread.hash_hits = 0;
        thread.eval.evaluations = thread.eval.cache_hits = thread.eval.pawn_probes = thread.eval.pawn_hits = 0;
        thread.eval.iteration = 0;
        thread.iteration = 0;
        thread.best_depth = 0;
        thread.selective_depth = 0;
        thread.null_depth = 0;
        thread.aspiration = ASPIRATION_NONE;
        thread.line[1] = NO_MOVE;
        thread.node_budget = node_limit > 0 ? static_cast<std::uint64_t>(node_limit) : NO_NODE_LIMIT;
    }
}

void start_search_threads() {
    prepare_threads();
    for (int i = 0; i < pool_size; ++i) {
        give_command(search_thread_at(i), COMMAND_SEARCH);
        if (i == 0 && pool_size > 1) sleep_ms(5);
    }
}

void iterate() {
    prepare_threads();
    search_thread(search_thread_at(0));
}

int busy_threads() {
    int busy = 0;
    for (int i = 0; i < pool_size; ++i) {
        const SearchThread *record = pool[static_cast<std::size_t>(i)].record.load(std::memory_order_acquire);
        busy += record != nullptr && record->command.load(std::memory_order_acquire) != COMMAND_IDLE;
    }
    return busy;
}

void wait_until_idle() {
    while (busy_threads() != 0) sleep_ms(1);
}

void clear_hash_in_parallel() {
    if (pool_size <= 1) {
        tt_clear_slice(0, 1);
        return;
    }
    for (int i = 0; i < pool_size; ++i) give_command(search_thread_at(i), COMMAND_CLEAR_HASH);
    wait_until_idle();
}

ThreadStats sum_thread_stats() {
    ThreadStats total{};
    for (int i = 0; i < pool_size; ++i) {
        const SearchThread &thread = search_thread_at(i);
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
