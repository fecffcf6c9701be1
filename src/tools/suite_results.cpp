#include "tools/suite_results.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

#include "base/line_reader.h"
#include "base/output.h"
#include "base/text.h"
#include "tools/screen.h"

namespace {

enum Column {
    ID,
    FEN,
    VERDICT,
    MOVE,
    EXPECTED,
    SCORE,
    DEPTH,
    SECONDS,
    NODES,
    FIRST_SECONDS,
    FIRST_NODES,
    LAST_SECONDS,
    LAST_NODES,
    COLUMNS
};
using Fields = std::array<std::string, COLUMNS>;

// [column]
const Fields HEADINGS = {"id",      "fen",   "verdict",       "move",        "expected",     "score",     "depth",
                         "seconds", "nodes", "first_seconds", "first_nodes", "last_seconds", "last_nodes"};
// [Verdict]
constexpr std::string_view VERDICTS[] = {"right", "wrong", "unscored"};

std::string joined(const Fields &fields) {
    std::string text;
    for (const std::string &field : fields) text += table_text(field) + '\t';
    text.back() = '\n';
    return text;
}

bool split(std::string_view line, Fields &fields) {
    if (std::count(line.begin(), line.end(), '\t') != COLUMNS - 1) return false;
    for (std::string &field : fields) {
        field = line.substr(0, line.find('\t'));
        line.remove_prefix(std::min(field.size() + 1, line.size()));
    }
    return true;
}

bool is_number(std::string_view text) {
    if (text.starts_with('-')) text.remove_prefix(1);
    return !text.empty() && text.find_first_not_of("0123456789.") == std::string_view::npos &&
           std::count(text.begin(), text.end(), '.') <= 1 && text != ".";
}

// Two columns, both of them numbers or, for an effort that may be missing, both empty.
bool read_effort(const Fields &fields, Column at, std::optional<Effort> &effort) {
    const std::string &seconds = fields[at];
    const std::string &nodes = fields[at + 1];
    if (seconds.empty() && nodes.empty()) return true;
    if (!is_number(seconds) || !is_number(nodes)) return false;
    effort = {leading_number(seconds), leading_number(nodes)};
    return true;
}

bool read_row(std::string_view line, SuiteRow &row) {
    Fields fields;
    std::optional<Effort> whole;
    if (!split(line, fields)) return false;
    const auto *const verdict = std::find(std::begin(VERDICTS), std::end(VERDICTS), fields[VERDICT]);
    if (verdict == std::end(VERDICTS) || fields[FEN].empty() || !is_number(fields[SCORE]) ||
        !is_number(fields[DEPTH]) || !read_effort(fields, SECONDS, whole) || !whole.has_value() ||
        !read_effort(fields, FIRST_SECONDS, row.first) || !read_effort(fields, LAST_SECONDS, row.last))
        return false;
    row.id = fields[ID];
    row.fen = fields[FEN];
    row.verdict = static_cast<Verdict>(verdict - std::begin(VERDICTS));
    row.move = fields[MOVE];
    row.expected = fields[EXPECTED];
    row.score = clamped_integer(fields[SCORE], -32768, 32767);
    row.depth = clamped_integer(fields[DEPTH], 0, 127);
    row.whole = *whole;
    return true;
}

// The row of an earlier run that belongs to each row of this one, or null.
std::vector<const SuiteRow *> matches(const std::vector<SuiteRow> &earlier, const std::vector<SuiteRow> &now) {
    std::vector<const SuiteRow *> found;
    std::unordered_map<std::string_view, std::vector<const SuiteRow *>> rows;  // the next one is the last
    for (auto row = earlier.rbegin(); row != earlier.rend(); ++row) rows[row->fen].push_back(&*row);
    for (const SuiteRow &row : now) {
        const auto at = rows.find(row.fen);
        const bool known = at != rows.end() && !at->second.empty();
        found.push_back(known ? at->second.back() : nullptr);
        if (known) at->second.pop_back();
    }
    return found;
}

struct Changes {
    std::string lines;
    int won = 0;
    int lost = 0;
    int right_in_both = 0;
    int wrong_in_both = 0;
    int unscored = 0;
    int new_ones = 0;
    int timed = 0;  // right in both, with both efforts known
    Effort before, after;
};

void compare_rows(const SuiteRow *old, const SuiteRow &row, Changes &changes) {
    const auto list = [&](std::string_view what) {
        changes.lines += std::string(what) + row.id + "  " + old->move + " -> " + row.move + '\n';
    };
    if (old == nullptr) {
        ++changes.new_ones;
        changes.lines += "only in this run: " + row.id + '\n';
    } else if (old->verdict == Verdict::UNSCORED || row.verdict == Verdict::UNSCORED) {
        ++changes.unscored;
    } else if (old->verdict != row.verdict) {
        const bool won = row.verdict == Verdict::RIGHT;
        ++(won ? changes.won : changes.lost);
        list(won ? "won: " : "lost: ");
    } else if (row.verdict == Verdict::WRONG) {
        ++changes.wrong_in_both;
    } else {
        ++changes.right_in_both;
        if (!old->last.has_value() || !row.last.has_value()) return;
        ++changes.timed;
        changes.before = {changes.before.seconds + old->last->seconds, changes.before.nodes + old->last->nodes};
        changes.after = {changes.after.seconds + row.last->seconds, changes.after.nodes + row.last->nodes};
    }
}

}  // namespace

std::string table_text(std::string_view text) {
    std::string plain(text);
    for (char &c : plain)
        if (const auto byte = static_cast<unsigned char>(c); byte < ' ' || byte == 0x7F) c = ' ';
    return plain;
}

std::string results_heading() { return joined(HEADINGS); }

std::string results_line(const SuiteRow &row) {
    const auto seconds = [](const std::optional<Effort> &e) { return e ? format_line("%0.3f", e->seconds) : ""; };
    const auto nodes = [](const std::optional<Effort> &e) { return e ? format_line("%0.0f", e->nodes) : ""; };
    return joined({row.id, row.fen, std::string(VERDICTS[static_cast<std::size_t>(row.verdict)]), row.move,
                   row.expected, std::to_string(row.score), std::to_string(row.depth), seconds(row.whole),
                   nodes(row.whole), seconds(row.first), nodes(row.first), seconds(row.last), nodes(row.last)});
}

bool read_results(const char *file_name, std::vector<SuiteRow> &rows) {
    constexpr std::size_t BLOCK = 4096;
    LineReader file(file_name, BLOCK);
    if (!file.is_open()) {
        print_line(std::string("cannot read ") + file_name);
        return false;
    }
    std::string line;
    int number = 0;
    while (file.next_whole(line)) {
        ++number;
        SuiteRow row;
        if (number == 1 ? line + '\n' != results_heading() : !read_row(line, row)) {
            print_format("%s: line %d is none of a file of results", file_name, number);
            return false;
        }
        if (number > 1) rows.push_back(std::move(row));
    }
    if (number > 0 && !file.failed()) return true;
    print_line((file.failed() ? "cannot read all of " : "no results in ") + std::string(file_name));
    return false;
}

void print_changes(const std::vector<SuiteRow> &earlier, std::string_view earlier_name,
                   const std::vector<SuiteRow> &now, bool complete) {
    const std::vector<const SuiteRow *> old_rows = matches(earlier, now);
    const std::string name(earlier_name);
    Changes changes;
    for (std::size_t i = 0; i < now.size(); ++i) compare_rows(old_rows[i], now[i], changes);
    const std::unordered_set<const SuiteRow *> in_both(old_rows.begin(), old_rows.end());
    int gone = 0;
    for (const SuiteRow &row : earlier) {
        if (in_both.contains(&row)) continue;
        ++gone;
        if (complete) changes.lines += "only in " + name + ": " + row.id + '\n';
    }
    std::string text = "against " + name + ":\n" + changes.lines;
    text += format_line("%d won, %d lost, %d right in both, %d wrong in both, %d not scored, %d only in this run, ",
                        changes.won, changes.lost, changes.right_in_both, changes.wrong_in_both, changes.unscored,
                        changes.new_ones);
    text += format_line("%d ", gone) + (complete ? "only in " + name : "not reached") + '\n';
    text +=
        format_line("to the solution of %d in both: %0.3f -> %0.3f seconds, %0.0f -> %0.0f nodes\n\n", changes.timed,
                    changes.before.seconds, changes.after.seconds, changes.before.nodes, changes.after.nodes);
    say(text);
}
