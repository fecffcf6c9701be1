// Reading games of PGN files.
#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

#include "base/text.h"
#include "games/pgn.h"

namespace {

constexpr std::size_t LARGEST_GAME = std::size_t{1} << 20;  // bytes that are kept of one game
constexpr std::size_t MOST_TAGS = 1000;
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
constexpr std::string_view DELIMITERS = " {}()[]<>;$";
constexpr int HIGHEST_NAG = 255;

bool is_control(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }
bool is_blank(char c) { return c == ' ' || is_control(c); }
bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_tag_letter(char c) { return is_letter(c) || is_digit(c) || c == '_'; }

std::size_t after_blanks(std::string_view text, std::size_t at) {
    while (at < text.size() && is_blank(text[at])) ++at;
    return at;
}

// "12.", "12...e4" and "...e4" without what stands before the move.
std::string_view without_number(std::string_view word) {
    const std::size_t dots = std::min(word.find_first_not_of("0123456789"), word.size());
    if (dots == word.size()) return {};
    if (word[dots] != '.') return word;
    return word.substr(std::min(word.find_first_not_of('.', dots), word.size()));
}

// Takes the signs off the end of a move. 0 when there are none that mean something.
int take_suffix(std::string_view &word) {
    constexpr std::array<std::string_view, 7> SUFFIXES = {"", "!", "?", "!!", "??", "!?", "?!"};
    const std::size_t length = word.find_last_not_of("!?") + 1;  // 0 when there are only signs
    const auto found = std::find(SUFFIXES.begin(), SUFFIXES.end(), word.substr(length));
    word = word.substr(0, length);
    return found == SUFFIXES.end() ? 0 : static_cast<int>(found - SUFFIXES.begin());
}

// Where the value of a tag ends: at the quotation mark before the bracket; quotation marks inside may lack their
// backslash. npos when the tag does not end on the line.
std::size_t end_of_value(std::string_view line, std::size_t start) {
    std::size_t escaped = std::string_view::npos;
    for (std::size_t i = start; i < line.size(); ++i) {
        if (line[i] == '\\' && i + 1 < line.size()) {
            ++i;
            if (line[i] != '"') continue;
            const std::size_t next = after_blanks(line, i + 1);
            if (next < line.size() && line[next] == ']') escaped = std::min(escaped, i);
            continue;
        }
        if (line[i] != '"') continue;
        const std::size_t next = after_blanks(line, i + 1);
        if (next < line.size() && line[next] == ']') return i;
    }
    return escaped;
}

// A value without control characters, its quotation marks and backslashes in order.
std::string clean_value(std::string_view raw) {
    std::string value;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (is_control(raw[i])) continue;
        const bool pair = raw[i] == '\\' && i + 1 < raw.size() && (raw[i + 1] == '"' || raw[i + 1] == '\\');
        if (!pair && (raw[i] == '"' || raw[i] == '\\')) value += '\\';
        value += raw[i];
        if (pair) value += raw[++i];
    }
    return value;
}

// A FEN tells who moves first, and the number of that move.
void read_start(PgnGame &game) {
    constexpr int HIGHEST_NUMBER = 9999;
    enum Field { SIDE = 1, NUMBER = 5, FIELDS = 6 };
    const std::string_view fen = game.tag("FEN");
    if (fen.empty()) return;
    const std::vector<std::string_view> fields = split_words(fen, FIELDS, fen.size());
    if (word_at(fields, SIDE) == "b") game.first_side = BLACK;
    game.first_number = clamped_integer(word_at(fields, NUMBER), 1, HIGHEST_NUMBER);
}

}  // namespace

std::string_view PgnGame::tag(std::string_view name) const {
    const auto found = std::find_if(tags.begin(), tags.end(), [name](const PgnTag &t) { return t.name == name; });
    return found == tags.end() ? std::string_view{} : std::string_view(found->value);
}

bool PgnReader::next(PgnGame &game) {
    do {
        read_game();
    } while (game_.empty() && line_open_);
    game = std::move(game_);
    return !game.empty();
}

void PgnReader::read_game() {
    game_ = {};
    size_ = 0;
    full_ = false;
    result_read_ = false;
    while (line_open_ || read_line()) {
        read_text();
        if (line_open_ || (result_read_ && place_ == Place::MOVES)) break;
    }
    end_game();
}

bool PgnReader::read_line() {
    if (!file_.next_whole(line_)) return false;
    if (first_line_ && line_.starts_with(BYTE_ORDER_MARK)) line_.erase(0, BYTE_ORDER_MARK.size());
    first_line_ = false;
    const bool in_comment = place_ == Place::COMMENT || place_ == Place::VARIATION_COMMENT;
    at_ = line_.starts_with('%') && !in_comment ? line_.size() : 0;
    line_open_ = true;
    return true;
}

// Reads the line, or up to the next game, for which the rest stays open.
void PgnReader::read_text() {
    if (at_ == 0 && place_ != Place::MOVES && line_.starts_with("[Event \"")) {
        game_.damaged = true;  // a bracket was never closed
        return;
    }
    while (at_ < line_.size())
        if (!read_part()) return;
    if (place_ != Place::MOVES) keep(" ", text_);
    line_open_ = false;
}

// False before the next game.
bool PgnReader::read_part() {
    if (place_ == Place::COMMENT || place_ == Place::VARIATION_COMMENT) {
        read_comment(place_ == Place::VARIATION_COMMENT);
        return true;
    }
    const char c = line_[at_];
    if (is_blank(c)) {
        if (place_ == Place::VARIATION) keep(" ", text_);
        ++at_;
    } else if (c == ';') {
        add_remark();
    } else if (place_ == Place::VARIATION) {
        read_variation();
    } else if (result_read_ && c != '{') {
        return false;
    } else if (at_tag()) {
        if (begins_game()) return false;
        read_tag();
    } else if (DELIMITERS.find(c) != std::string_view::npos) {
        read_bracket(c);
    } else {
        read_word();
    }
    return true;
}

void PgnReader::read_bracket(char c) {
    ++at_;
    if (c == '{') place_ = Place::COMMENT;
    if (c == '(') {
        place_ = Place::VARIATION;
        depth_ = 1;
    }
    if (c != '$') return;
    const std::size_t digits = at_;
    while (at_ < line_.size() && is_digit(line_[at_])) ++at_;
    if (at_ > digits) add_nag(clamped_integer(std::string_view(line_).substr(digits, at_ - digits), 0, HIGHEST_NAG));
}

void PgnReader::read_comment(bool in_variation) {
    const std::size_t close = std::min(line_.find('}', at_), line_.size());
    // Some programs let braces nest.
    std::replace(line_.begin() + static_cast<std::ptrdiff_t>(at_), line_.begin() + static_cast<std::ptrdiff_t>(close),
                 '{', '(');
    keep(std::string_view(line_).substr(at_, close - at_), text_);
    at_ = close;
    if (at_ == line_.size()) return;
    ++at_;
    if (in_variation) {
        keep("} ", text_);
        place_ = Place::VARIATION;
        return;
    }
    place_ = Place::MOVES;
    add_note(PgnNote::COMMENT);
}

// What stands behind a semicolon, as a comment in braces.
void PgnReader::add_remark() {
    std::string remark = line_.substr(at_ + 1);
    std::replace(remark.begin(), remark.end(), '{', '(');
    std::replace(remark.begin(), remark.end(), '}', ')');
    at_ = line_.size();
    if (place_ == Place::VARIATION) {
        keep(" {" + remark + "} ", text_);
        return;
    }
    keep(remark, text_);
    add_note(PgnNote::COMMENT);
}

void PgnReader::read_variation() {
    const char c = line_[at_];
    if (c == '{') {
        keep(" {", text_);
        place_ = Place::VARIATION_COMMENT;
    } else if (c == '(') {
        keep(" (", text_);
        ++depth_;
    } else if (c == ')') {
        if (--depth_ > 0) {
            keep(") ", text_);
        } else {
            place_ = Place::MOVES;
            add_note(PgnNote::VARIATION);
        }
    } else if (c == '$') {
        if (at_ + 1 < line_.size() && is_digit(line_[at_ + 1])) keep(" $", text_);
    } else if (DELIMITERS.find(c) == std::string_view::npos) {
        const std::size_t end = std::min(line_.find_first_of(DELIMITERS, at_), line_.size());
        const std::string_view word = std::string_view(line_).substr(at_, end - at_);
        if (word != "*" && result_named(word) == GameResult::UNKNOWN) keep(word, text_);  // a result would end the game
        at_ = end;
        return;
    }
    ++at_;
}

// Among moves only what has the form of a tag is one.
bool PgnReader::at_tag() const {
    if (line_[at_] != '[') return false;
    std::size_t end = after_blanks(line_, at_ + 1);
    if (end == line_.size() || !is_letter(line_[end])) return false;
    while (end < line_.size() && is_tag_letter(line_[end])) ++end;
    end = after_blanks(line_, end);
    return game_.moves.empty() || (end < line_.size() && line_[end] == '"');
}

// A tag stands before the moves; the name of the event comes first.
bool PgnReader::begins_game() const {
    if (!game_.moves.empty()) return true;
    return std::string_view(line_).substr(after_blanks(line_, at_ + 1)).starts_with("Event ") &&
           !game_.tag("Event").empty();
}

// One that is not well formed is taken as far as its sense is clear.
void PgnReader::read_tag() {
    const std::string_view line = line_;
    const std::size_t name = after_blanks(line, at_ + 1);
    std::size_t end = name;
    while (end < line.size() && is_tag_letter(line[end])) ++end;
    std::size_t value = after_blanks(line, end);
    std::size_t value_end = std::min(line.find(']', value), line.size());
    at_ = value_end;
    if (value < line.size() && line[value] == '"') {
        ++value;
        value_end = std::min(end_of_value(line, value), line.size());
        at_ = std::min(line.find(']', value_end), line.size());
    }
    at_ = std::min(at_ + 1, line.size());
    PgnTag tag;
    keep(line.substr(name, end - name), tag.name);
    keep(line.substr(value, std::max(value_end, value) - value), tag.value);
    tag.value = clean_value(tag.value);
    if (game_.tags.size() >= MOST_TAGS)
        game_.damaged = true;
    else if (!tag.name.empty())
        game_.tags.push_back(std::move(tag));
}

void PgnReader::read_word() {
    std::size_t end = at_;
    while (end < line_.size() && !is_control(line_[end]) && DELIMITERS.find(line_[end]) == std::string_view::npos)
        ++end;
    const std::size_t start = std::exchange(at_, end);
    take_word(std::string_view(line_).substr(start, end - start));
}

void PgnReader::take_word(std::string_view word) {
    if (word == "*" || word == "1/2") return take_result(word == "*" ? GameResult::UNKNOWN : GameResult::DRAW);
    if (const GameResult result = result_named(word); result != GameResult::UNKNOWN) return take_result(result);
    word = without_number(word);
    const int nag = take_suffix(word);
    // What is shorter, or begins otherwise, are signs of commentators.
    const bool move = word.size() > 1 && (is_letter(word[0]) || word.starts_with("0-0") || word == "--");
    if (move && word != "e.p." && word != "ep") add_move(word);
    if (nag != 0) add_nag(nag);
}

void PgnReader::add_move(std::string_view text) {
    if (game_.moves.size() >= MAX_GAME_MOVES || !take_room(text.size())) {
        game_.damaged = true;
        return;
    }
    game_.moves.emplace_back();
    game_.moves.back().text = text;
}

void PgnReader::take_result(GameResult result) {
    game_.result = result;
    result_read_ = !game_.tags.empty() || !game_.moves.empty();
}

void PgnReader::add_note(PgnNote::Kind kind) {
    std::string text;
    for (const char c : std::exchange(text_, {})) {
        const char shown = is_control(c) ? ' ' : c;
        if (shown != ' ' || !text.ends_with(' ')) text += shown;
    }
    text.erase(0, text.find_first_not_of(' '));
    text.erase(text.find_last_not_of(' ') + 1);
    if (text.empty()) return;
    if (kind == PgnNote::VARIATION && (game_.moves.empty() || full_)) return;  // of no move, or cut anywhere
    (game_.moves.empty() ? game_.notes : game_.moves.back().notes).push_back({kind, std::move(text)});
}

void PgnReader::add_nag(int nag) {
    if (!game_.moves.empty() && take_room(sizeof nag)) game_.moves.back().nags.push_back(nag);
}

// Appends to what is kept of the game, as far as there is room.
void PgnReader::keep(std::string_view text, std::string &store) {
    if (take_room(text.size())) store += text;
}

// Whether the game may hold so many bytes more. Once it may not, it takes nothing any more.
bool PgnReader::take_room(std::size_t size) {
    full_ |= size_ + size > LARGEST_GAME;
    game_.damaged |= full_;
    if (!full_) size_ += size;
    return !full_;
}

void PgnReader::end_game() {
    if (place_ != Place::MOVES) {
        game_.damaged = true;
        // What was open is closed.
        if (place_ == Place::VARIATION_COMMENT) text_ += " }";
        for (; place_ != Place::COMMENT && depth_ > 1; --depth_) text_ += ')';
        add_note(place_ == Place::COMMENT ? PgnNote::COMMENT : PgnNote::VARIATION);
    }
    place_ = Place::MOVES;
    depth_ = 0;
    if (!result_read_) game_.result = result_named(game_.tag("Result"));
    read_start(game_);
    game_.end = file_.position();
}
