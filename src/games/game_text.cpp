#include "games/game_text.h"

#include <algorithm>
#include <cctype>

#include "board/notation.h"

namespace {

bool is_letter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
bool is_control(char c) { return static_cast<unsigned char>(c) < ' '; }

bool may_be_move(const std::string &word, const GameTextRules &rules) {
    if (word.empty()) return false;
    if (!rules.letters_anywhere) return is_letter(without_move_number(word)[0]);
    if (word[0] == ';' || word[0] == '$') return false;
    return std::any_of(word.begin(), word.end(), is_letter) || word.find("0-") != std::string::npos;
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
    return c == '{' || c == '}' || (rules_.round_brackets && (c == '(' || c == ')'));
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
    while (!rest_.empty()) {
        const char c = rest_.front();
        const bool ends_word = is_bracket(c) || c == ' ' || (rules_.controls_end_words && is_control(c));
        if (ends_word && take_move(event)) return true;  // the character waits for the next call
        rest_.remove_prefix(1);
        if (take_character(c, event)) return true;
    }
    if (take_move(event)) return true;
    if (comment_depth_ > 0 && rules_.comments) comment_ += ' ';
    line_open_ = false;
    return false;
}

// Ends the word that has been read. False when it is no move.
bool GameTextReader::take_move(GameTextEvent &event) {
    const bool found = may_be_move(word_, rules_);
    if (found) {
        taken_.swap(word_);
        event = {GameTextEvent::MOVE, without_move_number(taken_).substr(0, rules_.longest_move)};
    }
    word_.clear();
    return found;
}

// False when the character completes no comment.
bool GameTextReader::take_character(char c, GameTextEvent &event) {
    const bool was_comment = comment_depth_ > 0;
    if (is_bracket(c)) count_bracket(c);
    if (was_comment && comment_depth_ > 0) {
        if (rules_.comments) comment_ += c;
        return false;
    }
    if (was_comment && rules_.comments) {
        taken_.swap(comment_);
        comment_.clear();
        event = {GameTextEvent::COMMENT, taken_};
        return true;
    }
    const bool part_of_word = !is_bracket(c) && c != ' ' && !is_control(c);
    if (part_of_word && comment_depth_ == 0 && variation_depth_ == 0) word_ += c;
    return false;
}
