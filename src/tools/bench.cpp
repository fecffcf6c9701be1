// The benchmark.
#include <memory>

#include "base/output.h"
#include "base/progress.h"
#include "base/version.h"
#include "search/threads.h"
#include "tools/screen.h"
#include "tools/tool_search.h"

namespace {

constexpr const char *POSITIONS[] = {
    "r1bqkb1r/pp1ppppp/2n2n2/8/3NP3/2N5/PPP2PPP/R1BQKB1R b KQkq -",
    "1n5k/3q3p/pp1p2pB/5r2/1PP1Qp2/P6P/6P1/2R3K1 w - -",
    "1r1qbr1k/4bp1p/p3p2Q/3pP3/2pP4/P1N1PN2/1PR2RP1/6K1 b - -",
    "2r1q2k/7p/p1np1P1P/8/1pP2R2/8/PP1Q4/R1KN2r1 b - -",
    "r2r2k1/5pp1/2bPp3/p1N4p/1qQ5/2P2P2/BP4PP/1K1R4 b - -",
    "5r1k/5rp1/p1n1p1qp/2P1p3/P7/4QN1P/5PP1/2R1R2K w - -",
    "2r3k1/1pq1b1p1/p1b1pr1p/8/PP2pP2/2P1B3/4B1PP/RQR4K w - -",
    "1r3b2/3R2pk/6q1/3Q1p2/p6P/4B2P/1P3P1K/8 w - -",
    "r2r2k1/6bp/1P2q1p1/4pp2/p1N5/2Q5/PPR3PP/4R2K b - -",
    "2r1q2k/7p/p1np1P1P/8/1pP2R2/8/PP1Q4/R1KN2r1 b - -",
    "r1bq1r1k/p1pnbpp1/1p2p3/6p1/3PB3/5N2/PPPQ1PPP/2KR3R w - - ",
    "r1b2rk1/1p1nbppp/pq1p4/3B4/P2NP3/2N1p3/1PP3PP/R2Q1R1K w - -",
    "r3r1kb/1npb1p1p/2q2np1/4p1B1/ppP1P2Q/1P2RNNP/P1B2PP1/3R2K1 w - -",
    "2rr3k/2qnbppp/p1n1p3/1p1pP3/3P1N2/1Q1BBP2/PP3P1P/1KR3R1 w - -",
    "3q1r1k/1b3ppp/p1n5/1p1pPB2/2rP4/P6N/1P2Q1PP/R4RK1 w - -",
    "r1b1k2r/1p1pppb1/p5pp/3P4/q2p1B2/3P1Q2/PPP2PPP/R3R1K1 w kq -",
    "R4bk1/2Bbp2p/2p2pp1/1rPp4/3P4/4P2P/4BPPK/1q1Q4 w - -",
    "r2q1rk1/5ppp/3b4/1nnP2P1/1Q3BbP/Pp4N1/1P4B1/1KN2R1R b - -",
    "r7/5pk1/5p2/2p5/pp6/1P1B1KPN/P6P/8 b - -",
    "r2q3r/1p1bbQ2/4p1Bk/3pP3/1n1P1P1p/pP6/Pn4PP/R1B1R1K1 w - -",
};
constexpr int DEFAULT_DEPTH = 17;
constexpr int DEEPEST = 40;
constexpr double SECONDS_PER_POSITION = 99.0;
constexpr double FIRST_SECONDS = 0.01;  // the total is never 0

// To the default depth whatever the limits say.
SearchResult search_position_here(ToolRun &run) {
    run.limits.max_depth = DEFAULT_DEPTH;
    const SearchResult result = search_in_this_thread(run);
    look_for_wish(run);
    return result;
}

}  // namespace

BenchResult run_benchmark(ToolRun &run, int count, bool in_this_thread) {
    SearchLimits &limits = run.limits;
    limits.time_per_move = SECONDS_PER_POSITION;
    limits.noise = NO_PROGRESS_LINES;
    if (limits.max_depth > DEEPEST) limits.max_depth = DEFAULT_DEPTH;
    say(format_line("%s running benchmark using %d threads\n", ENGINE_NAME, run.engine.shared.pool.size));
    BenchResult total{0.0, FIRST_SECONDS};
    Progress progress("positions");
    for (int i = 0; i < count && !run.stopped; ++i) {
        set_fen(run.engine.game.position, POSITIONS[i]);
        clear_table_if_idle(run.engine.shared);
        const SearchResult result = in_this_thread ? search_position_here(run) : search_with_all_threads(run, 1);
        total.nodes += static_cast<double>(result.stats.nodes);
        total.seconds += result.elapsed;
        progress.finish();
        say(format_line("pos %2d: %6.2f seconds\n", i, result.elapsed));
        progress.update(i + 1, i + 1, count);
    }
    progress.finish();
    say(format_line("total time= %0.2f seconds, nodes= %.0f, nps= %.0f\n", total.seconds, total.nodes,
                    total.nodes / total.seconds));
    return total;
}

std::uint64_t benchmark_nodes(const EvalWeights &weights, int depth) {
    const auto engine = std::make_unique<Engine>();
    Settings settings;
    settings.weights = weights;
    if (start_engine(*engine, settings, Reporter{}) != 0) return 0;
    SearchLimits limits;
    limits.max_depth = depth;
    limits.time_per_move = SECONDS_PER_POSITION;
    limits.noise = NO_PROGRESS_LINES;
    std::uint64_t nodes = 0;
    for (const char *position : POSITIONS) {
        set_fen(engine->game.position, position);
        clear_table_if_idle(engine->shared);
        nodes += search(*engine, limits).stats.nodes;
    }
    return nodes;
}

void run_tester_benchmark(ToolRun &run, int count) {
    constexpr int DEPTH = 16;  // takes seconds: long enough to tell a speed
    if (run.limits.max_depth > DEEPEST) run.limits.max_depth = DEPTH;
    const BenchResult total = run_benchmark(run, count, false);
    say(format_line("%.0f nodes %.0f nps\n", total.nodes, total.nodes / total.seconds));
}
