// The loop: reads commands, starts searches, keeps their time and reports their results.
#include <string>

#include "base/output.h"
#include "frontend/frontend.h"
#include "frontend/reporters.h"
#include "platform/interrupt.h"
#include "search/threads.h"
#include "tools/screen.h"

namespace {

constexpr int SEARCH_POLL_MS = 1;  // between looks at the clock while a search runs
constexpr int IDLE_POLL_MS = 50;   // input ends the wait at once

// Carried out even while a `go` waits for the running search, which it has stopped, to end. A stop belongs to the search
// that waits.
constexpr std::string_view URGENT_COMMANDS[] = {"isready", "quit"};
constexpr std::string_view ENDING_COMMANDS[] = {"isready", "quit", "stop"};

void interpret(FrontEnd &front, const std::string &line) {
    if (front.uci || (line == "uci" && !front.editing)) {
        front.self_play = false;
        interpret_uci(front, line);
    } else {
        interpret_console(front, line);
    }
}

void start_requested_search(FrontEnd &front) {
    if (front.clear_table_first) clear_table_if_idle(front.engine.shared);
    front.clear_table_first = false;
    const SearchRequest request = front.search_request;
    front.search_request = REQUEST_NONE;
    front.answer_waits = front.requested_waits;
    start_search(front.engine, present_limits(front), request);
    front.limits.forget_wishes();
}

// Self-play: the mover's clock runs, the move is made, and the other side searches. Ends without a move. A command that
// changes the position has ended it before.
void continue_self_play(FrontEnd &front, const SearchResult &result) {
    Game &game = front.engine.game;
    double &clock = front.limits.clock[game.position.side];
    clock = clock - result.elapsed + front.limits.increment;
    if (result.best == NO_MOVE || !play_game_move(game, result.best)) {
        front.self_play = false;
        return;
    }
    show_board(game.position);
    front.search_request = REQUEST_SEARCH;
    front.endless_search = front.limits.is_endless();
}

// After the end of input nobody can stop a search or hit the ponder move.
void act_on_end_of_input(FrontEnd &front) {
    if (!front.input.at_end()) return;
    const bool requested = front.search_request != REQUEST_NONE;
    if (searching(front.engine)) {
        if (!front.endless_search || (!front.input.empty() && !requested)) return;
        front.self_play = false;
        front.answer_waits = false;
        end_pondering(front.engine);
        stop_search(front.engine, STOP_REPORT);
    } else if (front.input.empty() && !requested) {
        front.quit = true;
    }
}

// Carries out those of the words that wait in the input behind the first `skipped` lines. Whether one was `stop`.
template <std::size_t N>
bool obeys_in_between(FrontEnd &front, const std::string_view (&words)[N], std::size_t skipped) {
    poll_input(front.input, 0);
    bool stopped = false;
    std::string line;
    while (front.input.take_first_of(words, line, skipped)) {
        if (line.starts_with("quit"))
            front.quit = true;
        else if (line.starts_with("stop"))
            stopped = true;
        else if (front.uci)
            print_line("readyok");
    }
    if (interrupted()) front.quit = true;
    return stopped;
}

}  // namespace

void read_command(FrontEnd &front, int timeout_ms) {
    InputQueue &input = front.input;
    const bool held = front.search_request != REQUEST_NONE;  // a `go` waits: only urgent commands may overtake it
    poll_input(input, input.empty() || held ? timeout_ms : 0);
    std::string line;
    if (held) {
        if (input.take_first_of(URGENT_COMMANDS, line)) interpret(front, line);
    } else if (!input.empty()) {
        interpret(front, input.take());
    }
}

bool wants_to_end(FrontEnd &front) { return obeys_in_between(front, URGENT_COMMANDS, 0) || front.quit; }

bool is_told_to_stop(FrontEnd &front, std::size_t skipped) {
    return obeys_in_between(front, ENDING_COMMANDS, skipped) || front.quit;
}

void request_search(FrontEnd &front, SearchRequest request, bool endless) {
    if (searching(front.engine)) stop_search(front.engine, STOP_ABANDON);
    front.search_request = request;
    front.endless_search = endless;
}

void abandon_search(FrontEnd &front) {
    front.self_play = false;
    stop_search(front.engine, STOP_ABANDON);
}

void end_search(FrontEnd &front) {
    front.self_play = false;
    front.search_request = REQUEST_NONE;
    interrupt_search(front.engine);
}

void report_result(FrontEnd &front, const SearchResult &result) {
    if (result.interrupted) front.self_play = false;
    if (front.uci)
        print_uci_result(front, result);
    else
        print_console_result(front.engine, result);
    if (front.self_play && !front.uci) continue_self_play(front, result);
}

void set_up_position(FrontEnd &front, std::string_view fen) { report_set_up(set_fen(front.engine.game.position, fen)); }

SearchLimits present_limits(const FrontEnd &front) {
    SearchLimits limits = front.limits;
    limits.count_period = !front.uci;  // UCI says how many moves are left, a person does not
    return limits;
}

PromotionStyle move_style(const FrontEnd &front) {
    return front.uci ? PromotionStyle::LOWER_CASE : PromotionStyle::EQUALS_SIGN;
}

ToolRun tool_run(FrontEnd &front) {
    const auto wish = [](void *context) { return wants_to_end(*static_cast<FrontEnd *>(context)); };
    return {front.engine, present_limits(front), move_style(front), wish, &front};
}

void run_loop(FrontEnd &front) {
    Engine &engine = front.engine;
    set_up_position(front, START_FEN);
    if (!front.uci) show_board(engine.game.position);
    while (!front.quit) {
        if (front.search_request != REQUEST_NONE && !searching(engine)) start_requested_search(front);
        if (searching(engine) && !pondering(engine) && !front.answer_waits && !threads_busy(engine)) {
            report_result(front, finish_search(engine));
            set_held_options(front);
            continue;
        }
        if (searching(engine)) poll_search(engine);
        act_on_end_of_input(front);
        if (!front.quit) read_command(front, searching(engine) ? SEARCH_POLL_MS : IDLE_POLL_MS);
    }
}
