// The search trace file.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <type_traits>

#include "board/makemove.h"
#include "board/notation.h"
#include "search/search.h"

namespace {

// The trace: the moves of all threads, and of the main thread's game, one after the other.
Relaxed<int> trace_level(0);
std::mutex trace_lock;  // guards what follows
std::FILE *trace_file = nullptr;
int last_ply = 0;
int last_iteration = -1;

constexpr int BLOCK = 9;  // columns of one move

// A position's history is the first member of its thread's record.
static_assert(offsetof(SearchThread, history) == 0);
const SearchThread &thread_of(const Position &pos) { return *reinterpret_cast<const SearchThread *>(pos.history); }

void write_trace(const Position &pos, Move m) {
    const std::lock_guard<std::mutex> guard(trace_lock);
    if (trace_file == nullptr) {
        trace_file = std::fopen("trace.txt", "w");
        if (trace_file == nullptr) std::_Exit(0);  // other threads may still be running
    }
    const SearchThread &thread = thread_of(pos);
    const int ply = thread.history.ply;
    if (ply < 1 || trace_level < ply) return;  // a game's moves that were taken back count below the first ply
    const int iteration = thread.iteration;
    const int depth =
        ply < PLY_RECORDS ? thread.plies[static_cast<std::size_t>(ply)].depth : 0;  // beyond: a game's moves
    if (iteration > last_iteration) std::fprintf(trace_file, "\n\nSEARCH DEPTH= %d\n", iteration);
    if (ply <= last_ply) std::fprintf(trace_file, "\n%*s", (ply - 1) * BLOCK, "");
    std::fprintf(trace_file, "(%2d)%s ", depth, move_to_text(m).c_str());
    last_ply = ply;
    last_iteration = iteration;
}

}  // namespace

void set_trace_level(int level) {
    trace_level = level;
    move_trace.store(level != 0 ? write_trace : nullptr, std::memory_order_relaxed);
}
