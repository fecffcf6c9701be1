// Test suites: searches positions and compares the answers with those of the file.
#include <cstdio>
#include <string>

#include "base/control.h"
#include "base/line_reader.h"
#include "base/output.h"
#include "base/progress.h"
#include "base/text.h"
#include "board/fen.h"
#include "board/notation.h"
#include "eval/parameters.h"
#include "search/params.h"
#include "search/report.h"
#include "search/threads.h"
#include "search/timing.h"
#include "search/tt.h"
#include "tools/epd.h"
#include "tools/workbench.h"

namespace {

constexpr std::size_t LONGEST_LINE = 511;
constexpr std::size_t SHORTEST_RECORD = 10;
constexpr int SHALLOW = 5;          // up to this depth the search runs in this thread,
constexpr int FEW_NODES = 100'000;  // and below this node limit

struct Totals {
    int positions = 0;
    int correct = 0;
    std::int64_t points = 0;
    std::int64_t most_points = 0;
    double nodes = 0.0;
    double seconds = 0.0;
    double depths = 0.0;
    double branching = 0.0;
};

// Words separated by any of the given characters, one after the other.
std::string_view next_part(std::string_view &text, std::string_view separators) {
    text.remove_prefix(std::min(text.find_first_not_of(separators), text.size()));
    const std::string_view part = text.substr(0, text.find_first_of(separators));
    text.remove_prefix(part.size());
    return part;
}

bool denotes(std::string_view text, Move best, bool &readable) {
    Move move = NO_MOVE;
    readable = parse_move(game->position, without_annotation(text), move);
    return readable && move == best;
}

// Best moves decide alone; an avoid move decides when there are none. False when the record has neither.
bool judge_moves(const EpdRecord &record, Move best, Totals &totals) {
    bool readable = false;
    if (!record.bm.empty()) {
        std::string_view moves = record.bm;
        for (std::string_view m = next_part(moves, " ,"); !m.empty(); m = next_part(moves, " ,"))
            totals.correct += denotes(m, best, readable);
        return true;
    }
    if (record.am.empty()) return false;
    const bool played = denotes(record.am, best, readable);
    totals.correct += readable && !played;
    return readable;
}

void count_points(const EpdRecord &record, Move best, Totals &totals) {
    constexpr std::string_view SEPARATORS = ", \"\n";
    std::string_view entries = record.c0;
    int highest = 0;
    for (std::string_view entry = next_part(entries, SEPARATORS); !entry.empty();
         entry = next_part(entries, SEPARATORS)) {
        const std::size_t equals = entry.rfind('=');
        if (equals == std::string_view::npos) continue;
        const int points = clamped_integer(entry.substr(equals + 1), -1'000'000, 1'000'000);
        highest = std::max(highest, points);
        bool readable = false;
        if (denotes(entry.substr(0, equals), best, readable)) totals.points += points;
    }
    totals.most_points += highest;
}

void search_position(int count, PollInput poll_input) {
    constexpr int POSITIONS_PER_POLL = 256;
    begin_search();
    if (max_depth <= SHALLOW || (node_limit >= 1 && node_limit < FEW_NODES)) {
        iterate();
        update_elapsed();
        if (count % POSITIONS_PER_POLL == POSITIONS_PER_POLL - 1) {
            check_time();
            poll_input();
        }
    } else {
        search_with_all_threads(poll_input, 5);
    }
}

void analyse_record(const EpdRecord &record, Totals &totals, OutputFile &unsolved, PollInput poll_input) {
    const bool silent = noise == NO_PROGRESS_LINES;
    Position &pos = game->position;
    set_fen(pos, record.fen);
    if (const std::string_view reason = unsearchable_reason(pos); !reason.empty()) {
        print_line("skipped (" + std::string(reason) + "): " + record.fen);
        return;
    }
    ++totals.positions;
    if (!silent) {
        std::printf("pos= %d\n\n", totals.positions);
        std::fflush(stdout);
        show_board(pos);
    }
    tt_clear_if_idle();
    search_position(totals.positions, poll_input);
    const Move best = root_result.pv[1];
    const double nodes = searched_nodes();
    const double seconds = search_shared.elapsed;
    totals.nodes += nodes;
    totals.seconds += seconds;
    totals.depths += root_result.depth;
    totals.branching += branching_factor();
    if (!judge_moves(record, best, totals) && root_result.depth > 0) unsolved.write(record.fen + "\n");
    if (record.c0.find('=') != std::string::npos) count_points(record, best, totals);
    if (!silent) {
        print_final_line();
        std::printf("move= %s, time= %0.3f, score= %d, nodes= %0.0f, %0.0fK nps\n", move_to_text(best).c_str(), seconds,
                    root_result.score.load(), nodes, nodes / (seconds + 0.001) / 1000.0);
        std::fflush(stdout);
    }
    search_state = REQUEST_NONE;
}

void print_totals(const Totals &t) {
    const double positions = t.positions > 0 ? t.positions : 1;
    std::printf("%d / %d correct best moves\n", t.correct, t.positions);
    std::printf("total nodes= %0.0f\n", t.nodes);
    std::printf("total time= %0.2f seconds\n", t.seconds);
    std::printf("avg depth= %0.1f\n", t.depths / positions);
    std::printf("avg nodes= %0.1f\n",
                static_cast<double>(static_cast<std::int64_t>(t.nodes) / static_cast<std::int64_t>(positions)));
    std::printf("node_rate= %0.0f\n", t.nodes / (t.seconds + 0.01));
    std::printf("avg bf= %0.2f\n", t.branching / positions);
    std::printf("score= %lld / %lld\n\n", static_cast<long long>(t.points), static_cast<long long>(t.most_points));
    std::fflush(stdout);
}

}  // namespace

void analyse_epd_file(const char *file_name, PollInput poll_input) {
    LineReader suite(file_name, LONGEST_LINE);
    if (!suite.is_open() || is_same_file(file_name, "unsolved.epd")) return;
    OutputFile unsolved("unsolved.epd");
    if (!unsolved.is_open()) return;
    std::printf("Analyzing %s...\n", file_name);
    std::fflush(stdout);
    derive_search_params();
    derive_eval_tables();
    if (max_depth <= 2) hash_enabled = 0;

    Totals totals;
    Progress progress("positions");
    std::string_view line;
    while (!quit_flag && suite.next(line)) {
        EpdRecord record;
        if (line.size() < SHORTEST_RECORD || line[0] == ' ' || line[0] == '#' || line[0] == ';' ||
            !parse_epd_record(line, record))
            continue;
        progress.finish();
        analyse_record(record, totals, unsolved, poll_input);
        unsolved.flush();
        progress.update(totals.positions, suite.position(), suite.size());
    }
    progress.finish();
    report_read_error(suite, file_name);
    print_totals(totals);
}
