// The UCI protocol.
#include <algorithm>
#include <string>
#include <utility>

#include "base/output.h"
#include "base/text.h"
#include "base/version.h"
#include "engine/options.h"
#include "eval/display.h"
#include "eval/tunables.h"
#include "frontend/direct_commands.h"
#include "frontend/reporters.h"
#include "frontend/uci_go.h"
#include "frontend/uci_position.h"
#include "search/threads.h"

namespace {

constexpr std::string_view EMPTY = "<empty>";  // what stands for an empty text to the letter

void list_option(const FrontEnd &front, const Option &option) {
    const Engine &engine = front.engine;
    const std::string name(option.name);
    std::string value = value_text(engine.default_settings, option);
    if (value.empty() && front.strict) value = EMPTY;
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

void list_weights(const EvalWeights &weights) {
    for (const TunableParam &param : eval_tunables(weights))
        print_format("option name %s type spin default %d min %d max %d", param.name.c_str(), param.weight.of(weights),
                     param.low, param.high);
}

void uci(FrontEnd &front, std::string_view) {
    front.uci = true;
    choose_dialect(front, front.engine.settings);
    front.engine.shared.trace.style = move_style(front);
    print_format("id name %s", ENGINE_NAME);
    print_format("id author %s", ENGINE_AUTHOR);
    for (const Option &option : option_table())
        if (option.listed) list_option(front, option);
    if (LISTS_WEIGHTS) list_weights(front.engine.default_settings.weights);
    print_line("uciok");
}

// Commands run one after the other on this thread, so the engine is always ready by the time one is read.
void isready(FrontEnd &, std::string_view) { print_line("readyok"); }

void debug(FrontEnd &, std::string_view) {}

void show_parameters(FrontEnd &front, std::string_view) {
    print_display(search_params_text(front.engine.shared.params) + evaluation_parameters_text(front.engine));
}

// To the letter capitals do not matter in names, and a name that is none gets a line.
void apply_option_strictly(Engine &engine, std::string_view name, std::string_view value) {
    if (value == EMPTY) value = {};
    if (apply_option(engine, name, value)) return;
    if (const Option *option = option_named_in_any_case(name); option != nullptr)
        apply_option(engine, option->name, value);
    else
        print_line("info string no such option: " + std::string(name));
}

// To the letter options are set between searches: nothing but a word for it ends a search.
void setoption(FrontEnd &front, std::string_view rest) {
    if (front.strict && searching(front.engine)) {
        front.held_options.emplace_back(rest);
        print_line("info string setoption waits for the end of the search");
        return;
    }
    constexpr std::string_view NAME = "name";
    constexpr std::string_view VALUE = "value";
    const std::size_t name_at = rest.find(NAME);
    std::size_t value_at = rest.find(VALUE);
    while (value_at != std::string_view::npos && value_at > 0 && rest[value_at - 1] == '_')  // of "pawn_value_op"
        value_at = rest.find(VALUE, value_at + 1);
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
    if (front.strict)
        apply_option_strictly(front.engine, name, value);
    else
        apply_option(front.engine, name, value);
    settings_were_changed(front.engine);
    choose_dialect(front, front.engine.settings);
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

void position(FrontEnd &front, std::string_view rest) {
    if (front.strict)
        set_uci_position_strictly(front, rest);
    else
        set_uci_position(front, rest);
}

// Whether there is a search that a command would disturb; a line says that it is not carried out.
bool refused_during_search(const FrontEnd &front, std::string_view command) {
    if (!searching(front.engine)) return false;
    print_format("info string %s has to wait for the end of the search", std::string(command).c_str());
    return true;
}

// Each `go` has one answer: the search that is overtaken reports as soon as it has stopped.
void go(FrontEnd &front, std::string_view rest) {
    if (const int depth = perft_depth(rest); depth >= 0) {
        if (refused_during_search(front, "go perft")) return;
        if (depth == 0)
            print_line("info string perft needs a depth of 1 or more");
        else
            count_paths_by_move(front, depth);
        return;
    }
    if (pondering(front.engine)) end_pondering(front.engine);
    front.answer_waits = false;
    stop_search(front.engine, STOP_ABANDON);
    const GoRequest request = read_go(front, rest);
    front.requested_waits = request.answered_after_stop;
    const bool endless = request.ponder || request.answered_after_stop || front.limits.is_endless();
    request_search(front, request.ponder ? REQUEST_PONDER : REQUEST_SEARCH, endless);
}

void ponderhit(FrontEnd &front, std::string_view) {
    if (!pondering(front.engine)) return;
    end_pondering(front.engine);
    front.endless_search = front.answer_waits || front.limits.is_endless();
}

void stop(FrontEnd &front, std::string_view) {
    front.answer_waits = false;
    end_pondering(front.engine);
    stop_and_wait(front.engine, STOP_REPORT);
}

void show_position(FrontEnd &front, std::string_view) {
    if (!refused_during_search(front, "d")) show_position_details(front.engine.game.position);
}

void evaluation(FrontEnd &front, std::string_view) {
    if (!refused_during_search(front, "eval")) show_evaluation(front);
}

void bench(FrontEnd &front, std::string_view rest) {
    if (!refused_during_search(front, "bench"))
        run_benchmark_between_searches(front, clamped_integer(rest, 0, MAX_DEPTH));
}

void help(FrontEnd &front, std::string_view);

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
    {{"go searchmoves", "MOVE...",                  "search these moves only"},                           nullptr},
    {{"go mate",        "MOVES",                    "search until a mate in at most so many moves is found"}, nullptr},
    {{"go perft",       "PLIES",                    "count move paths, move by move"},                    nullptr},
    {{"ponderhit",      "",                         "the expected move was played: the clock runs"},      ponderhit},
    {{"stop",           "",                         "end the search and answer"},                         stop},
    {{"quit",           "",                         "end the program"},                                   quit},
    {{"d",              "",                         "show the position"},                                 show_position},
    {{"eval",           "",                         "show the evaluation of the position"},               evaluation},
    {{"bench",          "[PLIES]",                  "run the benchmark"},                                 bench},
    {{"help",           "",                         "list the commands"},                                 help},
};
// clang-format on
constexpr auto HELP = help_of(COMMANDS);

void help(FrontEnd &front, std::string_view) {
    if (!refused_during_search(front, "help")) print_commands(HELP);
}

// Takes the first word; the command that it names, or null.
const Command *take_command(std::string_view &text) {
    const std::string_view word = next_word(text);
    const auto *found = std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                                     [word](const Command &command) { return command.help.word == word; });
    return found != std::end(COMMANDS) ? found : nullptr;
}

}  // namespace

std::span<const CommandHelp> uci_commands() { return HELP; }

void set_held_options(FrontEnd &front) {
    for (const std::string &rest : std::exchange(front.held_options, {})) setoption(front, rest);
}

void interpret_uci(FrontEnd &front, std::string_view line) {
    if (line.empty()) return;
    if (logging()) log_line("CMD: " + std::string(line));
    std::string_view rest = line;
    const Command *command = take_command(rest);
    // To the letter unknown words are passed over.
    while (command == nullptr && front.strict && !skip_blanks(rest).empty()) command = take_command(rest);
    if (command == nullptr) return;
    rest.remove_prefix(std::min<std::size_t>(1, rest.size()));
    command->run(front, rest);
}
