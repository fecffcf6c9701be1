// Game text (PGN and what people write that looks like it), read line by line: which words are moves, what is comment.
//
// This folder knows the texts of games and positions: game text here, EPD records (epd.h), results (results.h). It owns
// nothing and knows no game; whoever reads a file plays the moves and decides when a game begins and ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// What readers of game text do not agree on. Braces nest for all of them and may run over lines; a closing one without
// its partner ends a word and does nothing else.
struct GameTextRules {
    bool controls_end_words = true;       // control characters end words like blanks; otherwise they are dropped
    bool round_brackets = false;          // enclose variations, without moves; they count inside comments as well
    bool remark_lines = false;            // a line that begins with ';' outside comments is skipped
    bool tag_lines_in_comments = true;    // a line that begins with '[' is a tag line inside a comment, too
    bool tag_lines_end_comments = false;  // and ends comments and variations that are open
    bool percent_is_no_tag = false;       // "[%" begins no tag line
    bool letters_anywhere = false;        // a word with a letter or "0-" in any place may be a move, unless it begins
                                          // with ';' or '$'; otherwise a letter must stand first, after a move number
    std::size_t longest_move = std::string::npos;  // characters of a move; the rest is cut off
    bool comments = false;                         // the text of comments is wanted
};

struct GameTextEvent {
    enum Kind {
        TAG_LINE,  // the line as it stands
        MOVE,      // a word that looks like a move, without the move number glued to it
        COMMENT    // between the outermost braces; a blank stands for the end of a line
    };
    Kind kind;
    std::string_view text;  // valid until the next call of the reader
};

// Splits lines into events. Any bytes are welcome. One thread.
class GameTextReader {
public:
    explicit GameTextReader(const GameTextRules &rules);

    // Begins the next line, given without its line feed; what was left of the one before is dropped. The text must stay
    // until the line's events have been taken.
    void start_line(std::string_view line);
    // The next event of the line; false at its end.
    bool next(GameTextEvent &event);
    // Forgets comments and variations that are open.
    void close_brackets();

private:
    bool is_tag_line() const;
    void count_bracket(char c);
    bool pass_brackets(GameTextEvent &event);
    bool take_word(GameTextEvent &event);
    bool finish_word(std::string_view part, GameTextEvent &event);

    GameTextRules rules_;
    std::uint8_t brackets_;  // kinds of characters that are brackets by these rules
    std::string_view rest_;  // of the line
    bool line_open_ = false;
    bool tag_line_ = false;
    int comment_depth_ = 0;
    int variation_depth_ = 0;
    std::string word_;     // what has been read of a word with control characters in it
    std::string comment_;  // and of a comment with brackets or the ends of lines in it
    std::string taken_;    // the text of the last event, when it does not lie in the line
};
