// The game: the position on the board, the moves that led there, and the moves that were once played from there.
#pragma once

#include <string_view>

#include "board/fen.h"
#include "board/position.h"

// The position points into the history: a game stays where it was made.
struct Game {
    Game();
    Game(const Game &) = delete;
    Game &operator=(const Game &) = delete;

    Position position;
    MoveHistory history;
    MoveTrace trace;  // of moves made on the board, when they are traced

    int plies() const { return history.undo_count; }
    // The move recorded as played from the present position; NO_MOVE when there is none.
    Move &recorded_move() { return history.undo[static_cast<std::size_t>(history.undo_count)].move; }
    // The recorded move when it is one that can be played; what a FEN or an edit left behind need not be.
    Move replayable_move();
};

// Plays a legal move. What was played from there before stays recorded only when it is the same move. False, and nothing
// happens, when the game has MAX_GAME_MOVES moves already.
bool play_game_move(Game &game, Move m);

// Takes back one move; false when there is none.
bool take_back_move(Game &game);
void take_back_all(Game &game);
// Goes to the position after `ply` moves, as far as it is recorded.
void jump_to_ply(Game &game, int ply);
// Forgets the moves, but not the position.
void forget_moves(Game &game);

// Whether the game is over in a position before anybody has searched it: the third time that it stands on the board, or a
// side without a move when the fifty-move clock has run down.
bool drawn_before_search(const Position &pos);
