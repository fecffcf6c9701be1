// Whole games of PGN files: read with all that people and programs put into them, and written as standard PGN.
//
// The reader takes what it can get and knows no position: words that look like moves may be none, and whoever plays them
// finds out. What the writer gives is well formed, whatever was read. One thread a reader.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/line_reader.h"
#include "board/position.h"
#include "games/results.h"

struct PgnTag {
    std::string name;
    std::string value;  // as the file has it, that is, with its backslashes
};

// A comment or a variation.
struct PgnNote {
    enum Kind : std::uint8_t { COMMENT, VARIATION };
    Kind kind;
    std::string text;  // without the brackets; single blanks between words
};

struct PgnMove {
    std::string text;       // as the file has it, without number and suffix
    std::vector<int> nags;  // numeric annotation glyphs, those of suffixes ("!?" is 5) among them
    std::vector<PgnNote> notes;
};

struct PgnGame {
    std::vector<PgnTag> tags;
    std::vector<PgnNote> notes;  // before the first move
    std::vector<PgnMove> moves;
    GameResult result = GameResult::UNKNOWN;
    Colour first_side = WHITE;  // who moves first, and the number of that move
    int first_number = 1;
    bool damaged = false;  // something was cut off, or could not be understood
    std::int64_t end = 0;  // bytes of the file up to here, about

    bool empty() const { return tags.empty() && notes.empty() && moves.empty(); }
    // The value of a tag; empty when there is none.
    std::string_view tag(std::string_view name) const;
};

// Who plays a move of a game, and its number as it is written before it: "12." or "12...".
Colour mover(const PgnGame &game, std::size_t index);
std::string move_number(const PgnGame &game, std::size_t index);

class PgnReader {
public:
    // The file stays open as long as the reader is used.
    explicit PgnReader(LineReader &file) : file_(file) {}

    // The next game. False at the end of the file.
    bool next(PgnGame &game);

private:
    enum class Place : std::uint8_t { MOVES, COMMENT, VARIATION, VARIATION_COMMENT };

    void read_game();
    bool read_line();
    void read_text();
    bool read_part();
    void read_bracket(char c);
    void read_variation();
    void read_comment(bool in_variation);
    void add_remark();
    bool at_tag() const;
    bool begins_game() const;
    void read_tag();
    void read_word();
    void take_word(std::string_view word);
    void take_result(GameResult result);
    void add_move(std::string_view text);
    void add_note(PgnNote::Kind kind);
    void add_nag(int nag);
    void keep(std::string_view text, std::string &store);
    bool take_room(std::size_t size);
    void end_game();

    LineReader &file_;
    std::string line_;
    std::size_t at_ = 0;      // in the line
    bool line_open_ = false;  // part of the line is still to be read
    bool first_line_ = true;  // none has been read yet
    PgnGame game_;            // being read
    Place place_ = Place::MOVES;
    int depth_ = 0;             // of variations
    std::string text_;          // of the open comment or variation
    std::size_t size_ = 0;      // bytes that the game holds so far
    bool full_ = false;         // there was no room for more
    bool result_read_ = false;  // only comments of the same line still belong to the game
};

// A game as it goes into a file: tags, movetext in lines of less than 80 columns, an empty line. Only a word that is
// longer stands out.
std::string write_pgn(const PgnGame &game);

// Sets up the position that a game begins with and plays its moves, which get the texts of standard algebraic notation. The
// game is cut at the first text that denotes no legal move, and damaged then. Read is what people write: captures
// without 'x', dashes, "e.p.", coordinates, any origin.
std::vector<Move> play_out(Position &pos, PgnGame &game);

// Plays a legal move and gives its text in standard algebraic notation, with '+' or '#'.
std::string play_as_text(Position &pos, Move move);
