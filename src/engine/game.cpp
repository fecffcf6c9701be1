#include "engine/game.h"

#include "board/legality.h"
#include "board/makemove.h"
#include "board/repetition.h"

Game::Game() : position{}, history{}, trace{} {
    position.history = &history;
    position.ep_square = NO_SQUARE;
}

Move Game::replayable_move() {
    const Move m = recorded_move();
    return m != NO_MOVE && is_legal_move(position, m) ? m : NO_MOVE;
}

bool play_game_move(Game &game, Move m) {
    if (game.plies() >= MAX_GAME_MOVES) return false;
    const bool same = game.recorded_move() == m;
    make_move(game.position, m);
    if (!same) game.recorded_move() = NO_MOVE;
    return true;
}

bool take_back_move(Game &game) {
    if (game.plies() == 0) return false;
    unmake_move(game.position);
    return true;
}

void take_back_all(Game &game) {
    while (take_back_move(game)) {
    }
}

void jump_to_ply(Game &game, int ply) {
    take_back_all(game);
    while (game.plies() < ply) {
        const Move m = game.replayable_move();
        if (m == NO_MOVE || !play_game_move(game, m)) break;
    }
}

void forget_moves(Game &game) {
    game.history.undo_count = 0;
    game.history.ply = 1;
    game.history.current_move = NO_MOVE;
    game.recorded_move() = NO_MOVE;
}

bool drawn_before_search(const Position &pos) {
    if (pos.fifty < FIRST_REPETITION) return false;
    return (pos.fifty >= FIFTY_MOVES && no_legal_moves(pos)) || count_repetitions(pos) >= 2;
}
