#include "book/build.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <span>
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

// Whether a move has scored well.
bool is_kept(const MoveRecord &record) { return score_of(record) >= LEAST_SCORE && record.wins >= LEAST_WINS; }

// Appends the entries of the records of one key: the best first, at most MAX_BOOK_MOVES.
void write_group(std::ostream &book, std::span<const MoveRecord> group) {
    std::vector<MoveRecord> sorted(group.begin(), group.end());
    std::int64_t highest = 0;
    for (const MoveRecord &record : sorted) highest = std::max(highest, score_of(record));
    const double scale = std::min(1.0, HIGHEST_WEIGHT / static_cast<double>(highest));
    const auto weight_of = [scale](const MoveRecord &record) {
        return static_cast<std::uint16_t>(static_cast<double>(score_of(record)) * scale);
    };
    std::stable_sort(sorted.begin(), sorted.end(),
                     [&weight_of](const MoveRecord &a, const MoveRecord &b) { return weight_of(a) > weight_of(b); });
    if (sorted.size() > MAX_BOOK_MOVES) sorted.resize(MAX_BOOK_MOVES);
    for (const MoveRecord &record : sorted) {
        const auto bytes = book_entry_bytes({record.key, move_to_book(record.move), weight_of(record), 0});
        book.write(bytes.data(), bytes.size());
    }
}

void write_entries(std::ostream &book, const std::vector<MoveRecord> &records) {
    const MoveRecord *end = records.data() + records.size();
    for (const MoveRecord *group = records.data(); group != end && book;) {
        const MoveRecord *next =
            std::find_if(group, end, [key = group->key](const MoveRecord &record) { return record.key != key; });
        write_group(book, {group, next});
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
    pieces_key_ = polyglot_pieces_key(position_);
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
    pieces_key_ = polyglot_pieces_key(position_);
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
    MoveTable::Result result = result_ == win_of(position_.side) ? &MoveRecord::wins : &MoveRecord::losses;
    if (result_ == GameResult::DRAW) result = &MoveRecord::draws;
    moves_.count(polyglot_key(position_, pieces_key_), parsed.move, result);
    move_on(parsed.move);
    ++plies_;
}

// Makes the move and changes the pieces' key with it: wherever a piece has come or gone.
void BookBuilder::move_on(Move move) {
    const auto board = position_.board;
    const Bitboard white = position_.all(WHITE);
    const Bitboard black = position_.all(BLACK);
    make_move(position_, move);
    for (Bitboard changed = (white ^ position_.all(WHITE)) | (black ^ position_.all(BLACK)); changed != 0;) {
        const Square s = pop_lsb(changed);
        for (const Piece piece : {board[s], position_.board[s]})
            if (piece != NO_PIECE) pieces_key_ ^= polyglot_piece_number(piece, s);
    }
}

bool BookBuilder::write(const char *path) {
    PartialFile partial{path};
    std::error_code error;
    std::filesystem::remove(file_path(path), error);
    std::ofstream book(file_path(path), std::ios::binary);
    write_entries(book, moves_.take_sorted(is_kept));
    book.close();
    partial.keep = static_cast<bool>(book);
    return partial.keep;
}
