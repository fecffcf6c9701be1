// Test suites: searches positions and compares the answers with those of the file.
#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/line_reader.h"
#include "base/output.h"
#include "base/progress.h"
#include "base/text.h"
#include "games/epd.h"
#include "search/threads.h"
#include "tools/crew.h"
#include "tools/output_file.h"
#include "tools/screen.h"
#include "tools/suite_results.h"
#include "tools/tool_search.h"

namespace {

constexpr const char *RESULTS_FILE = "results.tsv";
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

// What a record wants. Best moves decide alone; an avoid move decides when there are none.
struct AnswerKey {
    std::string text;        // as the record gives it; empty: it is not scored
    std::vector<Move> best;  // one for each text that denotes a move
    Move avoided = NO_MOVE;

    bool scored() const { return !text.empty(); }
    // A best move that is given twice counts twice.
    int count(Move move) const {
        if (avoided != NO_MOVE) return move != avoided;
        return static_cast<int>(std::count(best.begin(), best.end(), move));
    }
};

AnswerKey read_answer_key(const Position &pos, const EpdRecord &record) {
    AnswerKey key;
    if (!record.bm.empty()) {
        key.text = "bm " + record.bm;
        std::string_view moves = record.bm;
        for (std::string_view m = next_part(moves, " ,"); !m.empty(); m = next_part(moves, " ,")) {
            const ParsedMove parsed = read_move(pos, without_annotation(m));
            if (parsed.found()) key.best.push_back(parsed.move);
        }
    } else if (!record.am.empty()) {
        const ParsedMove parsed = read_move(pos, without_annotation(record.am));
        if (parsed.found()) {
            key.text = "am " + record.am;
            key.avoided = parsed.move;
        }
    }
    return key;
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
        const ParsedMove parsed = read_move(pos, without_annotation(entry.substr(0, equals)));
        if (parsed.found() && parsed.move == best) totals.points += points;
    }
    totals.most_points += highest;
}

// A record of the suite.
struct Job {
    EpdRecord record;
    int line = 0;  // of the file
};

struct Answer {
    SearchResult result;
    std::vector<BestChange> changes;
    bool cut_short = false;  // the user has ended the search
};

bool searches_in_its_own_thread(const SearchLimits &limits) {
    return limits.max_depth <= SHALLOW || (limits.node_limit >= 1 && limits.node_limit < FEW_NODES);
}

Answer search_record(Worker &worker, const SearchLimits &limits, const Job &job) {
    Engine &engine = worker.engine;
    Answer answer;
    set_fen(engine.game.position, job.record.fen);
    if (!unsearchable_reason(engine).empty()) return answer;
    clear_table_if_idle(engine.shared);
    engine.shared.reporter.watch = {&answer.changes, [](void *changes, const BestChange &change) {
                                        static_cast<std::vector<BestChange> *>(changes)->push_back(change);
                                    }};
    answer.result = searches_in_its_own_thread(limits) ? search_in_this_thread(engine, limits)
                                                       : search(engine, limits, worker.poll);
    engine.shared.reporter.watch = {};
    answer.cut_short = worker.stopped();
    return answer;
}

// When right moves became the best one.
void find_solution(const AnswerKey &key, const std::vector<BestChange> &changes, SuiteRow &row) {
    bool was_right = false;
    for (const BestChange &change : changes) {
        const bool right = key.scored() && key.count(change.move) > 0;
        if (right && !was_right) row.last = {change.elapsed, change.nodes};
        if (!right) row.last.reset();
        if (!row.first.has_value()) row.first = row.last;
        was_right = right;
    }
    if (row.verdict != Verdict::RIGHT) row.last.reset();
}

std::string name_of(const Job &job) {
    std::string_view id = job.record.id;
    if (id.starts_with('"')) id.remove_prefix(1);
    if (id.ends_with('"')) id.remove_suffix(1);
    return id.empty() ? "line " + std::to_string(job.line) : std::string(id);
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

// What is shown, counted and written, in the order of the suite.
class SuiteReport {
public:
    SuiteReport(ToolRun &run, OutputFile &unsolved, WholeFile &results)
        : run_(run), unsolved_(unsolved), results_(results) {
        results_.write(results_heading());
    }

    // Sets up the position in the run's game, shows and counts it. False, after a line, when it cannot be searched.
    bool begin(const Job &job);
    // Judges the answer in that position.
    void take(const Job &job, const Answer &answer);

    const Totals &totals() const { return totals_; }
    const std::vector<SuiteRow> &rows() const { return rows_; }

private:
    bool silent() const { return run_.limits.noise == NO_PROGRESS_LINES; }

    ToolRun &run_;
    OutputFile &unsolved_;
    WholeFile &results_;
    Totals totals_;
    std::vector<SuiteRow> rows_;
};

bool SuiteReport::begin(const Job &job) {
    Position &pos = run_.engine.game.position;
    report_set_up(set_fen(pos, job.record.fen));
    if (const std::string_view reason = unsearchable_reason(pos); !reason.empty()) {
        print_line("skipped (" + std::string(reason) + "): " + job.record.fen);
        return false;
    }
    ++totals_.positions;
    if (!silent()) {
        say(format_line("pos= %d\n\n", totals_.positions));
        show_board(pos);
    }
    return true;
}

void SuiteReport::take(const Job &job, const Answer &answer) {
    const Position &pos = run_.engine.game.position;
    const EpdRecord &record = job.record;
    const SearchResult &result = answer.result;
    SuiteRow row;
    row.id = table_text(name_of(job));
    row.fen = table_text(record.fen);
    row.whole = {result.elapsed, static_cast<double>(result.stats.nodes)};
    totals_.nodes += row.whole.nodes;
    totals_.seconds += row.whole.seconds;
    totals_.depths += result.depth;
    totals_.branching += result.branching_factor;
    const AnswerKey key = read_answer_key(pos, record);
    if (key.scored()) {
        const int count = key.count(result.best);
        totals_.correct += count;
        row.verdict = count > 0 ? Verdict::RIGHT : Verdict::WRONG;
    } else if (result.depth > 0) {
        unsolved_.write(record.fen + "\n");
        unsolved_.flush();
    }
    if (record.c0.find('=') != std::string::npos) count_points(pos, record, result.best, totals_);
    if (!silent()) show_answer(run_, result);
    if (answer.cut_short) return;  // half a search would count as a loss where results are compared
    row.move = result.best != NO_MOVE ? move_to_san(pos, result.best)[1] : move_to_text(NO_MOVE, run_.move_style);
    row.expected = key.text;
    row.score = result.score;
    row.depth = result.depth;
    find_solution(key, answer.changes, row);
    results_.write(results_line(row));
    rows_.push_back(std::move(row));
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

// The records of a suite, one after the other.
class SuiteReader {
public:
    explicit SuiteReader(LineReader &file) : file_(file) {}

    bool next(Job &job) {
        std::string_view line;
        while (file_.next(line)) {
            line_ += begins_line_ ? 1 : 0;
            begins_line_ = file_.line_ended();
            if (line.size() < SHORTEST_RECORD || line[0] == ' ' || line[0] == '#' || line[0] == ';' ||
                !parse_epd_record(line, job.record))
                continue;
            job.line = line_;
            return true;
        }
        return false;
    }
    void show(Progress &progress, int done) const { progress.update(done, file_.position(), file_.size()); }

private:
    LineReader &file_;
    int line_ = 0;
    bool begins_line_ = true;  // the next piece does
};

// One position after the other, with all threads.
void analyse_one_by_one(ToolRun &run, SuiteReader &suite, SuiteReport &report, Progress &progress) {
    constexpr int POSITIONS_PER_LOOK = 256;
    constexpr int PAUSE_MS = 5;
    const auto look = [](void *context) { look_for_wish(*static_cast<ToolRun *>(context)); };
    const std::function<bool()> stopped = [&run] { return run.stopped; };
    Worker worker{run.engine, {look, &run, PAUSE_MS}, stopped};
    Job job;
    while (!run.stopped && suite.next(job)) {
        progress.finish();
        if (report.begin(job)) {
            const Answer answer = search_record(worker, run.limits, job);
            if (searches_in_its_own_thread(run.limits) &&
                report.totals().positions % POSITIONS_PER_LOOK == POSITIONS_PER_LOOK - 1)
                look_for_wish(run);
            report.take(job, answer);
        }
        suite.show(progress, report.totals().positions);
    }
}

}  // namespace

void analyse_epd_file(ToolRun &run, const char *file_name, const char *against) {
    constexpr int WITHOUT_TABLE = 2;  // searches so shallow do not pay for clearing it
    LineReader file(file_name, LONGEST_LINE);
    if (!file.is_open() || is_same_file(file_name, "unsolved.epd")) return;
    std::vector<SuiteRow> earlier;
    run.failed = is_same_file(file_name, RESULTS_FILE) || (*against != '\0' && !read_results(against, earlier));
    if (run.failed) return;
    OutputFile unsolved("unsolved.epd");
    if (!unsolved.is_open()) return;
    Crew crew(run, run.parallel);
    run.failed = !crew.started();
    if (run.failed) return;
    say(format_line("Analyzing %s...\n", file_name));
    derive_tables(run.engine);
    if (run.limits.max_depth <= WITHOUT_TABLE)
        crew.prepare_engines([](Engine &engine) { engine.shared.table.enabled = 0; });

    WholeFile results(RESULTS_FILE);
    if (!results.is_open()) run.failed = !results.commit();
    SuiteReader suite(file);
    SuiteReport report(run, unsolved, results);
    Progress progress("positions");
    if (crew.size() < 2) {
        analyse_one_by_one(run, suite, report, progress);
    } else {
        crew.run_in_order<Job, Answer>(
            [&](Job &job) { return suite.next(job); },
            [&](Worker &worker, Job &job) {
                forget_searches(worker.engine.shared);  // which jobs it had before is a matter of chance
                return search_record(worker, run.limits, job);
            },
            [&](Job &job, Answer &answer) {
                progress.finish();
                if (report.begin(job)) report.take(job, answer);
                suite.show(progress, report.totals().positions);
            });
    }
    progress.finish();
    report_read_error(file, file_name);
    print_totals(report.totals());
    if (*against != '\0') print_changes(earlier, against, report.rows(), !run.stopped);
    if (results.is_open()) run.failed = !results.commit();
}
