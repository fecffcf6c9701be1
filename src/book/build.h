// Builds an opening book from game text.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "board/position.h"
#include "book/move_table.h"
#include "games/game_text.h"
#include "games/results.h"

// Replays the first moves of every game, counts results per position and move, and writes the moves that scored well in
// the Polyglot book format. A game begins at a line with a Result tag; one without a result is not read, and the reading
// of a game ends at a word that is no legal move. Memory grows with the number of distinct moves; when there is none
// left, std::bad_alloc leaves read_line or write. One thread.
class BookBuilder {
public:
    BookBuilder();

    // The next line, or a piece of a long one.
    void read_line(std::string_view line);
    // Games begun, and distinct moves found in them.
    int games() const { return games_; }
    std::size_t moves() { return moves_.size(); }
    // Words so far that fit two moves.
    int ambiguous_moves() const { return ambiguous_moves_; }
    // Replaces the file. False when it cannot be written; then, and when memory runs out, there is no file. Ends the use
    // of the builder.
    bool write(const char *path);

private:
    void start_game(std::string_view tag_line);
    void play(std::string_view text);
    void move_on(Move move);

    std::unique_ptr<MoveHistory> history_;
    Position position_;
    std::uint64_t pieces_key_;
    GameTextReader reader_;
    GameResult result_ = GameResult::UNKNOWN;
    int plies_ = 0;
    bool stopped_ = false;  // at a word that is no legal move
    int games_ = 0;
    int ambiguous_moves_ = 0;
    MoveTable moves_;
};
