// The UCI protocol.
#include <algorithm>
#include <string>

#include "base/output.h"
#include "base/text.h"
#include "base/version.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "engine/options.h"
#include "eval/display.h"
#include "frontend/frontend.h"
#include "search/threads.h"

namespace {

void list_option(const Engine &engine, const Option &option) {
    const std::string name(option.name);
    const std::string value = value_text(engine.default_settings, option);
    switch (option.kind) {
    case OptionKind::SPIN:
        print_format("option name %s type spin default %s min %d max %d", name.c_str(), value.c_str(), option.low,
                     highest_value(engine, option));
        break;
    case OptionKind::CHECK: print_format("option name %s type check default %s", name.c_str(), value.c_str()); break;
    case OptionKind::BUTTON: print_format("option name %s type button", name.c_str()); break;
    case OptionKind::PAIR:
    case OptionKind::TEXT: print_format("option name %s type string default %s", name.c_str(), value.c_str()); break;
    }
}

void uci(FrontEnd &front, std::string_view) {
    front.uci = true;
    front.engine.shared.trace.style = move_style(front);
    print_format("id name %s", ENGINE_NAME);
    print_format("id author %s", ENGINE_AUTHOR);
    for (const Option &option : option_table())
        if (option.listed) list_option(front.engine, option);
    print_line("uciok");
}

// Commands run one after the other on this thread, so the engine is always ready by the time one is read.
void isready(FrontEnd &, std::string_view) { print_line("readyok"); }

void debug(FrontEnd &, std::string_view) {}

void show_parameters(FrontEnd &front, std::string_view) {
    const SearchShared &shared = front.engine.shared;
    print_display(search_params_text(shared.params) + eval_params_text(shared.eval_tables));
}

void setoption(FrontEnd &front, std::string_view rest) {
    constexpr std::string_view NAME = "name";
    constexpr std::string_view VALUE = "value";
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
    apply_option(front.engine, name, value);
    settings_were_changed(front.engine);
}

void ucinewgame(FrontEnd &front, std::string_view) {
    constexpr double NEW_GAME_CLOCK = 60.0;  // seconds
    Engine &engine = front.engine;
    stop_and_wait(engine, STOP_ABANDON);
    front.limits.time_per_move = NEW_GAME_CLOCK;
    front.limits.tc_mode = 0;
    front.limits.clock = {NEW_GAME_CLOCK, NEW_GAME_CLOCK};
    front.limits.increment = 0.0;
    engine.game.history.undo_count = 0;
    clear_table_if_idle(engine.shared);
    engine.shared.table.age = 0;
}

void play_moves(Game &game, std::string_view moves) {
    for (std::string_view text = next_word(moves); !text.empty(); text = next_word(moves)) {
        const Move m = parse_coordinates(game.position, text);
        if (m == NO_MOVE) {
            print_format("info string illegal move %s", std::string(text).c_str());
            break;
        }
        make_move(game.position, m);
    }
    game.recorded_move() = NO_MOVE;  // nothing to replay from here
}

int count_words(std::string_view text) {
    int count = 0;
    while (!next_word(text).empty()) ++count;
    return count;
}

void position(FrontEnd &front, std::string_view rest) {
    constexpr std::string_view MOVES = "moves";
    constexpr std::size_t FEN_WORD = 4;  // with the blank behind it
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
    set_up_position(front, start ? START_FEN : setup.substr(std::min(fen_at + FEN_WORD, setup.size())));
    play_moves(front.engine.game, moves);
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
std::int64_t jittered_nodes(std::int64_t nodes, RandomGenerator &random) {
    constexpr std::int64_t MOST_NODES = std::int64_t{1} << 50;
    constexpr int SPREAD = 80;  // thousandths
    nodes = std::clamp<std::int64_t>(nodes, 0, MOST_NODES);
    return nodes + (SPREAD / 2 - random.next() % SPREAD) * nodes / 1000;
}

// The limits that a `go` names; the others stay as they are.
void read_limits(FrontEnd &front, std::string_view rest) {
    constexpr int MOVES_PER_PERIOD = 40;
    constexpr int MOST_MOVES_TO_GO = 10000;
    SearchLimits &limits = front.limits;
    const bool white = front.engine.game.position.side == WHITE;
    std::string_view value;
    limits.tc_mode = 0;
    if (find_parameter(rest, "wtime", value)) limits.clock[WHITE] = std::max(milliseconds(value), 0.0);
    if (find_parameter(rest, "btime", value)) limits.clock[BLACK] = std::max(milliseconds(value), 0.0);
    if (find_parameter(rest, "winc", value) && white) limits.increment = milliseconds(value);
    if (find_parameter(rest, "binc", value) && !white) limits.increment = milliseconds(value);
    if (find_parameter(rest, "movestogo", value)) {
        limits.tc_mode = MOVES_PER_PERIOD;
        limits.max_depth = MAX_DEPTH;
        limits.moves_to_go = clamped_integer(value, 0, MOST_MOVES_TO_GO);
        limits.node_limit = 0;
    }
    if (find_parameter(rest, "depth", value)) {
        limits.fix_time(UNLIMITED_TIME);
        limits.max_depth = clamped_integer(value, 0, MAX_DEPTH);
    }
    if (find_parameter(rest, "nodes", value)) {
        limits.fix_time(UNLIMITED_TIME);
        limits.node_limit = jittered_nodes(leading_integer(value), front.engine.random);
    }
    if (find_parameter(rest, "movetime", value)) {
        limits.fix_time(milliseconds(value));
        limits.increment = 0.0;
    }
    if (find_parameter(rest, "infinite", value)) {
        limits.fix_time(UNLIMITED_TIME);
        limits.max_depth = MAX_DEPTH;
        limits.node_limit = 0;
        limits.increment = 0.0;
    }
}

void go(FrontEnd &front, std::string_view rest) {
    if (pondering(front.engine)) end_pondering(front.engine);  // overtaken: it reports as soon as it has stopped
    stop_search(front.engine, STOP_ABANDON);
    read_limits(front, rest);
    std::string_view value;
    const bool ponder = find_parameter(rest, "ponder", value);
    request_search(front, ponder ? REQUEST_PONDER : REQUEST_SEARCH, ponder || front.limits.is_endless());
}

void ponderhit(FrontEnd &front, std::string_view) {
    if (!pondering(front.engine)) return;
    end_pondering(front.engine);
    front.endless_search = front.limits.is_endless();
}

void stop(FrontEnd &front, std::string_view) {
    end_pondering(front.engine);
    stop_and_wait(front.engine, STOP_REPORT);
}

void quit(FrontEnd &front, std::string_view) {
    stop_search(front.engine, STOP_ABANDON);
    front.quit = true;
}

struct Command {
    CommandHelp help;
    void (*run)(FrontEnd &front, std::string_view rest);  // null: part of another command, for the help
};

// clang-format off
constexpr Command COMMANDS[] = {
    {{"uci",            "",                         "name the engine and list its options"},              uci},
    {{"isready",        "",                         "answer readyok"},                                    isready},
    {{"setoption",      "name NAME [value VALUE]",  "change an option"},                                  setoption},
    {{"debug",          "[on|off]",                 "accepted, without effect"},                          debug},
    {{"_show",          "",                         "show the search and evaluation parameters"},         show_parameters},
    {{"ucinewgame",     "",                         "forget the last game"},                              ucinewgame},
    {{"position",       "startpos|fen FEN [moves MOVE...]", "set up a position and play moves from it"},  position},
    {{"go",             "[LIMIT...]",               "search the position within the limits that follow"}, go},
    {{"go wtime",       "MS",                       "time on White's clock; btime: on Black's"},          nullptr},
    {{"go winc",        "MS",                       "White's increment for a move; binc: Black's"},       nullptr},
    {{"go movestogo",   "MOVES",                    "moves up to the next time control"},                 nullptr},
    {{"go depth",       "PLIES",                    "deepest iteration"},                                 nullptr},
    {{"go nodes",       "NODES",                    "number of nodes"},                                   nullptr},
    {{"go movetime",    "MS",                       "time for this move"},                                nullptr},
    {{"go infinite",    "",                         "search until stop"},                                 nullptr},
    {{"go ponder",      "",                         "search on the opponent's time, until ponderhit or stop"}, nullptr},
    {{"ponderhit",      "",                         "the expected move was played: the clock runs"},      ponderhit},
    {{"stop",           "",                         "end the search and answer"},                         stop},
    {{"quit",           "",                         "end the program"},                                   quit},
};
// clang-format on
constexpr auto HELP = help_of(COMMANDS);

}  // namespace

std::span<const CommandHelp> uci_commands() { return HELP; }

void interpret_uci(FrontEnd &front, std::string_view line) {
    if (line.empty()) return;
    if (logging()) log_line("CMD: " + std::string(line));
    std::string_view rest = line;
    const std::string_view word = next_word(rest);
    rest.remove_prefix(std::min<std::size_t>(1, rest.size()));
    for (const Command &command : COMMANDS)
        if (word == command.help.word) command.run(front, rest);
}
