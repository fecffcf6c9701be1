#include "frontend/game_commands.h"

#include <cstdio>
#include <string>

#include "base/control.h"
#include "base/output.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "frontend/engine.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/tt.h"

namespace {

Position &board() { return game->position; }
int moves_played() { return game->history.undo_count; }

bool replay_one() {
    return recorded_move() != NO_MOVE && is_legal_move(board(), recorded_move()) && play_game_move(recorded_move());
}

}  // namespace

Move &recorded_move() { return game->history.undo[static_cast<std::size_t>(moves_played())].move; }

void take_back_all() {
    while (moves_played() > 0) unmake_move(board());
}

bool play_game_move(Move m) {
    if (moves_played() >= MAX_GAME_MOVES) {
        print_format("a game has at most %d moves", MAX_GAME_MOVES);
        return false;
    }
    const bool same = recorded_move() == m;
    make_move(board(), m);
    if (!same) recorded_move() = NO_MOVE;
    return true;
}

bool play_typed_move(std::string_view text) {
    Move move = NO_MOVE;
    if (!parse_move(board(), text, move)) return false;
    self_play = false;
    stop_and_wait(STOP_ABANDON);
    print_format("%d. move %s", moves_played() / 2 + 1, std::string(text).c_str());
    play_game_move(move);
    return true;
}

bool take_back_move() {
    if (moves_played() == 0) return false;
    unmake_move(board());
    return true;
}

bool replay_move() {
    const Move move = recorded_move();
    if (move == NO_MOVE || !is_legal_move(board(), move)) return false;
    print_format("%d%s move %s", moves_played() / 2 + 1, board().side == WHITE ? "." : "...",
                 move_to_text(move).c_str());
    return play_game_move(move);
}

void jump_to_ply(int ply) {
    take_back_all();
    while (moves_played() < ply && replay_one()) {
    }
    show_board(board());
}

void show_hash_line() {
    const MoveHistory saved = game->history;  // with the moves recorded beyond the position
    std::string text;
    int made = 0;
    for (; made < MAX_PLY - 1 && moves_played() < HISTORY_SIZE - 1; ++made) {
        const Move move = tt_probe(board()).move;
        if (move == NO_MOVE || !is_legal_move(board(), move) || count_repetitions(board()) >= 2) break;
        text += (made > 0 ? " " : "") + move_to_san(board(), move)[1];
        make_move(board(), move);
    }
    std::printf("PV: %s\n\n", text.c_str());
    std::fflush(stdout);
    show_board(board());
    for (; made > 0; --made) unmake_move(board());
    game->history = saved;
}
