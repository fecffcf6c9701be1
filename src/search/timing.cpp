#include "search/timing.h"

#include <cmath>

#include "platform/clock.h"
#include "search/search.h"
#include "search/threads.h"

void update_elapsed(SearchShared &shared) { shared.elapsed = monotonic_seconds() - shared.start; }

void check_time(SearchShared &shared) {
    update_elapsed(shared);
    const int depth = shared.iteration;
    const double elapsed = shared.elapsed;
    if (shared.stop_flag != STOP_NONE || shared.search_state == REQUEST_PONDER || shared.clock_rests || depth < 2 ||
        elapsed < shared.plan.first_check)
        return;
    std::array<ThreadProgress, MAX_THREADS> progress;
    const int count = shared.pool.size;
    for (int i = 0; i < count; ++i) {
        const SearchThread &thread = search_thread_at(shared.pool, i);
        const int aspiration = thread.aspiration;
        progress[i] = {thread.eval.iteration, thread.score, thread.line[1], aspiration == FAILING_LOW,
                       aspiration == FAILING_HIGH};
    }
    const RootResult &result = shared.result;
    const ClockState state{elapsed,
                           depth,
                           result.score,
                           result.score_by_depth[depth - 1],
                           result.pv[1],
                           result.change_depth,
                           shared.single_reply != 0,
                           {progress.data(), static_cast<std::size_t>(count)}};
    if (time_is_up(shared.plan, state))
        shared.stop_flag = shared.search_state == REQUEST_SEARCH ? STOP_REPORT : STOP_ABANDON;
}

double branching_factor(SearchShared &shared) {
    constexpr int FEWEST = 6;  // iterations
    constexpr int SPAN = 4;    // iterations over which the growth is taken
    constexpr double UNKNOWN = 2.0;
    const int last = shared.last_iteration;
    const std::lock_guard<std::mutex> guard(shared.stats_lock);
    if (last < FEWEST) return UNKNOWN;
    const auto now = static_cast<double>(shared.nodes_by_depth[last]);
    const auto before = static_cast<double>(shared.nodes_by_depth[last - SPAN]);
    return now == 0.0 || before == 0.0 ? UNKNOWN : std::pow(now / before, 1.0 / SPAN);
}
