#include "frontend/engine.h"

#include <cmath>
#include <string>

#include "base/control.h"
#include "base/output.h"
#include "base/settings.h"
#include "board/fen.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "board/repetition.h"
#include "book/probe.h"
#include "frontend/game_commands.h"
#include "frontend/input.h"
#include "platform/interrupt.h"
#include "search/report.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/timing.h"
#include "search/tt.h"

bool self_play = false;

namespace {

constexpr int SEARCH_POLL_MS = 1;  // between looks at the clock while a search runs
constexpr int IDLE_POLL_MS = 50;   // input ends the wait at once

// Carried out even while a `go` waits for the running search, which it has stopped, to end. A stop belongs to the search
// that waits.
constexpr std::string_view URGENT_COMMANDS[] = {"isready", "quit"};

bool searching() { return search_state != REQUEST_NONE; }

void interpret(const std::string &line) {
    if (uci_mode == 1 || (line == "uci" && !editing())) {
        self_play = false;
        interpret_uci(line);
    } else {
        interpret_console(line);
    }
}

// Answer of a search that was stopped before it had published anything.
Move fallback_move = NO_MOVE;

Move first_legal_move() {
    MoveList list;
    return gen_legal(game->position, list.data()) != list.data() ? list[0].move : NO_MOVE;
}

// Whether the game is drawn or lost in the position that a book move leads to: then the search decides.
bool book_move_refused(const Position &pos) {
    if (pos.fifty <= 3) return false;
    return (pos.fifty >= 100 && no_legal_moves(pos)) || count_repetitions(pos) >= 2;
}

// Takes the answer from the opening book when there is one for the position.
bool play_from_book() {
    if (settings.OwnBook == 0 || game->history.undo_count >= settings.OwnBook_Depth) return false;
    Position &pos = game->position;
    const Move move = probe_book(pos);
    if (move == NO_MOVE) return false;
    Move &recorded = game->history.undo[static_cast<std::size_t>(game->history.undo_count)].move;
    const Move played_here = recorded;
    make_move(pos, move);
    const bool refused = book_move_refused(pos);
    unmake_move(pos);
    recorded = played_here;
    if (refused) return false;
    print_format("%s book move is %s", uci_mode == 1 ? "info string" : "", squares_of(move).c_str());
    root_result.pv[1] = move;
    root_result.score = 0;
    stop_flag = STOP_REPORT;
    return true;
}

void start_search() {
    begin_search();
    search_request = REQUEST_NONE;
    fallback_move = NO_MOVE;

    if (const std::string_view reason = unsearchable_reason(game->position); !reason.empty()) {
        print_line("info string cannot search this position: " + std::string(reason));
        return;
    }
    if (play_from_book() || game->position.fifty > 100) return;
    if (max_depth >= 1) fallback_move = first_legal_move();
    start_search_threads();
}

// Self-play: the mover's clock runs, the move is made, and the other side searches. Ends without a move. A command that
// changes the position has ended it before.
void continue_self_play(Move best) {
    Position &pos = game->position;
    double &clock = pos.side == WHITE ? clock_white : clock_black;
    clock = clock - search_shared.elapsed + increment;
    if (best == NO_MOVE || game->history.undo_count >= MAX_GAME_MOVES) {
        self_play = false;
        return;
    }
    play_game_move(best);
    show_board(pos);
    search_request = REQUEST_SEARCH;
    endless_search = false;
}

void report_to_console(Move best) {
    const ThreadStats stats = sum_thread_stats();
    const double elapsed = search_shared.elapsed;
    const auto nodes = static_cast<double>(stats.nodes);
    const auto hit_rate = [](std::uint64_t hits, std::uint64_t probes) {
        return 100.0 * static_cast<double>(hits) / (static_cast<double>(probes) + 1.0);
    };
    print_format("move= %s, time= %0.3f, score= %d, nodes= %0.0f, nps= %0.0fK ebf= %0.2f", move_to_text(best).c_str(),
                 elapsed, root_result.score.load(), nodes, nodes / (elapsed + 0.001) / 1000.0, branching_factor());
    print_format("Hash fill= %.1f%%, Hash hits: main= %0.1f%%, pawn= %0.1f%%, eval= %0.1f%%, TB=%0.0fK",
                 hash_fill() * 100.0, hit_rate(stats.hash_hits, stats.hash_probes),
                 hit_rate(stats.pawn_hits, stats.pawn_probes), hit_rate(stats.eval_hits, stats.evaluations),
                 static_cast<double>(stats.tb_hits) / 1000.0);
    print_line("");
}

void report_result() {
    update_elapsed();
    print_final_line();
    const bool published = root_result.pv[1] != NO_MOVE;
    const Move best = published ? root_result.pv[1].load() : fallback_move;
    if (uci_mode == 1) {
        const Move ponder = published ? root_result.pv[2].load() : NO_MOVE;
        const std::string ponder_text = ponder != NO_MOVE ? " ponder " + move_to_text(ponder) : "";
        print_format("bestmove %s%s", move_to_text(best).c_str(), ponder_text.c_str());
    } else {
        report_to_console(best);
    }
    if (self_play && uci_mode == 0) continue_self_play(best);
    search_state = REQUEST_NONE;
}

// After the end of input nobody can stop a search or hit the ponder move.
void act_on_end_of_input() {
    if (!input_queue.at_end()) return;
    if (searching()) {
        if (endless_search && (input_queue.empty() || search_request != REQUEST_NONE)) {
            search_state = REQUEST_SEARCH;
            stop_flag = STOP_REPORT;
        }
    } else if (input_queue.empty() && search_request == REQUEST_NONE) {
        quit_flag = true;
    }
}

}  // namespace

void read_command(int timeout_ms) {
    const bool held = search_request != REQUEST_NONE;  // a `go` waits: only urgent commands may overtake it
    poll_input(input_queue.empty() || held ? timeout_ms : 0);
    std::string line;
    if (held) {
        if (input_queue.take_first_of(URGENT_COMMANDS, line)) interpret(line);
    } else if (!input_queue.empty()) {
        interpret(input_queue.take());
    }
}

void poll_while_working() {
    poll_input(0);
    std::string line;
    while (input_queue.take_first_of(URGENT_COMMANDS, line)) {
        if (line.starts_with("quit"))
            quit_flag = true;
        else if (uci_mode == 1)
            print_line("readyok");
    }
    if (interrupted()) quit_flag = true;
    if (quit_flag) stop_flag = STOP_ABANDON;
}

void stop_and_wait(int reason) {
    stop_flag = static_cast<std::uint8_t>(reason);
    wait_until_idle();
}

void stop_and_report() {
    self_play = false;
    stop_and_wait(STOP_ABANDON);
    if (searching() && search_state != REQUEST_PONDER) report_result();
}

void engine_loop() {
    set_fen(game->position, START_FEN);
    if (uci_mode == 0) show_board(game->position);
    search_request = REQUEST_NONE;
    quit_flag = false;
    while (!quit_flag) {
        if (search_request != REQUEST_NONE && !searching()) start_search();
        if (searching() && search_state != REQUEST_PONDER && busy_threads() == 0) {
            report_result();
            continue;
        }
        if (searching()) check_time();
        act_on_end_of_input();
        if (!quit_flag) read_command(searching() ? SEARCH_POLL_MS : IDLE_POLL_MS);
    }
}
