// Iterative deepening and the root moves.
#include <algorithm>
#include <cstdlib>

#include "base/output.h"
#include "board/checks.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "fathom/tbcore.h"
#include "platform/clock.h"
#include "search/picker.h"
#include "search/report.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/timing.h"
#include "search/tt.h"

namespace {

constexpr int ROOT_PLY = 1;
constexpr int OPEN_BOUND = 5000;  // aspiration bounds beyond this become infinite
constexpr int RERUN_DEPTH = 6;    // re-runs from this iteration on
constexpr int RERUN_HASH_MB = 4;
constexpr int SKIP_DEPTH = 7;        // secondary threads may skip iterations from here on
constexpr double SLOW_SEARCH = 3.5;  // seconds before currmove lines appear
constexpr int SLOW_RATE = 10000;     // nodes per second below which the first windows are narrow
constexpr int UNSEARCHED_SCORE =
    -11000;  // ordering score of root moves that have not beaten the window, less their rank

std::uint32_t next_random(std::uint32_t state) { return state * 19375 + 987654321; }

bool is_main(const SearchThread &thread) { return thread.index == 0; }

void set_iteration(SearchThread &thread, int depth) {
    thread.iteration = static_cast<std::uint8_t>(depth);
    thread.eval.iteration = depth;
}

void set_line(SearchThread &thread, Move first, const Line &rest, int score) {
    thread.line[1] = first;
    std::size_t i = 2;
    for (; i < PV_SIZE && rest[i] != NO_MOVE; ++i) thread.line[i] = rest[i];
    if (i < PV_SIZE) thread.line[i] = NO_MOVE;
    thread.score = static_cast<std::int16_t>(score);
}

void reset_ordering(SearchThread &thread) {
    for (auto &by_type : thread.ordering.history)
        for (auto &by_piece : by_type)
            std::fill(std::begin(by_piece), std::end(by_piece), static_cast<std::uint16_t>(HISTORY_START));
    std::fill_n(&thread.ordering.countermove[0][0][0], 2 * 16 * 64, NO_MOVE);
    std::fill_n(&thread.ordering.followup[0][0], 16 * 64, NO_MOVE);
    for (PlyRecord &record : thread.plies)
        record.hash_move = record.killer1 = record.killer2 = record.check_killer = NO_MOVE;
}

void initialise_root(SearchThread &thread) {
    PlyRecord &root = thread.plies[ROOT_PLY];
    MoveEntry *list = root.list;
    root = PlyRecord{};
    root.alpha = -INFINITE;
    root.beta = INFINITE;
    root.checker = NO_SQUARE;
    root.tb_result = -1;
    root.list = root.current = list;
    if (is_main(thread)) search_shared.seed = next_random(static_cast<std::uint32_t>(wall_clock_seconds()));
    thread.random_state = next_random(static_cast<std::uint32_t>(wall_clock_seconds()));

    Position &pos = thread.position;
    const Colour side = pos.side;
    root.checker = static_cast<std::uint8_t>(checker_of(pos, side));
    root.in_check = root.checker != NO_SQUARE;
    EvalDisplay *display = is_main(thread) && display_evaluation ? &eval_display : nullptr;
    if (display != nullptr) *display = {};
    thread.root_eval =
        static_cast<std::int16_t>(evaluate(pos, thread.eval, side, ROOT_PLY, root.in_check != 0, root.eval, display));
    thread.score = thread.root_eval;
    root.static_eval = thread.root_eval;
    thread.plies[0].static_eval = static_cast<std::int16_t>(-thread.root_eval);
}

void generate_root_moves(SearchThread &thread) {
    Position &pos = thread.position;
    PlyRecord &root = thread.plies[ROOT_PLY];
    MoveEntry *end = gen_moves(pos, pos.side, root.list, root.checker);
    end =
        std::remove_if(root.list, end, [&pos](const MoveEntry &entry) { return !is_legal(pos, pos.side, entry.move); });
    terminate_list(end);
    close_list(thread, ROOT_PLY, end);
    thread.root_count = static_cast<int>(end - root.list);
}

// One search of the root moves at one depth.
class RootSearch {
public:
    RootSearch(SearchThread &thread, int depth, int first)
        : thread_(thread),
          pos_(thread.position),
          root_(thread.plies[ROOT_PLY]),
          side_(pos_.side),
          depth_(depth),
          first_(first),
          single_line_(search_shared.pv_lines == 1) {}

    void run() {
        open();
        for (int i = first_; i < thread_.root_count; ++i) {
            root_.current = root_.list + i;
            select_best(root_.current);
            MoveEntry &entry = *root_.current;
            const std::array<Relaxed<Move>, PV_SIZE> saved_line = thread_.line;
            const std::int16_t saved_score = thread_.score;
            show_current_move(entry);
            start_move(entry);

            make_move(pos_, entry.move);
            int lower = best_;
            int score = 0;
            if (root_.moves_searched == 0 || (depth_ == 1 && target_nps > SLOW_RATE))
                score = aspiration_search(entry, lower);
            else
                score = null_window_search(entry);
            unmake_move(pos_);
            thread_.aspiration = ASPIRATION_NONE;

            if (stop_flag != STOP_NONE) {
                publish_interrupted();
                return;
            }
            thread_.line = saved_line;
            thread_.score = saved_score;
            ++root_.moves_searched;
            if (score > lower) entry.score = static_cast<std::int16_t>(score);
            if (score > best_) accept(i, score);
        }
        if (is_main(thread_) && single_line_ && depth_ == 1) {
            update_elapsed();
            if (progress_due() && thread_.line[1] != NO_MOVE)
                print_search_line(0, 1, depth_, thread_.score, plain_line(thread_.line));
        }
    }

private:
    void open() {
        thread_.aspiration = ASPIRATION_NONE;
        root_.depth = static_cast<std::int16_t>(depth_);
        root_.moves_searched = 0;
        const int previous = thread_.score;
        if (depth_ == 1)
            window_ = INFINITE;
        else if (depth_ == 2)
            window_ = 100;
        else
            window_ = std::max(20, (15 - depth_) * 4) + std::abs(previous) / 16;
        if (target_nps < SLOW_RATE && depth_ <= 2) window_ = 60;
        alpha_ = previous - window_ <= -OPEN_BOUND - 1 ? -INFINITE : previous - window_;
        beta_ = previous + window_ >= OPEN_BOUND + 1 ? INFINITE : previous + window_;
        late_threshold_ = previous <= -9566 ? -9600 : previous - 35;
    }

    void show_current_move(const MoveEntry &entry) {
        if (!is_main(thread_) || first_ != 0 || uci_mode != 1 || search_shared.elapsed <= SLOW_SEARCH ||
            search_shared.elapsed <= noise)
            return;
        const std::lock_guard<std::mutex> guard(search_output_lock);
        if (root_.moves_searched == 0) {
            const auto nodes = static_cast<double>(sum_thread_stats().nodes);
            const double elapsed = search_shared.elapsed;
            print_format("info depth %d time %.0f nodes %.0f nps %.0f hashfull %.0f", search_shared.iteration.load(),
                         elapsed * 1000.0, nodes, nodes / elapsed, hash_fill() * 1000.0);
        }
        if (search_shared.multi_pv == 1)
            print_format("info currmove %s currmovenumber %d", squares_of(entry.move).c_str(),
                         root_.moves_searched + 1);
    }

    void start_move(MoveEntry &entry) {
        root_.move_flags = classify_move(pos_, side_, entry, CheckSquares(pos_, side_));
        entry.score = static_cast<std::int16_t>(UNSEARCHED_SCORE - root_.moves_searched);
        root_.search_mode = 0;
        const bool late = depth_ > 5 && root_.moves_searched > 4 && root_.in_check == 0 && best_ > late_threshold_ &&
                          (root_.move_flags & QUIET_MASK) == 0 && pos_.nonpawn_material[side_] > 0 &&
                          (pos_.material[side_] & 15) != 0;
        root_.reduction = late ? 1 : 0;
    }

    // The node after a root move.
    int search_root_move(int depth, int alpha, int beta, NodeType type) {
        return -search_node(thread_, opponent(side_), ROOT_PLY + 1, depth, alpha, beta, type, child_);
    }

    // The move alone becomes the thread's line while it fails high or low.
    void note_failure(const MoveEntry &entry, int score, AspirationState state, bool show) {
        thread_.aspiration = state;
        constexpr Line NOTHING{};
        set_line(thread_, entry.move, NOTHING, score);
        if (!is_main(thread_) || !single_line_ || depth_ <= 3 || !show) return;
        update_elapsed();
        if (progress_due()) print_search_line(0, 1, depth_, score, plain_line(thread_.line));
    }

    // First moves: a window around the previous score, widened until the score falls inside.
    int aspiration_search(const MoveEntry &entry, int &lower) {
        int a = alpha_;
        int b = beta_;
        int step = window_;
        int score = search_root_move(depth_ - 1, -b, -a, PV_NODE);
        while ((score <= a || score >= b) && stop_flag == STOP_NONE) {
            const bool failed_low = score < b;
            note_failure(entry, score, failed_low ? FAILING_LOW : FAILING_HIGH, true);
            step = std::max(25, 2 * step);
            const int unclamped = failed_low ? a - step : b + step;
            if (failed_low)
                a = unclamped < -OPEN_BOUND ? -INFINITE : unclamped;
            else
                b = unclamped > OPEN_BOUND ? INFINITE : unclamped;
            score = search_root_move(depth_ - 1, -b, -a, PV_NODE);
            if (failed_low && score <= a && unclamped <= MATE_THRESHOLD - 1 && step >= 151 && single_line_ &&
                thread_.rerun == RERUN_ARMED) {
                thread_.rerun = RERUN_NOW;
                break;
            }
        }
        lower = a;
        return score;
    }

    // Later moves: prove that they are no better than the best, or find out how much better.
    int null_window_search(MoveEntry &entry) {
        int upper = best_ + 1 > OPEN_BOUND ? INFINITE : best_ + 1;
        root_.search_mode = 1;
        int score = search_root_move(depth_ - 1 - root_.reduction, -upper, -best_, CUT_NODE);
        int step = 1;
        while (score >= upper && stop_flag == STOP_NONE) {
            if (is_main(thread_)) root_result.change_depth = static_cast<std::int8_t>(depth_);
            entry.score = static_cast<std::int16_t>(best_ - 1);
            note_failure(entry, score, FAILING_HIGH, step > 19);
            step = std::max(25, 2 * step);
            upper = upper + step > OPEN_BOUND ? INFINITE : upper + step;
            root_.reduction = 0;
            root_.search_mode = 2;
            score = search_root_move(depth_ - 1, -upper, -best_, PV_NODE);
        }
        return score;
    }

    // An interrupted iteration counts only when it has found something clearly better.
    void publish_interrupted() {
        if (!is_main(thread_) || thread_.score <= root_result.score + 24 || thread_.line[1] == root_result.pv[1] ||
            root_result.score > MATE_THRESHOLD - 1)
            return;
        thread_.best_depth = static_cast<std::int8_t>(depth_);
        publish_best(thread_);
    }

    // The new best move goes to the front of the remaining list.
    void accept(int index, int score) {
        best_ = score;
        thread_.best_depth = static_cast<std::int8_t>(depth_);
        set_line(thread_, root_.list[index].move, child_, score);
        if (is_main(thread_) && first_ == 0) publish_best(thread_);
        std::rotate(root_.list + first_, root_.list + index, root_.list + index + 1);
    }

    SearchThread &thread_;
    Position &pos_;
    PlyRecord &root_;
    Colour side_;
    int depth_;
    int first_;
    bool single_line_;
    int window_ = 0;
    int alpha_ = -INFINITE;
    int beta_ = INFINITE;
    int late_threshold_ = 0;
    int best_ = -INFINITE;
    Line child_{};
};

void root_search(SearchThread &thread, int depth, int first) { RootSearch(thread, depth, first).run(); }

// A secondary thread leaves a depth that most threads have reached.
bool most_threads_reached(int depth) {
    int reached = 0;
    for (int i = 0; i < thread_count(); ++i) reached += search_thread_at(i).iteration >= depth;
    return 2 * reached > thread_count();
}

void perturb_root_order(SearchThread &thread) {
    for (int i = 1; i < thread.root_count; ++i) {
        thread.random_state = next_random(thread.random_state);
        MoveEntry &entry = thread.plies[ROOT_PLY].list[i];
        entry.score = static_cast<std::int16_t>(entry.score - static_cast<int>(thread.random_state % 24));
    }
}

void print_multi_pv_line(SearchThread &thread, int line, int depth) {
    if (!is_main(thread) || search_shared.pv_lines <= 1) return;
    update_elapsed();
    if (progress_due() && thread.line[1] != NO_MOVE)
        print_search_line(0, line, depth, thread.score, plain_line(thread.line));
}

bool deepening_ends(const SearchThread &thread, int depth) {
    const int score = root_result.score;
    return score >= MATE - 1 - depth || score < depth - (MATE - 1) || depth >= max_depth ||
           thread.history.undo_count + depth > HISTORY_DEPTH_LIMIT || depth + 1 > PLY_RECORDS - 2;
}

void deepen(SearchThread &thread) {
    for (int depth = 1;; ++depth) {
        // The depth of this thread
        if (is_main(thread))
            search_shared.iteration = static_cast<std::uint8_t>(depth);
        else if (depth >= SKIP_DEPTH && depth < max_depth && search_shared.pv_lines == 1 && most_threads_reached(depth))
            ++depth;
        set_iteration(thread, depth);
        const bool rerun =
            depth >= RERUN_DEPTH && search_shared.hash_megabytes >= RERUN_HASH_MB && search_shared.pv_lines == 1;
        thread.rerun = rerun ? RERUN_ARMED : RERUN_OFF;
        if (!is_main(thread)) perturb_root_order(thread);

        // The lines of this iteration
        for (int line = 1; line <= search_shared.pv_lines && line <= thread.root_count; ++line) {
            root_search(thread, depth, line - 1);
            if (stop_flag != STOP_NONE) break;
            print_multi_pv_line(thread, line, depth);
        }
        {
            const std::lock_guard<std::mutex> guard(stats_lock);
            search_shared.nodes_by_depth[static_cast<std::size_t>(depth)] += thread.nodes;
        }
        if (stop_flag != STOP_NONE) return;
        if (thread.rerun == RERUN_NOW) {
            root_search(thread, depth, 0);
            if (stop_flag != STOP_NONE) return;
        }
        if (is_main(thread)) {
            update_elapsed();
            search_shared.last_iteration = depth;
        }
        if (deepening_ends(thread, depth)) return;
    }
}

// The root has no legal move: mated or stalemated.
void report_no_move(SearchThread &thread) {
    set_iteration(thread, 1);
    thread.best_depth = 1;
    constexpr Line NOTHING{};
    set_line(thread, NO_MOVE, NOTHING, thread.plies[ROOT_PLY].in_check != 0 ? 1 - MATE : 0);
    if (is_main(thread)) {
        publish_best(thread);
        stop_flag = STOP_NO_MOVE;
    }
}

bool is_root_move(const SearchThread &thread, Move m) {
    const MoveEntry *list = thread.plies[ROOT_PLY].list;
    return std::any_of(list, list + thread.root_count, [m](const MoveEntry &entry) { return entry.move == m; });
}

// Asks the tablebases. When the fifty-move clock runs already, their move is the result: true. Otherwise the search goes
// on, and keeps to lines that hold the tablebase result.
bool play_from_tablebases(SearchThread &thread) {
    constexpr int LATE_CLOCK = 10;
    constexpr int DEEP_PROBE = 70;
    constexpr int TB_LINE_DEPTH = 99;
    const Position &pos = thread.position;
    if (popcount(pos.occupied()) > tb_largest || pos.castling != 0) return false;
    TbRoot root = tb_probe_root(pos);
    if (root.result == NO_TB_RESULT) root.result = tb_probe_search(pos, DEEP_PROBE, search_shared.tb_depths);
    search_shared.root_tb_result = root.result;
    thread.plies[ROOT_PLY].tb_result = root.result;
    if (root.move == NO_MOVE || pos.fifty < LATE_CLOCK || !is_root_move(thread, root.move)) return false;
    ++thread.tb_hits;
    constexpr Line NOTHING{};
    const int score = root.result == TB_WIN ? TB_WIN_SCORE - ROOT_PLY : root.result == TB_LOSS ? -TB_WIN_SCORE : 0;
    set_line(thread, root.move, NOTHING, score);
    thread.best_depth = TB_LINE_DEPTH;
    publish_best(thread);
    stop_flag = STOP_REPORT;
    return true;
}

// A search of depth 0 gives the quiescence score of the root.
void search_quiescence_only(SearchThread &thread) {
    if (!is_main(thread) || thread.plies[ROOT_PLY].in_check != 0) return;
    Line pv{};
    const int score = quiesce(thread, thread.position.side, ROOT_PLY, 0, -INFINITE, INFINITE, PV_NODE, pv);
    root_result.score = static_cast<std::int16_t>(score);
}

}  // namespace

void search_thread(SearchThread &thread) {
    refresh_eval_caches(thread.eval);
    if (!is_main(thread)) {
        while (search_shared.iteration <= 1 && stop_flag == STOP_NONE) sleep_ms(1);
        if (stop_flag != STOP_NONE) return;
    }
    reset_ordering(thread);
    initialise_root(thread);
    generate_root_moves(thread);
    if (thread.root_count == 0) {
        report_no_move(thread);
        return;
    }
    if (max_depth < 1) {
        search_quiescence_only(thread);
        if (is_main(thread) && stop_flag == STOP_NONE) stop_flag = STOP_REPORT;
        return;
    }
    score_root_moves(thread, thread.plies[ROOT_PLY].list);
    if (is_main(thread) && thread.root_count == 1) search_shared.single_reply = 1;

    if (is_main(thread)) {
        if (play_from_tablebases(thread)) return;
    } else if (search_shared.root_tb_result != NO_TB_RESULT) {
        return;
    }
    deepen(thread);
    if (is_main(thread) && stop_flag == STOP_NONE) stop_flag = STOP_REPORT;
}
