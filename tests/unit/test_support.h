// What the unit tests share: a position with its history, random games, and tables of cases in tests/data.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "board/attacks.h"
#include "board/checks.h"
#include "board/fen.h"
#include "board/hash_codes.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "board/position.h"
#include "board/repetition.h"

// A position and the history it needs. Lives on the heap: the history is large, and the position points into it.
struct TestPosition {
    MoveHistory history;
    Position pos;
};

inline std::unique_ptr<TestPosition> make_test_position(std::string_view fen = START_FEN) {
    static const bool ready = [] {
        init_attacks();
        return generate_hash_codes();
    }();
    EXPECT_TRUE(ready);
    auto board = std::make_unique<TestPosition>();
    board->pos.history = &board->history;
    set_fen(board->pos, fen);
    return board;
}

// A file of tests/data, or the file of that name in the folder that DRAL_TEST_DATA names: a larger set, say.
inline std::filesystem::path test_data_directory() { return std::filesystem::path(DRAL_SOURCE_DIR) / "tests" / "data"; }

inline std::string test_data(const std::string &name) {
    if (const char *larger = std::getenv("DRAL_TEST_DATA"); larger != nullptr)
        if (const auto path = std::filesystem::path(larger) / name; std::filesystem::exists(path)) return path.string();
    return (test_data_directory() / name).string();
}

// The rows of a table in tests/data: fields between tabs or bars, without the blanks around them. Empty lines and lines that
// begin with '#' are no rows. A table without rows is a failure.
inline std::vector<std::vector<std::string>> data_rows(const std::string &name) {
    std::vector<std::vector<std::string>> rows;
    std::ifstream in(test_data(name));
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line.front() == '#') continue;
        std::vector<std::string> &fields = rows.emplace_back();
        for (std::size_t start = 0; start <= line.size();) {
            const std::size_t end = std::min(line.find_first_of("\t|", start), line.size());
            const std::string field = line.substr(start, end - start);
            const std::size_t first = field.find_first_not_of(' ');
            fields.push_back(first == std::string::npos ? ""
                                                        : field.substr(first, field.find_last_not_of(' ') + 1 - first));
            start = end + 1;
        }
    }
    EXPECT_FALSE(rows.empty()) << "no rows in " << name;
    return rows;
}

// Values as the fields of a row.
template <typename... Values>
std::string fields(const Values &...values) {
    std::ostringstream out;
    const char *bar = "";
    ((out << std::exchange(bar, " | ") << values), ...);
    return out.str();
}

// Checks a table: of each row the first `given` fields are a question, and `answer` finds the others, as `fields` joins
// them. DRAL_TEST_RECORD shows the rows with the answers found.
template <typename Answer>
void check_rows(const std::string &name, std::size_t given, Answer answer) {
    for (const std::vector<std::string> &row : data_rows(name)) {
        ASSERT_GE(row.size(), given) << row[0];
        std::string question, expected;
        for (std::size_t i = 0; i < row.size(); ++i)
            (i < given ? question : expected) += (i == 0 || i == given ? "" : " | ") + row[i];
        SCOPED_TRACE(name + ": " + question);
        const std::string found = answer(row);
        if (std::getenv("DRAL_TEST_RECORD") != nullptr) std::cout << name << ": " << question << " | " << found << '\n';
        EXPECT_EQ(found, expected);
    }
}

// Slow builds run shorter tests.
inline bool short_run() { return std::getenv("DRAL_TEST_SHORT") != nullptr; }

// What make and unmake change, as a text.
inline std::string state_of(const Position &pos) {
    EXPECT_TRUE(is_consistent(pos));
    const MoveHistory &history = *pos.history;
    return fields(get_fen(pos), pos.key, int{pos.fifty}, int{pos.king_square[WHITE]}, int{pos.king_square[BLACK]},
                  history.undo_count, history.ply, history.current_move);
}

inline std::vector<MoveEntry> legal_moves(const Position &pos) {
    MoveList list;
    return {list.data(), gen_legal(pos, list.data())};
}

inline std::string coordinates(Move m) { return move_to_text(m, PromotionStyle::LOWER_CASE); }

// FENs of positions met in random games, every `step`-th ply; the same on every standard library.
inline std::vector<std::string> random_game_fens(std::uint64_t seed, int games, int plies, int step) {
    std::vector<std::string> fens;
    std::mt19937_64 random(seed);
    for (int played = 0; played < games; ++played) {
        const auto board = make_test_position();
        for (int ply = 1; ply <= plies; ++ply) {
            const std::vector<MoveEntry> moves = legal_moves(board->pos);
            if (moves.empty()) break;
            make_move(board->pos, moves[random() % moves.size()].move);
            if (ply % step == 0) fens.push_back(get_fen(board->pos));
        }
    }
    return fens;
}
