// Test suites: searches positions and compares the answers with those of the file.
#include <algorithm>
#include <string>

#include "base/line_reader.h"
#include "base/output.h"
#include "base/progress.h"
#include "base/text.h"
#include "games/epd.h"
#include "search/threads.h"
#include "tools/output_file.h"
#include "tools/screen.h"
#include "tools/tool_search.h"

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

bool denotes(const Position &pos, std::string_view text, Move best, bool &readable) {
    const ParsedMove parsed = read_move(pos, without_annotation(text));
    readable = parsed.found();
    return readable && parsed.move == best;
}

// Best moves decide alone; an avoid move decides when there are none. False when the record has neither.
bool judge_moves(const Position &pos, const EpdRecord &record, Move best, Totals &totals) {
    bool readable = false;
    if (!record.bm.empty()) {
        std::string_view moves = record.bm;
        for (std::string_view m = next_part(moves, " ,"); !m.empty(); m = next_part(moves, " ,"))
            totals.correct += denotes(pos, m, best, readable);
        return true;
    }
    if (record.am.empty()) return false;
    const bool played = denotes(pos, record.am, best, readable);
    totals.correct += readable && !played;
    return readable;
}

void count_points(const Position &pos, const EpdRecord &record, Move best, Totals &totals) {
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
        if (denotes(pos, entry.substr(0, equals), best, readable)) totals.points += points;
    }
    totals.most_points += highest;
}

SearchResult search_position(ToolRun &run, int count) {
    constexpr int POSITIONS_PER_LOOK = 256;
    constexpr int PAUSE_MS = 5;
    const SearchLimits &limits = run.limits;
    if (limits.max_depth > SHALLOW && (limits.node_limit < 1 || limits.node_limit >= FEW_NODES))
        return search_with_all_threads(run, PAUSE_MS);
    const SearchResult result = search_in_this_thread(run);
    if (count % POSITIONS_PER_LOOK == POSITIONS_PER_LOOK - 1) look_for_wish(run);
    return result;
}

void show_answer(const ToolRun &run, const SearchResult &result) {
    constexpr double NEVER_ZERO = 0.001;  // seconds
    const Reporter &reporter = run.engine.shared.reporter;
    if (result.line.has_value() && reporter.search_line != nullptr)
        reporter.search_line(reporter.context, *result.line);
    const auto nodes = static_cast<double>(result.stats.nodes);
    say(format_line("move= %s, time= %0.3f, score= %d, nodes= %0.0f, %0.0fK nps\n",
                    move_to_text(result.best, run.move_style).c_str(), result.elapsed, result.score, nodes,
                    nodes / (result.elapsed + NEVER_ZERO) / 1000.0));
}

void analyse_record(ToolRun &run, const EpdRecord &record, Totals &totals, OutputFile &unsolved) {
    const bool silent = run.limits.noise == NO_PROGRESS_LINES;
    Position &pos = run.engine.game.position;
    report_set_up(set_fen(pos, record.fen));
    if (const std::string_view reason = unsearchable_reason(pos); !reason.empty()) {
        print_line("skipped (" + std::string(reason) + "): " + record.fen);
        return;
    }
    ++totals.positions;
    if (!silent) {
        say(format_line("pos= %d\n\n", totals.positions));
        show_board(pos);
    }
    clear_table_if_idle(run.engine.shared);
    const SearchResult result = search_position(run, totals.positions);
    totals.nodes += static_cast<double>(result.stats.nodes);
    totals.seconds += result.elapsed;
    totals.depths += result.depth;
    totals.branching += result.branching_factor;
    if (!judge_moves(pos, record, result.best, totals) && result.depth > 0) unsolved.write(record.fen + "\n");
    if (record.c0.find('=') != std::string::npos) count_points(pos, record, result.best, totals);
    if (!silent) show_answer(run, result);
}

void print_totals(const Totals &t) {
    constexpr double NEVER_ZERO = 0.01;  // seconds
    const int positions = std::max(t.positions, 1);
    const std::int64_t nodes_each = static_cast<std::int64_t>(t.nodes) / positions;
    std::string text = format_line("%d / %d correct best moves\n", t.correct, t.positions);
    text += format_line("total nodes= %0.0f\n", t.nodes);
    text += format_line("total time= %0.2f seconds\n", t.seconds);
    text += format_line("avg depth= %0.1f\n", t.depths / positions);
    text += format_line("avg nodes= %0.1f\n", static_cast<double>(nodes_each));
    text += format_line("node_rate= %0.0f\n", t.nodes / (t.seconds + NEVER_ZERO));
    text += format_line("avg bf= %0.2f\n", t.branching / positions);
    text +=
        format_line("score= %lld / %lld\n\n", static_cast<long long>(t.points), static_cast<long long>(t.most_points));
    say(text);
}

}  // namespace

void analyse_epd_file(ToolRun &run, const char *file_name) {
    constexpr int WITHOUT_TABLE = 2;  // searches so shallow do not pay for clearing it
    LineReader suite(file_name, LONGEST_LINE);
    if (!suite.is_open() || is_same_file(file_name, "unsolved.epd")) return;
    OutputFile unsolved("unsolved.epd");
    if (!unsolved.is_open()) return;
    say(format_line("Analyzing %s...\n", file_name));
    derive_tables(run.engine);
    if (run.limits.max_depth <= WITHOUT_TABLE) run.engine.shared.table.enabled = 0;

    Totals totals;
    Progress progress("positions");
    std::string_view line;
    while (!run.stopped && suite.next(line)) {
        EpdRecord record;
        if (line.size() < SHORTEST_RECORD || line[0] == ' ' || line[0] == '#' || line[0] == ';' ||
            !parse_epd_record(line, record))
            continue;
        progress.finish();
        analyse_record(run, record, totals, unsolved);
        unsolved.flush();
        progress.update(totals.positions, suite.position(), suite.size());
    }
    progress.finish();
    report_read_error(suite, file_name);
    print_totals(totals);
}
