#include "games/game_text.h"

#include <algorithm>
#include <array>

#include "board/notation.h"

namespace {

enum CharacterKind : std::uint8_t { OTHER, LETTER, BLANK, CONTROL, BRACE, ROUND_BRACKET };

constexpr std::array<CharacterKind, 256> CHARACTER_KINDS = [] {
    std::array<CharacterKind, 256> kinds{};
    for (std::size_t c = 0; c < ' '; ++c) kinds[c] = CONTROL;
    for (std::size_t c = 'A'; c <= 'Z'; ++c) kinds[c] = kinds[c + ('a' - 'A')] = LETTER;
    kinds[' '] = BLANK;
    kinds['{'] = kinds['}'] = BRACE;
    kinds['('] = kinds[')'] = ROUND_BRACKET;
    return kinds;
}();

CharacterKind kind_of(char c) { return CHARACTER_KINDS[static_cast<unsigned char>(c)]; }
bool is_letter(char c) { return kind_of(c) == LETTER; }

bool may_be_move(std::string_view word, const GameTextRules &rules) {
    if (word.empty()) return false;
    if (!rules.letters_anywhere) return is_letter(without_move_number(word)[0]);
    if (word[0] == ';' || word[0] == '$') return false;
    return std::any_of(word.begin(), word.end(), is_letter) || word.find("0-") != std::string_view::npos;
}

}  // namespace

void GameTextReader::close_brackets() {
    comment_depth_ = variation_depth_ = 0;
    comment_.clear();
}

bool GameTextReader::is_tag_line() const {
    if (!rest_.starts_with('[') || (rules_.percent_is_no_tag && rest_.starts_with("[%"))) return false;
    return comment_depth_ == 0 || rules_.tag_lines_in_comments;
}

bool GameTextReader::is_bracket(char c) const {
    const CharacterKind kind = kind_of(c);
    return kind == BRACE || (kind == ROUND_BRACKET && rules_.round_brackets);
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
    std::size_t length = 0;
    while (length < rest_.size() && !is_bracket(rest_[length])) ++length;
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
    const auto in_word = [this](char c) {
        return kind_of(c) <= LETTER || (kind_of(c) == ROUND_BRACKET && !is_bracket(c));
    };
    std::size_t length = 0;
    while (length < rest_.size() && in_word(rest_[length])) ++length;
    const std::string_view part = rest_.substr(0, length);
    rest_.remove_prefix(length);
    if (!rest_.empty() && kind_of(rest_[0]) == CONTROL && !rules_.controls_end_words)
        word_ += part;
    else if (finish_word(part, event))
        return true;
    if (rest_.empty()) return false;
    if (is_bracket(rest_[0])) count_bracket(rest_[0]);
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
