// Writing games as standard PGN.
#include <algorithm>

#include "base/output.h"
#include "games/pgn.h"

namespace {

constexpr std::size_t LONGEST_LINE = 79;
constexpr std::string_view ROSTER[] = {"Event", "Site", "Date", "Round", "White", "Black"};

// Words in lines. A line is never broken before what would mean something to some reader at its start, even in a comment.
class LineFiller {
public:
    explicit LineFiller(std::string &text) : text_(text) {}

    void add(std::string_view word) {
        const bool may_begin_line = word[0] != '%' && word[0] != ';' && (word[0] != '[' || word.starts_with("[%"));
        if (may_begin_line) finish();
        if (!unit_.empty()) unit_ += ' ';
        unit_ += word;
    }

    // Writes what has been held back.
    void finish() {
        if (unit_.empty()) return;
        if (column_ != 0) {
            const bool full = column_ + 1 + unit_.size() > LONGEST_LINE;
            text_ += full ? '\n' : ' ';
            column_ = full ? 0 : column_ + 1;
        }
        text_ += unit_;
        column_ += unit_.size();
        unit_.clear();
    }

    // The words of a text. Commands in it ("[%clk 0:01:00]") stay in one piece.
    void add_words(std::string_view text) {
        while (!text.empty()) {
            const std::size_t end = end_of_word(text);
            if (end > 0) add(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }

private:
    static std::size_t end_of_word(std::string_view text) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::size_t command = text.substr(0, end).find("[%");
        if (command == std::string_view::npos) return end;
        const std::size_t close = text.substr(0, command + LONGEST_LINE).find(']', command);
        return close == std::string_view::npos ? end : std::min(text.find(' ', close), text.size());
    }

    std::string &text_;
    std::string unit_;  // words that stay together
    std::size_t column_ = 0;
};

void write_tags(const PgnGame &game, std::string &text) {
    const auto add = [&text](std::string_view name, std::string_view value) {
        text += "[" + std::string(name) + " \"" + std::string(value) + "\"]\n";
    };
    for (const PgnTag &tag : game.tags) add(tag.name, tag.value);
    if (!game.tags.empty()) return;
    for (const std::string_view name : ROSTER) add(name, name == "Date" ? "????.??.??" : "?");
    add("Result", result_text(game.result));
}

void write_notes(const std::vector<PgnNote> &notes, LineFiller &lines) {
    for (const PgnNote &note : notes)
        lines.add_words(note.kind == PgnNote::COMMENT ? "{" + note.text + "}" : "(" + note.text + ")");
}

}  // namespace

Colour mover(const PgnGame &game, std::size_t index) {
    return index % 2 == 0 ? game.first_side : opponent(game.first_side);
}

std::string move_number(const PgnGame &game, std::size_t index) {
    const std::size_t since_first_white = index + (game.first_side == BLACK ? 1 : 0);
    const int number = game.first_number + static_cast<int>(since_first_white / 2);
    return format_line(mover(game, index) == WHITE ? "%d." : "%d...", number);
}

std::string write_pgn(const PgnGame &game) {
    std::string text;
    write_tags(game, text);
    text += '\n';
    LineFiller lines(text);
    write_notes(game.notes, lines);
    bool numbered = false;  // the number of a black move follows from the move before it
    for (std::size_t i = 0; i < game.moves.size(); ++i) {
        const PgnMove &move = game.moves[i];
        const bool with_number = mover(game, i) == WHITE || !numbered;
        lines.add((with_number ? move_number(game, i) + " " : "") + move.text);
        for (const int nag : move.nags) lines.add(format_line("$%d", nag));
        write_notes(move.notes, lines);
        numbered = move.notes.empty();
    }
    lines.add(result_text(game.result));
    lines.finish();
    return text + "\n\n";
}
