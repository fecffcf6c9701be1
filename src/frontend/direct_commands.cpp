#include "frontend/direct_commands.h"

#include <memory>
#include <string>

#include "base/output.h"
#include "board/attacks.h"
#include "board/notation.h"
#include "engine/options.h"
#include "eval/display.h"
#include "eval/tunables.h"
#include "frontend/reporters.h"
#include "platform/clock.h"
#include "search/threads.h"

namespace {

void say_counted(std::uint64_t count, double seconds) {
    constexpr double NEVER_ZERO = 0.001;  // seconds
    const auto nodes = static_cast<double>(count);
    print_format("visited %0.0f nodes in %0.3f seconds, nps= %0.0f", nodes, seconds, nodes / (seconds + NEVER_ZERO));
}

Bitboard checking_pieces(const Position &pos) {
    if (pos.of(pos.side, KING) == 0) return 0;
    const Colour them = opponent(pos.side);
    const Square king = pos.king_square[pos.side];
    const Bitboard queens = pos.of(them, QUEEN);
    return (knight_attacks(king) & pos.of(them, KNIGHT)) | (pawn_attacks(pos.side, king) & pos.of(them, PAWN)) |
           (rook_attacks(king, pos.occupied()) & (pos.of(them, ROOK) | queens)) |
           (bishop_attacks(king, pos.occupied()) & (pos.of(them, BISHOP) | queens));
}

// Long work that a later word can end. What a script has sent along with its command waits for the end of the work.
struct InterruptibleWork {
    FrontEnd &front;
    double start = monotonic_seconds();
    std::size_t sent_along = front.input.size();
};

bool told_to_stop(void *context) {
    constexpr double SENT_ALONG = 0.1;  // seconds
    InterruptibleWork &work = *static_cast<InterruptibleWork *>(context);
    if (monotonic_seconds() - work.start >= SENT_ALONG) return is_told_to_stop(work.front, work.sent_along);
    poll_input(work.front.input, 0);
    work.sent_along = work.front.input.size();
    return false;
}

}  // namespace

bool begin_direct_search(FrontEnd &front, const SearchLimits &limits) {
    if (const std::string_view reason = unsearchable_reason(front.engine); !reason.empty()) {
        print_line("cannot search this position: " + std::string(reason));
        return false;
    }
    end_search(front);
    begin_search(front.engine, limits, REQUEST_ANALYSIS);
    return true;
}

void show_evaluation(FrontEnd &front) {
    Engine &engine = front.engine;
    SearchLimits limits = present_limits(front);
    limits.max_depth = 0;
    limits.show_evaluation = true;
    if (!begin_direct_search(front, limits)) return;
    engine.shared.display = {};
    search_here(engine);
    const SearchResult result = finish_search(engine);
    print_line(evaluation_text(engine.game.position, engine.shared.display, result.root_eval, result.score));
}

std::string evaluation_parameters_text(Engine &engine) {
    const EvalWeights &weights = engine.settings.weights;
    EvalTables tables;
    derive_eval_tables(weights, tables);
    std::string text = eval_params_text(tables);
    const std::string changed = changed_weights_text(weights);
    if (!changed.empty()) text += "changed weights:\n" + changed + "\n";
    return text;
}

void count_paths(FrontEnd &front, int depth) {
    if (!begin_direct_search(front, present_limits(front))) return;
    SearchThread &thread = prepare_thread(front.engine);
    const double start = monotonic_seconds();
    perft(thread, ROOT_PLY, depth);
    say_counted(thread.nodes, monotonic_seconds() - start);
    finish_search(front.engine);
}

void count_paths_by_move(FrontEnd &front, int depth) {
    if (!begin_direct_search(front, present_limits(front))) return;
    SearchThread &thread = prepare_thread(front.engine);
    const auto counted = [](void *, Move move, std::uint64_t nodes) {
        print_format("%s: %.0f", move_to_text(move, PromotionStyle::LOWER_CASE).c_str(), static_cast<double>(nodes));
    };
    InterruptibleWork work{front};
    const bool finished = perft_by_move(thread, depth, {counted, told_to_stop, &work});
    if (!finished) print_line("stopped early");
    say_counted(thread.nodes, monotonic_seconds() - work.start);
    finish_search(front.engine);
}

void show_position_details(const Position &pos) {
    std::string checkers;
    const Bitboard giving_check = checking_pieces(pos);
    for (const Square s : ALL_SQUARES)
        if ((giving_check & bit(s)) != 0) checkers += " " + std::string(square_name(s));
    const std::string key = format_line("key %08x%08x\n", static_cast<unsigned>(pos.key >> 32),
                                        static_cast<unsigned>(pos.key & 0xFFFFFFFF));
    print_line(board_text(pos) + key + "checkers" + (checkers.empty() ? " none" : checkers));
}

void run_benchmark_between_searches(FrontEnd &front, int depth) {
    Engine &engine = front.engine;
    Game &game = engine.game;
    const Position position = game.position;
    const auto history = std::make_unique<MoveHistory>(game.history);
    ToolRun run = tool_run(front);
    run.limits = front.start_limits;
    if (depth > 0) run.limits.max_depth = depth;
    InterruptibleWork work{front};
    run.wants_to_end = told_to_stop;
    run.context = &work;
    constexpr int POSITIONS = 20;
    run_benchmark(run, POSITIONS, false);
    game.position = position;
    game.history = *history;
    clear_table_if_idle(engine.shared);
}
