#include "book/build.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "board/fen.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "book/format.h"
#include "platform/files.h"

namespace {

constexpr int BOOK_PLIES = 36;  // a line that starts at or after this ply is not read
constexpr std::int64_t LEAST_SCORE = 10;
constexpr std::uint32_t LEAST_WINS = 3;
constexpr double HIGHEST_WEIGHT = 60000.0;
constexpr GameTextRules OPENING_TEXT = {.controls_end_words = false,
                                        .round_brackets = true,
                                        .remark_lines = true,
                                        .tag_lines_in_comments = false,
                                        .letters_anywhere = true};

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

void write_entries(std::ostream &book, const std::vector<MoveRecord> &records) {
    const MoveRecord *end = records.data() + records.size();
    for (const MoveRecord *group = records.data(); group != end && book;) {
        const MoveRecord *next =
            std::find_if(group, end, [key = group->key](const MoveRecord &record) { return record.key != key; });
        write_group(book, group, next);
        group = next;
    }
}

// A file that is removed at the end of its life unless it is kept: a part of a book would look like a whole one.
struct PartialFile {
    const char *path;
    bool keep = false;
    ~PartialFile() {
        std::error_code error;
        if (!keep) std::filesystem::remove(file_path(path), error);
    }
};

}  // namespace

BookBuilder::BookBuilder() : history_(std::make_unique<MoveHistory>()), reader_(OPENING_TEXT) {
    position_.history = history_.get();
    position_.ep_square = NO_SQUARE;
    set_fen(position_, START_FEN);
}

void BookBuilder::read_line(std::string_view line) {
    if (line.find("[Result") != std::string_view::npos) start_game(line);
    if (result_ == GameResult::UNKNOWN || plies_ >= BOOK_PLIES) return;
    reader_.start_line(line);
    for (GameTextEvent event; !stopped_ && reader_.next(event);)
        if (event.kind == GameTextEvent::MOVE) play(event.text);
}

void BookBuilder::start_game(std::string_view tag_line) {
    set_fen(position_, START_FEN);
    reader_.close_brackets();
    result_ = result_in(tag_line);
    plies_ = 0;
    stopped_ = false;
    ++games_;
}

void BookBuilder::play(std::string_view text) {
    const ParsedMove parsed = plies_ < MAX_GAME_MOVES ? parse_move(position_, text) : ParsedMove{};
    ambiguous_moves_ += parsed.matches == 2;
    stopped_ = !parsed.found();
    if (stopped_) return;
    MoveRecord &record = moves_.find_or_add(polyglot_key(position_), parsed.move);
    if (result_ == GameResult::DRAW)
        ++record.draws;
    else
        ++(result_ == win_of(position_.side) ? record.wins : record.losses);
    make_move(position_, parsed.move);
    ++plies_;
}

bool BookBuilder::write(const char *path) {
    PartialFile partial{path};
    std::error_code error;
    std::filesystem::remove(file_path(path), error);
    std::ofstream book(file_path(path), std::ios::binary);
    write_entries(book, moves_.take_sorted());
    book.close();
    partial.keep = static_cast<bool>(book);
    return partial.keep;
}
