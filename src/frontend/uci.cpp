// The UCI protocol.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "base/control.h"
#include "base/output.h"
#include "base/settings.h"
#include "base/text.h"
#include "base/version.h"
#include "board/fen.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "eval/display.h"
#include "frontend/engine.h"
#include "frontend/options.h"
#include "search/params.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/tt.h"

namespace {

bool debug_echo = true;  // commands are copied into the log

void uci(std::string_view) {
    uci_mode = 1;
    print_format("id name %s", ENGINE_NAME);
    print_format("id author %s", ENGINE_AUTHOR);
    list_options();
    print_line("uciok");
}

// Commands run one after the other on this thread, so the engine is always ready by the time one is read.
void isready(std::string_view) { print_line("readyok"); }

void debug(std::string_view) { debug_echo = true; }

void show_parameters(std::string_view) { print_display(search_params_text() + eval_params_text()); }

void setoption(std::string_view rest) {
    constexpr std::string_view NAME = "name";
    constexpr std::string_view VALUE = "value";
    ready_flag = false;
    const std::size_t name_at = rest.find(NAME);
    const std::size_t value_at = rest.find(VALUE);
    std::string_view name;
    std::string_view value;
    if (name_at != std::string_view::npos && (value_at == std::string_view::npos || value_at > name_at)) {
        const std::size_t name_end = std::min(value_at, rest.size());
        const std::size_t name_start = std::min(name_at + NAME.size() + 1, name_end);
        name = skip_blanks(rest.substr(name_start, name_end - name_start));
        while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
        if (value_at != std::string_view::npos)
            value = skip_blanks(rest.substr(std::min(value_at + VALUE.size() + 1, rest.size())));
    }
    apply_option(name, value);
    settings_were_changed();
    ready_flag = true;
}

void ucinewgame(std::string_view) {
    ready_flag = false;
    stop_and_wait(STOP_ABANDON);
    time_per_move = 60.0;
    tc_mode = 0;
    game->history.undo_count = 0;
    clock_white = clock_black = 60.0;
    increment = 0.0;
    tt_clear_if_idle();
    tt_age = 0;
    ready_flag = true;
}

void play_moves(std::string_view moves) {
    Position &pos = game->position;
    for (std::string_view text = next_word(moves); !text.empty(); text = next_word(moves)) {
        const Move m = parse_coordinates(pos, text);
        if (m == NO_MOVE) {
            print_format("info string illegal move %s", std::string(text).c_str());
            break;
        }
        make_move(pos, m);
    }
    // Nothing to replay from here.
    game->history.undo[static_cast<std::size_t>(game->history.undo_count)].move = NO_MOVE;
}

int count_words(std::string_view text) {
    int count = 0;
    while (!next_word(text).empty()) ++count;
    return count;
}

void position(std::string_view rest) {
    constexpr std::string_view MOVES = "moves";
    const std::size_t moves_at = rest.find(MOVES);
    const std::string_view setup = rest.substr(0, moves_at);
    const std::string_view moves =
        moves_at == std::string_view::npos ? std::string_view{} : rest.substr(moves_at + MOVES.size());
    const bool start = setup.find("startpos") != std::string_view::npos;
    const std::size_t fen_at = setup.find("fen");
    if (!start && fen_at == std::string_view::npos) return;
    if (count_words(moves) > MAX_GAME_MOVES) {
        print_format("info string more than %d moves", MAX_GAME_MOVES);
        return;
    }
    set_fen(game->position, start ? START_FEN : setup.substr(std::min(fen_at + 4, setup.size())));
    play_moves(moves);
}

// First word after a keyword that stands anywhere in the text; false when the keyword does not.
bool find_parameter(std::string_view text, std::string_view keyword, std::string_view &value) {
    const std::size_t at = text.find(keyword);
    if (at == std::string_view::npos) return false;
    value = text.substr(std::min(at + keyword.size() + 1, text.size()));
    value = next_word(value);
    return true;
}

double milliseconds(std::string_view value) { return static_cast<double>(leading_integer(value)) / 1000.0; }

// The limit, give or take up to 4 percent, so that games with fixed nodes differ.
std::int64_t jittered_nodes(std::int64_t nodes) {
    constexpr std::int64_t MOST_NODES = std::int64_t{1} << 50;
    nodes = std::clamp<std::int64_t>(nodes, 0, MOST_NODES);
    return nodes + (40 - std::rand() % 80) * nodes / 1000;
}

// Whether a search with the present limits ends by a command only.
bool limits_are_endless() {
    return tc_mode == 1 && time_per_move >= UNLIMITED_TIME && max_depth >= MAX_DEPTH && node_limit <= 0;
}

void go(std::string_view rest) {
    ready_flag = false;
    if (search_state == REQUEST_PONDER)
        search_state = REQUEST_SEARCH;  // overtaken: it reports as soon as it has stopped
    stop_flag = STOP_ABANDON;
    tc_mode = 0;
    const bool white = game->position.side == WHITE;
    std::string_view value;
    if (find_parameter(rest, "wtime", value)) clock_white = std::max(milliseconds(value), 0.0);
    if (find_parameter(rest, "btime", value)) clock_black = std::max(milliseconds(value), 0.0);
    if (find_parameter(rest, "winc", value) && white) increment = milliseconds(value);
    if (find_parameter(rest, "binc", value) && !white) increment = milliseconds(value);
    if (find_parameter(rest, "movestogo", value)) {
        tc_mode = 40;
        max_depth = MAX_DEPTH;
        moves_to_go = clamped_integer(value, 0, 10000);
        node_limit = 0;
    }
    if (find_parameter(rest, "depth", value)) {
        time_per_move = UNLIMITED_TIME;
        tc_mode = 1;
        max_depth = static_cast<std::uint8_t>(clamped_integer(value, 0, MAX_DEPTH));
    }
    if (find_parameter(rest, "nodes", value)) {
        time_per_move = UNLIMITED_TIME;
        tc_mode = 1;
        node_limit = jittered_nodes(leading_integer(value));
    }
    if (find_parameter(rest, "movetime", value)) {
        tc_mode = 1;
        time_per_move = milliseconds(value);
        increment = 0.0;
    }
    if (find_parameter(rest, "infinite", value)) {
        tc_mode = 1;
        time_per_move = UNLIMITED_TIME;
        max_depth = MAX_DEPTH;
        node_limit = 0;
        increment = 0.0;
    }
    search_request = find_parameter(rest, "ponder", value) ? REQUEST_PONDER : REQUEST_SEARCH;
    endless_search = search_request == REQUEST_PONDER || limits_are_endless();
    ready_flag = true;
}

void ponderhit(std::string_view) {
    if (search_state != REQUEST_PONDER) return;
    search_state = REQUEST_SEARCH;
    endless_search = limits_are_endless();
}

void stop(std::string_view) {
    if (search_state != REQUEST_NONE) search_state = REQUEST_SEARCH;
    ready_flag = false;
    stop_and_wait(STOP_REPORT);
    ready_flag = true;
}

void quit(std::string_view) {
    stop_flag = STOP_ABANDON;
    quit_flag = true;
}

struct Command {
    std::string_view word;
    void (*run)(std::string_view rest);
};
constexpr Command COMMANDS[] = {
    {"uci", uci},
    {"isready", isready},
    {"setoption", setoption},
    {"debug", debug},
    {"_show", show_parameters},
    {"ucinewgame", ucinewgame},
    {"position", position},
    {"go", go},
    {"ponderhit", ponderhit},
    {"stop", stop},
    {"quit", quit},
};

}  // namespace

void interpret_uci(std::string_view line) {
    if (line.empty()) return;
    if (debug_echo && logging()) log_line("CMD: " + std::string(line));
    std::string_view rest = line;
    const std::string_view word = next_word(rest);
    rest.remove_prefix(std::min<std::size_t>(1, rest.size()));
    for (const Command &command : COMMANDS)
        if (word == command.word) command.run(rest);
}
