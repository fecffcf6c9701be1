#include "frontend/reporters.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/output.h"
#include "base/text.h"
#include "board/notation.h"
#include "frontend/book_listing.h"
#include "search/search.h"
#include "search/threads.h"
#include "tools/screen.h"

namespace {

constexpr int MATE_TEXT_SCORE = 9900;
constexpr int UCI_PV_MOVES = 66;
constexpr int CONSOLE_PV_MOVES = 8;         // while the search runs;
constexpr int CONSOLE_FINAL_PV_MOVES = 32;  // after it, in lines of
constexpr int CONSOLE_PV_LINE = 8;          // so many, up to the third line
constexpr int CONSOLE_PV_LINES = 3;
constexpr std::size_t CONSOLE_PV_COLUMN = 30;
constexpr double MILLISECONDS = 1000.0;
constexpr double THOUSAND = 1000.0;
constexpr double PER_MILLE = 1000.0;
constexpr double PERCENT = 100.0;

FrontEnd &front_of(void *context) { return *static_cast<FrontEnd *>(context); }

std::string uci_move(Move m) { return move_to_text(m, PromotionStyle::LOWER_CASE); }
std::string console_move(Move m) { return move_to_text(m, PromotionStyle::EQUALS_SIGN); }

std::string bound_text(Bound bound) {
    return bound == BOUND_LOWER ? " lowerbound" : bound == BOUND_UPPER ? " upperbound" : "";
}

std::string score_text(int score) {
    if (score >= MATE_TEXT_SCORE) return format_line("mate %d", (MATE - score) / 2);
    if (score < -MATE_TEXT_SCORE) return format_line("mate -%d", (score + MATE + 1) / 2);
    return format_line("cp %d", score);
}

// --- UCI ---

std::string uci_pv(const Line &pv) {
    std::string text;
    for (int i = 1; i <= UCI_PV_MOVES && pv[i] != NO_MOVE; ++i) {
        if (i > 1) text += ' ';
        text += uci_move(pv[i]);
    }
    return text;
}

// To the letter bounds are told from scores, and promoted pieces are named.
void print_uci_line(const FrontEnd &front, const SearchLine &line) {
    const std::string score = score_text(line.score) + (front.strict ? bound_text(line.bound) : "");
    const std::string multipv = line.lines > 1 ? format_line("multipv %d ", line.number) : "";
    print_format("info %sdepth %d seldepth %d score %s time %.0f nodes %.0f nps %.0f tbhits %.0f hashfull %.0f pv %s",
                 multipv.c_str(), line.depth, line.selective_depth, score.c_str(), line.elapsed * MILLISECONDS,
                 line.nodes, line.nodes_per_second, line.tb_hits, line.hash_fill * PER_MILLE, uci_pv(line.pv).c_str());
}

void print_uci_current_move(const FrontEnd &front, const CurrentMove &current) {
    const std::string move = front.strict ? uci_move(current.move) : squares_of(current.move);
    if (current.number == 1)
        print_format("info depth %d time %.0f nodes %.0f nps %.0f hashfull %.0f", current.depth,
                     current.elapsed * MILLISECONDS, current.nodes, current.nodes_per_second,
                     current.hash_fill * PER_MILLE);
    if (current.lines == 1) print_format("info currmove %s currmovenumber %d", move.c_str(), current.number);
}

std::string uci_form(std::string_view line) {
    constexpr std::string_view WORDS[] = {"id", "option", "uciok", "readyok", "bestmove", "info"};
    std::string_view rest = line;
    const std::string_view word = next_word(rest);
    if (word.empty()) return {};
    const bool known = std::find(std::begin(WORDS), std::end(WORDS), word) != std::end(WORDS);
    return (known ? "" : "info string ") + std::string(line);
}

void log_plan(const Position &pos, const SearchPlan &plan) {
    log_line("info string fen " + get_fen(pos));
    log_line(format_line("info string ply= %d, trg_time= %0.3f sec", plan.game_ply, plan.target));
}

// --- Console ---

std::string console_pv(const SearchLine &line) {
    const int most = line.search_has_ended ? CONSOLE_FINAL_PV_MOVES : CONSOLE_PV_MOVES;
    std::string text;
    for (int i = 1; i <= most && line.pv[i] != NO_MOVE; ++i) {
        const int before = i - 1;
        const bool new_line = before % CONSOLE_PV_LINE == 0 && before / CONSOLE_PV_LINE < CONSOLE_PV_LINES;
        if (i > 1) text += new_line ? '\n' + std::string(CONSOLE_PV_COLUMN, ' ') : " ";
        text += console_move(line.pv[i]);
    }
    return text;
}

void print_console_line(const SearchLine &line) {
    std::string text = format_line("00] %02d. %5.1f %7.0fK %5d  %s", line.depth, line.elapsed, line.nodes / THOUSAND,
                                   line.score, console_pv(line).c_str());
    if (line.number == line.lines) text += '\n';
    print_line(text);
}

void print_plan(const Position &pos, const SearchPlan &plan) {
    print_line("fen " + get_fen(pos));
    print_format("Ply= %d, cnt50= %d, Clock= %0.2fs, Target time= %0.2fs", plan.game_ply, pos.fifty, plan.clock,
                 plan.target);
}

// --- The reporter's procedures ---

void search_line(void *context, const SearchLine &line) {
    if (front_of(context).uci)
        print_uci_line(front_of(context), line);
    else
        print_console_line(line);
}

void current_move(void *context, const CurrentMove &current) {
    if (front_of(context).uci) print_uci_current_move(front_of(context), current);
}

void planned(void *context, const Position &pos, const SearchPlan &plan) {
    if (front_of(context).uci)
        log_plan(pos, plan);
    else
        print_plan(pos, plan);
}

void evaluated(void *, const Position &pos, const EvalDisplay &display) {
    for (const Colour c : {WHITE, BLACK}) {
        const std::optional<int> danger = display.king_danger[c];
        if (!danger.has_value()) continue;
        show_board(pos);
        print_display(format_line("sq=%s, KD= %d\n", std::string(square_name(pos.king_square[c])).c_str(), *danger));
    }
}

void book_drawn(void *context, const BookDraw &draw) {
    const FrontEnd &front = front_of(context);
    print_book_draw(draw, front.uci ? BookProtocol::UCI : BookProtocol::CONSOLE, front.limits.noise);
}

void book_move(void *context, Move move) {
    print_format("%s book move is %s", front_of(context).uci ? "info string" : "", squares_of(move).c_str());
}

void search_interrupted(void *context, const SearchResult &result) { report_result(front_of(context), result); }

void tablebases_found(void *, std::size_t count) {
    print_display(format_line("info string found %zu tablebases\n", count));
}

void message(void *, std::string_view text) { print_line(text); }

void warning(void *, std::string_view text) { std::fwrite(text.data(), 1, text.size(), stderr); }

// Other threads may be running where the program is left with _Exit.
void failed(void *context, Failure failure, std::string_view text) {
    constexpr int FAILED_CHANGE = -1;
    // NOLINTBEGIN(concurrency-mt-unsafe): only the thread that reads the commands fails in these two ways
    switch (failure) {
    case Failure::THREADS: print_line(text); std::exit(FAILED_CHANGE);
    case Failure::HASH_TABLE: stop_threads(front_of(context).engine.shared); std::exit(FAILED_CHANGE);
    // NOLINTEND(concurrency-mt-unsafe)
    case Failure::TABLEBASE:
        std::fwrite(text.data(), 1, text.size(), stderr);
        std::fflush(nullptr);
        std::_Exit(1);
    case Failure::TRACE_FILE: std::_Exit(0);
    }
}

}  // namespace

Reporter make_reporter(FrontEnd &front) {
    Reporter reporter;
    reporter.context = &front;
    reporter.search_line = search_line;
    reporter.current_move = current_move;
    reporter.evaluated = evaluated;
    reporter.planned = planned;
    reporter.book_drawn = book_drawn;
    reporter.book_move = book_move;
    reporter.search_interrupted = search_interrupted;
    reporter.tablebases_found = tablebases_found;
    reporter.log_switched = [](void *, bool on) { enable_logging(on); };
    reporter.log_opened = [](void *, bool on) { return set_logging(on); };
    reporter.message = message;
    reporter.warning = warning;
    reporter.failed = failed;
    return reporter;
}

void choose_dialect(FrontEnd &front, const Settings &settings) {
    front.strict = front.uci && settings.Strict != 0;
    set_line_form(front.strict ? uci_form : nullptr);
}

void print_uci_result(const FrontEnd &front, const SearchResult &result) {
    if (result.line.has_value()) print_uci_line(front, *result.line);
    const std::string no_move = front.strict ? "0000" : "null";
    const std::string ponder = result.ponder != NO_MOVE ? " ponder " + uci_move(result.ponder) : "";
    print_line("bestmove " + (result.best != NO_MOVE ? uci_move(result.best) : no_move) + ponder);
}

void print_console_result(const Engine &engine, const SearchResult &result) {
    constexpr double NEVER_ZERO = 0.001;  // seconds
    if (result.line.has_value()) print_console_line(*result.line);
    const ThreadStats &stats = result.stats;
    const auto nodes = static_cast<double>(stats.nodes);
    const auto hit_rate = [](std::uint64_t hits, std::uint64_t probes) {
        return PERCENT * static_cast<double>(hits) / (static_cast<double>(probes) + 1.0);
    };
    print_format("move= %s, time= %0.3f, score= %d, nodes= %0.0f, nps= %0.0fK ebf= %0.2f",
                 console_move(result.best).c_str(), result.elapsed, result.score, nodes,
                 nodes / (result.elapsed + NEVER_ZERO) / THOUSAND, result.branching_factor);
    print_format("Hash fill= %.1f%%, Hash hits: main= %0.1f%%, pawn= %0.1f%%, eval= %0.1f%%, TB=%0.0fK",
                 hash_fill(engine.shared.table) * PERCENT, hit_rate(stats.hash_hits, stats.hash_probes),
                 hit_rate(stats.pawn_hits, stats.pawn_probes), hit_rate(stats.eval_hits, stats.evaluations),
                 static_cast<double>(stats.tb_hits) / THOUSAND);
    print_line("");
}
