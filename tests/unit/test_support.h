// What the unit tests of the board and of everything above it share: a position with its history, random games, and
// comparisons that say what differs.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
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
    FenReading reading;  // its rest lies in the caller's text
};

inline std::unique_ptr<TestPosition> make_test_position(std::string_view fen = START_FEN) {
    static const bool ready = [] {
        init_attacks();
        generate_hash_codes();
        return true;
    }();
    (void)ready;
    auto board = std::make_unique<TestPosition>();
    board->pos.history = &board->history;
    board->reading = set_fen(board->pos, fen);
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

// Slow builds run shorter tests.
inline bool short_run() { return std::getenv("DRAL_TEST_SHORT") != nullptr; }

// Names of the fields in which two positions differ; empty when they are the same.
inline std::string differing_fields(const Position &a, const Position &b) {
    std::string fields;
    const auto compare = [&fields](bool same, std::string_view name) {
        if (!same) fields += std::string(name) + ' ';
    };
    compare(a.board == b.board, "board");
    for (const Colour c : {WHITE, BLACK}) {
        compare(std::ranges::equal(a.pieces[c], b.pieces[c]), "pieces");
        compare(a.material[c] == b.material[c], "material");
        compare(a.nonpawn_material[c] == b.nonpawn_material[c], "nonpawn_material");
        compare(a.king_square[c] == b.king_square[c], "king_square");
    }
    compare(a.key == b.key, "key");
    compare(a.pawn_key == b.pawn_key, "pawn_key");
    compare(a.side == b.side, "side");
    compare(a.fifty == b.fifty, "fifty");
    compare(a.castling == b.castling, "castling");
    compare(a.ep_square == b.ep_square, "ep_square");
    return fields;
}

inline std::vector<MoveEntry> legal_moves(const Position &pos) {
    MoveList list;
    return {list.data(), gen_legal(pos, list.data())};
}

inline std::string coordinates(Move m) { return move_to_text(m, PromotionStyle::LOWER_CASE); }

// The same moves on every standard library: no distribution objects.
class Random {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    std::uint64_t bits() { return engine_(); }
    int below(int limit) { return static_cast<int>(engine_() % static_cast<std::uint64_t>(limit)); }

private:
    std::mt19937_64 engine_;
};

// A legal move, or NO_MOVE when the game is over. Promotions and captures come up often enough to reach every kind of
// position.
inline Move random_legal_move(const Position &pos, Random &random) {
    const std::vector<MoveEntry> moves = legal_moves(pos);
    return moves.empty() ? NO_MOVE : moves[random.below(static_cast<int>(moves.size()))].move;
}

// FENs of positions met in random games, every `step`-th ply.
inline std::vector<std::string> random_game_fens(std::uint64_t seed, int games, int plies, int step) {
    std::vector<std::string> fens;
    Random random(seed);
    for (int played = 0; played < games; ++played) {
        const auto board = make_test_position();
        for (int ply = 1; ply <= plies; ++ply) {
            const Move m = random_legal_move(board->pos, random);
            if (m == NO_MOVE) break;
            make_move(board->pos, m);
            if (ply % step == 0) fens.push_back(get_fen(board->pos));
        }
    }
    return fens;
}

// Squares that a piece attacks, walked one square at a time; an independent statement of how pieces move.
inline Bitboard walked_attacks(Piece piece, Square from, Bitboard occupied) {
    Bitboard set = 0;
    const auto walk = [&](int files, int ranks, int most) {
        int file = from % 8 + files;
        int rank = from / 8 + ranks;
        for (int n = 0; n < most && file >= 0 && file < 8 && rank >= 0 && rank < 8; ++n, file += files, rank += ranks) {
            const Bitboard square = Bitboard{1} << (rank * 8 + file);
            set |= square;
            if ((occupied & square) != 0) break;
        }
    };
    const int type = piece % 8;
    const int forward = piece / 8 == 0 ? 1 : -1;
    for (int files = -2; files <= 2; ++files) {
        for (int ranks = -2; ranks <= 2; ++ranks) {
            const int distance = files * files + ranks * ranks;
            if (type == PAWN && files * files == 1 && ranks == forward) walk(files, ranks, 1);
            if (type == KNIGHT && distance == 5) walk(files, ranks, 1);
            if (type == KING && (distance == 1 || distance == 2)) walk(files, ranks, 1);
            if ((type == ROOK || type == QUEEN) && distance == 1) walk(files, ranks, 7);
            if ((type == BISHOP || type == QUEEN) && distance == 2) walk(files, ranks, 7);
        }
    }
    return set;
}

// Squares from which pieces of a colour attack a square, by walking from every piece on the board.
inline Bitboard walked_attackers(const Position &pos, Square target, Colour colour) {
    Bitboard occupied = 0;
    for (const Square s : ALL_SQUARES)
        if (pos.board[s] != 0) occupied |= Bitboard{1} << s;
    Bitboard attackers = 0;
    for (const Square s : ALL_SQUARES)
        if (pos.board[s] != 0 && pos.board[s] / 8 == colour &&
            (walked_attacks(pos.board[s], s, occupied) >> target & 1) != 0)
            attackers |= Bitboard{1} << s;
    return attackers;
}
