#include "games/game_text.h"

#include <algorithm>
#include <array>

#include "board/notation.h"

namespace {

// Kinds of characters, one bit each; none for all others.
enum : std::uint8_t { LETTER = 1, BLANK = 2, CONTROL = 4, BRACE = 8, ROUND_BRACKET = 16 };

constexpr std::array<std::uint8_t, 256> CHARACTER_KINDS = [] {
    std::array<std::uint8_t, 256> kinds{};
    for (std::size_t c = 0; c < ' '; ++c) kinds[c] = CONTROL;
    for (std::size_t c = 'A'; c <= 'Z'; ++c) kinds[c] = kinds[c + ('a' - 'A')] = LETTER;
    kinds[' '] = BLANK;
    kinds['{'] = kinds['}'] = BRACE;
    kinds['('] = kinds[')'] = ROUND_BRACKET;
    return kinds;
}();

bool is_of(std::uint8_t kinds, char c) { return (CHARACTER_KINDS[static_cast<unsigned char>(c)] & kinds) != 0; }
bool is_letter(char c) { return is_of(LETTER, c); }

// Length of the text before the first character of some kinds.
std::size_t length_before(std::uint8_t kinds, std::string_view text) {
    std::size_t length = 0;
    while (length < text.size() && !is_of(kinds, text[length])) ++length;
    return length;
}

bool may_be_move(std::string_view word, const GameTextRules &rules) {
    if (word.empty()) return false;
    if (!rules.letters_anywhere) return is_letter(without_move_number(word)[0]);
    if (word[0] == ';' || word[0] == '$') return false;
    return std::any_of(word.begin(), word.end(), is_letter) || word.find("0-") != std::string_view::npos;
}

}  // namespace

GameTextReader::GameTextReader(const GameTextRules &rules)
    : rules_(rules), brackets_(rules.round_brackets ? BRACE | ROUND_BRACKET : BRACE) {}

void GameTextReader::close_brackets() {
    comment_depth_ = variation_depth_ = 0;
    comment_.clear();
}

bool GameTextReader::is_tag_line() const {
    if (!rest_.starts_with('[') || (rules_.percent_is_no_tag && rest_.starts_with("[%"))) return false;
    return comment_depth_ == 0 || rules_.tag_lines_in_comments;
}

void GameTextReader::count_bracket(char c) {
    int &depth = c == '{' || c == '}' ? comment_depth_ : variation_depth_;
    depth = c == '{' || c == '(' ? depth + 1 : std::max(depth - 1, 0);
}

void GameTextReader::start_line(std::string_view line) {
    rest_ = line;
    word_.clear();
    tag_line_ = is_tag_line();
    line_open_ = tag_line_ || !rules_.remark_lines || comment_depth_ > 0 || !line.starts_with(';');
    if (tag_line_ && rules_.tag_lines_end_comments) close_brackets();
}

bool GameTextReader::next(GameTextEvent &event) {
    if (!line_open_) return false;
    if (tag_line_) {
        event = {GameTextEvent::TAG_LINE, rest_};
        line_open_ = false;
        return true;
    }
    while (!rest_.empty())
        if (comment_depth_ > 0 || variation_depth_ > 0 ? pass_brackets(event) : take_word(event)) return true;
    if (finish_word({}, event)) return true;
    if (comment_depth_ > 0 && rules_.comments) comment_ += ' ';
    line_open_ = false;
    return false;
}

// Goes on to the next bracket and counts it. True when it completes a comment that is wanted.
bool GameTextReader::pass_brackets(GameTextEvent &event) {
    const bool was_comment = comment_depth_ > 0;
    const std::size_t length = length_before(brackets_, rest_);
    const std::string_view passed = rest_.substr(0, length);
    const bool found = length < rest_.size();
    if (found) count_bracket(rest_[length]);
    const std::string_view inside = rest_.substr(0, length + 1);
    rest_.remove_prefix(inside.size());
    if (!was_comment || !rules_.comments) return false;
    if (!found || comment_depth_ > 0) {
        comment_ += inside;
        return false;
    }
    event = {GameTextEvent::COMMENT, passed};
    if (comment_.empty()) return true;
    comment_ += passed;
    taken_.swap(comment_);
    comment_.clear();
    event.text = taken_;
    return true;
}

// Goes on to what ends the word; past it, when the word is no move. True when it is one.
bool GameTextReader::take_word(GameTextEvent &event) {
    const std::size_t length = length_before(static_cast<std::uint8_t>(BLANK | CONTROL | brackets_), rest_);
    const std::string_view part = rest_.substr(0, length);
    rest_.remove_prefix(length);
    if (!rules_.controls_end_words && !rest_.empty() && is_of(CONTROL, rest_[0]))
        word_ += part;
    else if (finish_word(part, event))
        return true;
    if (rest_.empty()) return false;
    if (is_of(brackets_, rest_[0])) count_bracket(rest_[0]);
    rest_.remove_prefix(1);
    return false;
}

// Ends the word with its last part. False when it is no move.
bool GameTextReader::finish_word(std::string_view part, GameTextEvent &event) {
    if (!word_.empty()) {
        taken_ = word_.append(part);
        word_.clear();
        part = taken_;
    }
    if (!may_be_move(part, rules_)) return false;
    event = {GameTextEvent::MOVE, without_move_number(part).substr(0, rules_.longest_move)};
    return true;
}
