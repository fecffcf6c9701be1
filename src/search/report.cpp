#include "search/report.h"

#include "base/output.h"
#include "board/fen.h"
#include "board/notation.h"
#include "search/threads.h"
#include "search/timing.h"
#include "search/tt.h"

RootResult root_result;
SearchShared search_shared;
Relaxed<bool> display_evaluation(false);
std::mutex search_output_lock;
std::mutex stats_lock;

namespace {

constexpr int MATE_TEXT_SCORE = 9900;
constexpr int UCI_PV_MOVES = 66;

std::string score_text(int score) {
    if (score >= MATE_TEXT_SCORE) return format_line("mate %d", (MATE - score) / 2);
    if (score < -MATE_TEXT_SCORE) return format_line("mate -%d", (score + MATE + 1) / 2);
    return format_line("cp %d", score);
}

// A tablebase result at the root decides over any score but a mate that the search has seen.
int shown_score(int score) {
    switch (search_shared.root_tb_result) {
    case TB_WIN: return score > 9898 ? score : 9800;
    case TB_LOSS: return score < -9899 ? score : -9800;
    case TB_DRAW: return 0;
    default: return score;
    }
}

std::string uci_pv(const Line &pv) {
    std::string text;
    for (int i = 1; i <= UCI_PV_MOVES && pv[i] != NO_MOVE; ++i) {
        if (i > 1) text += ' ';
        text += move_to_text(pv[i]);
    }
    return text;
}

// At most 8 moves while the search runs; 32 after it, in lines of 8.
std::string console_pv(const Line &pv) {
    const int most = stop_flag != STOP_NONE ? 32 : 8;
    std::string text;
    for (int i = 1; i <= most && pv[i] != NO_MOVE; ++i) {
        if (i > 1) text += i == 9 || i == 17 ? '\n' + std::string(30, ' ') : " ";
        text += move_to_text(pv[i]);
    }
    return text;
}

}  // namespace

void show_board(const Position &pos) { print_line(board_text(pos)); }

bool progress_due() { return noise != NO_PROGRESS_LINES && search_shared.elapsed >= noise; }

Line plain_line(const std::array<Relaxed<Move>, PV_SIZE> &line) {
    Line plain{};
    for (std::size_t i = 1; i < PV_SIZE && (plain[i] = line[i]) != NO_MOVE; ++i) {
    }
    return plain;
}

void publish_best(SearchThread &thread) {
    const Move best = thread.line[1];
    const int score = thread.score;
    const int depth = thread.best_depth;
    if (best == root_result.pv[1] && score == root_result.score && depth == root_result.depth) return;
    if (best != root_result.pv[1]) root_result.change_depth = static_cast<std::int8_t>(depth);
    root_result.score = static_cast<std::int16_t>(score);
    root_result.depth = static_cast<std::int8_t>(depth);
    root_result.pv = thread.line;
    if (depth <= MAX_DEPTH) {
        root_result.score_by_depth[static_cast<std::size_t>(depth)] = static_cast<std::int16_t>(score);
        root_result.move_by_depth[static_cast<std::size_t>(depth)] = best;
    }
    if (depth > 1 && search_shared.pv_lines == 1) {
        update_elapsed();
        if ((stop_flag != STOP_NONE || search_shared.elapsed >= noise) && noise != NO_PROGRESS_LINES && best != NO_MOVE)
            print_search_line(0, 1, depth, score, plain_line(thread.line));
    }
}

void print_search_line(int thread_index, int line_number, int depth, int score, const Line &pv) {
    const std::lock_guard<std::mutex> guard(search_output_lock);
    const ThreadStats stats = sum_thread_stats();
    score = shown_score(score);
    const double fill = depth < 7 ? 0.0 : hash_fill();
    const double elapsed = search_shared.elapsed;
    const auto nodes = static_cast<double>(stats.nodes);
    const double rate = elapsed > 0.001 ? nodes / elapsed : 0.0;
    if (uci_mode == 1) {
        const std::string multipv = search_shared.multi_pv > 1 ? format_line("multipv %d ", line_number) : "";
        print_format(
            "info %sdepth %d seldepth %d score %s time %.0f nodes %.0f nps %.0f tbhits %.0f hashfull %.0f pv %s",
            multipv.c_str(), depth, search_thread_at(0).selective_depth - 1, score_text(score).c_str(),
            elapsed * 1000.0, nodes, rate, static_cast<double>(stats.tb_hits), fill * 1000.0, uci_pv(pv).c_str());
        return;
    }
    std::string line = format_line("%02d] %02d%c %5.1f %7.0fK %5d  %s", thread_index, depth,
                                   line_number > 0 ? '.' : ' ', elapsed, nodes / 1000.0, score, console_pv(pv).c_str());
    if (thread_index == 0 && line_number == search_shared.multi_pv) line += '\n';
    print_line(line);
}

void print_final_line() {
    const bool due = stop_flag != STOP_NONE || search_shared.elapsed >= noise;
    if (!due || noise == NO_PROGRESS_LINES || root_result.depth == 0 || root_result.pv[1] == NO_MOVE) return;
    print_search_line(0, 1, root_result.depth, root_result.score, plain_line(root_result.pv));
}
