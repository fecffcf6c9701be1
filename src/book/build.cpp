#include "book/build.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "base/line_reader.h"
#include "base/progress.h"
#include "board/fen.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "board/position.h"
#include "book/format.h"
#include "platform/terminal.h"

namespace {

constexpr const char *BOOK_FILE = "tmp_book.bin";
constexpr std::size_t LONGEST_LINE = 1022;
constexpr int BOOK_PLIES = 36;  // a line that starts at or after this ply is not read
constexpr int GAMES_PER_DOT = 1024;
constexpr std::int64_t LEAST_SCORE = 10;
constexpr std::uint32_t LEAST_WINS = 3;
constexpr double HIGHEST_WEIGHT = 60000.0;

enum class GameResult { UNKNOWN, WHITE_WINS, BLACK_WINS, DRAW };

// A move played in a position, with its results from the mover's point of view.
struct MoveRecord {
    std::uint64_t key;
    std::uint32_t wins;
    std::uint32_t losses;
    std::uint32_t draws;
    Move move;
};

// All distinct moves in the order first seen, found through a hash table with open addressing and linear probing.
class MoveTable {
public:
    MoveTable() : slots_(std::size_t{1} << 16) {}

    MoveRecord &find_or_add(std::uint64_t key, Move move) {
        if (2 * records_.size() >= slots_.size()) grow();
        std::uint32_t &slot = find_slot(key, move);
        if (slot == 0) {
            records_.push_back({key, 0, 0, 0, move});
            slot = static_cast<std::uint32_t>(records_.size());
        }
        return records_[slot - 1];
    }

    std::size_t size() const { return records_.size(); }

    // The records by ascending key, those of one key in the order first seen. Ends the use of the table.
    std::vector<MoveRecord> take_sorted() {
        slots_ = {};
        std::stable_sort(records_.begin(), records_.end(),
                         [](const MoveRecord &a, const MoveRecord &b) { return a.key < b.key; });
        return std::move(records_);
    }

private:
    // Slot of the record, or the empty one where it belongs. A slot holds the record's index plus one.
    std::uint32_t &find_slot(std::uint64_t key, Move move) {
        const std::size_t mask = slots_.size() - 1;
        std::size_t i = (key ^ move * 0x9E3779B97F4A7C15ULL) >> 20 & mask;
        while (slots_[i] != 0 && (records_[slots_[i] - 1].key != key || records_[slots_[i] - 1].move != move))
            i = (i + 1) & mask;
        return slots_[i];
    }

    void grow() {
        slots_.assign(2 * slots_.size(), 0);
        for (std::size_t i = 0; i < records_.size(); ++i)
            find_slot(records_[i].key, records_[i].move) = static_cast<std::uint32_t>(i + 1);
    }

    std::vector<MoveRecord> records_;
    std::vector<std::uint32_t> slots_;
};

GameResult result_in(std::string_view line) {
    if (line.find("1-0") != std::string_view::npos) return GameResult::WHITE_WINS;
    if (line.find("0-1") != std::string_view::npos) return GameResult::BLACK_WINS;
    return line.find("1/2") != std::string_view::npos ? GameResult::DRAW : GameResult::UNKNOWN;
}

// Reads game text line by line and records the moves of the openings.
class BookReader {
public:
    BookReader() : history_(std::make_unique<MoveHistory>()) {
        position_.history = history_.get();
        position_.ep_square = NO_SQUARE;
        set_fen(position_, START_FEN);
    }

    void read_line(std::string_view line) {
        if (line.find("[Result") != std::string_view::npos) start_game(line);
        const bool tag_or_remark = !line.empty() && (line[0] == ';' || line[0] == '[');
        if ((tag_or_remark && comment_depth_ == 0) || result_ == GameResult::UNKNOWN || plies_ >= BOOK_PLIES) return;
        std::string token;
        for (const char c : line) {
            if (c == ' ') {
                end_token(token);
            } else if (c == '{' || c == '}' || c == '(' || c == ')') {
                end_token(token);
                change_depth(c);
            } else if (static_cast<unsigned char>(c) >= ' ') {
                token += c;
            }
        }
        end_token(token);
    }

    int games() const { return games_; }
    MoveTable &moves() { return moves_; }

private:
    void start_game(std::string_view line) {
        set_fen(position_, START_FEN);
        result_ = result_in(line);
        plies_ = comment_depth_ = variation_depth_ = 0;
        stopped_ = false;
        if (++games_ % GAMES_PER_DOT == 0) {
            std::putchar('.');
            std::fflush(stdout);
        }
    }

    // A bracket without its partner does not open the game for what follows.
    void change_depth(char bracket) {
        if (stopped_) return;
        int &depth = bracket == '{' || bracket == '}' ? comment_depth_ : variation_depth_;
        depth = bracket == '{' || bracket == '(' ? depth + 1 : std::max(depth - 1, 0);
    }

    void end_token(std::string &token) {
        const bool is_move =
            !token.empty() && token[0] != ';' && token[0] != '$' &&
            (std::any_of(token.begin(), token.end(), [](unsigned char c) { return std::isalpha(c) != 0; }) ||
             token.find("0-") != std::string::npos);
        if (is_move && !stopped_ && comment_depth_ == 0 && variation_depth_ == 0) play(token);
        token.clear();
    }

    void play(const std::string &text) {
        Move move = NO_MOVE;
        if (plies_ >= MAX_GAME_MOVES || !parse_move(position_, without_move_number(text), move)) {
            stopped_ = true;
            return;
        }
        MoveRecord &record = moves_.find_or_add(polyglot_key(position_), move);
        const bool white_wins = result_ == GameResult::WHITE_WINS;
        if (result_ == GameResult::DRAW)
            ++record.draws;
        else
            ++((position_.side == WHITE) == white_wins ? record.wins : record.losses);
        make_move(position_, move);
        ++plies_;
    }

    std::unique_ptr<MoveHistory> history_;
    Position position_;
    GameResult result_ = GameResult::UNKNOWN;
    int plies_ = 0;
    int comment_depth_ = 0;
    int variation_depth_ = 0;
    bool stopped_ = false;
    int games_ = 0;
    MoveTable moves_;
};

std::int64_t score_of(const MoveRecord &record) {
    return 4 * static_cast<std::int64_t>(record.wins) - 2 * static_cast<std::int64_t>(record.losses) + record.draws;
}

// Appends the entries of the records of one key: moves that scored well, the best first, at most MAX_BOOK_MOVES.
void write_group(std::ostream &book, const MoveRecord *begin, const MoveRecord *end) {
    std::vector<MoveRecord> kept;
    std::copy_if(begin, end, std::back_inserter(kept),
                 [](const MoveRecord &record) { return score_of(record) >= LEAST_SCORE && record.wins >= LEAST_WINS; });
    if (kept.empty()) return;
    std::int64_t highest = 0;
    for (const MoveRecord &record : kept) highest = std::max(highest, score_of(record));
    const double scale = std::min(1.0, HIGHEST_WEIGHT / static_cast<double>(highest));
    const auto weight_of = [scale](const MoveRecord &record) {
        return static_cast<std::uint16_t>(static_cast<double>(score_of(record)) * scale);
    };
    std::stable_sort(kept.begin(), kept.end(),
                     [&weight_of](const MoveRecord &a, const MoveRecord &b) { return weight_of(a) > weight_of(b); });
    if (kept.size() > MAX_BOOK_MOVES) kept.resize(MAX_BOOK_MOVES);
    for (const MoveRecord &record : kept) {
        const auto bytes = book_entry_bytes({record.key, move_to_book(record.move), weight_of(record), 0});
        book.write(bytes.data(), bytes.size());
    }
}

bool write_book(const std::vector<MoveRecord> &records) {
    std::error_code error;
    std::filesystem::remove(BOOK_FILE, error);
    std::ofstream book(BOOK_FILE, std::ios::binary);
    const MoveRecord *end = records.data() + records.size();
    for (const MoveRecord *group = records.data(); group != end && book;) {
        const MoveRecord *next =
            std::find_if(group, end, [key = group->key](const MoveRecord &record) { return record.key != key; });
        write_group(book, group, next);
        group = next;
    }
    book.close();
    if (book) return true;
    std::filesystem::remove(BOOK_FILE, error);  // a part of a book would look like a whole one
    return false;
}

void read_games(LineReader &file, BookReader &reader) {
    if (standard_error_is_terminal()) std::fputc('\n', stderr);  // keeps the line that the dots belong to
    Progress progress("games");
    std::string_view line;
    while (file.next(line)) {
        reader.read_line(line);
        progress.update(reader.games(), file.position(), file.size());
    }
    progress.finish();
    if (file.failed()) std::printf("\ncannot read the whole file");
}

}  // namespace

void build_book(const char *pgn_file) {
    LineReader file(pgn_file, LONGEST_LINE);
    if (!file.is_open()) return;
    std::printf("Creating file %s from games in %s", BOOK_FILE, pgn_file);
    std::fflush(stdout);
    bool writing = false;
    try {
        BookReader reader;
        read_games(file, reader);
        std::printf("\nwriting book file ...");
        std::fflush(stdout);
        writing = true;
        const std::size_t distinct_moves = reader.moves().size();
        if (!write_book(reader.moves().take_sorted())) {
            std::printf("\ncannot write %s\n", BOOK_FILE);
            return;
        }
        std::printf("\nngames= %d, nmoves= %zu\n", reader.games(), distinct_moves);
        std::printf("done\n");
    } catch (const std::bad_alloc &) {
        std::printf("\nnot enough memory\n");
        std::error_code error;
        if (writing) std::filesystem::remove(BOOK_FILE, error);
    }
}
