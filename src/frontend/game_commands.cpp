#include "frontend/game_commands.h"

#include <string>

#include "base/output.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "board/repetition.h"
#include "search/search.h"
#include "tools/screen.h"

bool play_or_say(Game &game, Move m) {
    if (play_game_move(game, m)) return true;
    print_format("a game has at most %d moves", MAX_GAME_MOVES);
    return false;
}

bool play_typed_move(FrontEnd &front, std::string_view text) {
    Game &game = front.engine.game;
    const ParsedMove parsed = read_move(game.position, text);
    if (!parsed.found()) return false;
    front.self_play = false;
    stop_and_wait(front.engine, STOP_ABANDON);
    print_format("%d. move %s", game.plies() / 2 + 1, std::string(text).c_str());
    play_or_say(game, parsed.move);
    return true;
}

bool replay_move(FrontEnd &front) {
    Game &game = front.engine.game;
    const Move move = game.replayable_move();
    if (move == NO_MOVE) return false;
    print_format("%d%s move %s", game.plies() / 2 + 1, game.position.side == WHITE ? "." : "...",
                 move_to_text(move, move_style(front)).c_str());
    return play_or_say(game, move);
}

void show_hash_line(Engine &engine) {
    Game &game = engine.game;
    Position &pos = game.position;
    const MoveHistory saved = game.history;  // with the moves recorded beyond the position
    std::string text;
    int made = 0;
    for (; made < MAX_PLY - 1 && game.plies() < HISTORY_SIZE - 1; ++made) {
        const Move move = tt_probe(engine.shared.table, pos).move;
        if (move == NO_MOVE || !is_legal_move(pos, move) || count_repetitions(pos) >= 2) break;
        text += (made > 0 ? " " : "") + move_to_san(pos, move)[1];
        make_move(pos, move);
    }
    print_display(format_line("PV: %s\n\n", text.c_str()));
    show_board(pos);
    for (; made > 0; --made) unmake_move(pos);
    game.history = saved;
}
