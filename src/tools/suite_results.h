// Results of a test suite: a file with a row for each position, and what has changed from one run to another.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class Verdict { RIGHT, WRONG, UNSCORED };

// Since the start of the search.
struct Effort {
    double seconds = 0.0;
    double nodes = 0.0;
};

// A row of the file.
struct SuiteRow {
    std::string id;
    std::string fen;  // four fields
    Verdict verdict = Verdict::UNSCORED;
    std::string move;      // the best one found
    std::string expected;  // the record's "bm" or "am" with its moves; empty when it is not scored
    int score = 0;         // centipawns from the side to move's view
    int depth = 0;         // plies
    Effort whole;
    std::optional<Effort> first;  // until a right move became the best one for the first time,
    std::optional<Effort> last;   // and for good
};

// A text as it stands in a file, without tabs and control characters.
std::string table_text(std::string_view text);

// The first line of a file, and one for each row.
std::string results_heading();
std::string results_line(const SuiteRow &row);

// Adds the rows of a file. False, after one line, when it cannot be read or is no file of results.
bool read_results(const char *file_name, std::vector<SuiteRow> &rows);

// Prints what was won and lost since an earlier run, each position that only one run has, counts, and what the solutions
// have cost that both have found. Positions go by their FEN, equal ones in their order. `complete`: this run has seen
// the whole suite; otherwise the positions that it has not reached are only counted.
void print_changes(const std::vector<SuiteRow> &earlier, std::string_view earlier_name,
                   const std::vector<SuiteRow> &now, bool complete);
