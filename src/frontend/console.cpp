// Commands typed at a console.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "base/control.h"
#include "base/output.h"
#include "base/settings.h"
#include "base/text.h"
#include "board/attacks.h"
#include "board/exchange.h"
#include "board/fen.h"
#include "book/probe.h"
#include "eval/display.h"
#include "frontend/engine.h"
#include "frontend/game_commands.h"
#include "platform/clock.h"
#include "search/params.h"
#include "search/report.h"
#include "search/search.h"
#include "search/strength.h"
#include "search/threads.h"
#include "search/timing.h"
#include "search/tt.h"
#include "tools/tools.h"

namespace {

using Words = std::vector<std::string_view>;

std::string_view word_at(const Words &words, std::size_t i) { return i < words.size() ? words[i] : std::string_view{}; }

int integer_at(const Words &words, std::size_t i) { return clamped_integer(word_at(words, i), -1'000'000, 1'000'000); }

// Has the search threads idle for a command that uses their records; false, with a message, when the position is none
// that can be searched.
bool prepare_direct_search() {
    if (const std::string_view reason = unsearchable_reason(game->position); !reason.empty()) {
        print_line("cannot search this position: " + std::string(reason));
        return false;
    }
    stop_and_report();
    search_request = REQUEST_NONE;
    begin_search();
    return true;
}

// The breakdown of the position's evaluation, from a search of depth 0 in this thread.
void show_evaluation() {
    if (!prepare_direct_search()) return;
    const std::uint8_t saved_depth = max_depth;
    const bool saved_display = display_evaluation;
    max_depth = 0;
    display_evaluation = true;
    eval_display = {};
    iterate();
    print_line(evaluation_text(game->position, eval_display, search_thread_at(0).root_eval, root_result.score));
    max_depth = saved_depth;
    display_evaluation = saved_display;
}

void show_position() {
    if (display_evaluation)
        show_evaluation();
    else
        show_board(game->position);
}

// For commands that change the position or want quiet: the engine's game against itself ends as well.
void abandon_search() {
    self_play = false;
    stop_flag = STOP_ABANDON;
}

void new_game(const Words &, std::string_view) {
    abandon_search();
    set_fen(game->position, START_FEN);
    show_board(game->position);
    clock_white = clock_black = time_per_move;
}

void set_position(const Words &, std::string_view rest) {
    abandon_search();
    set_fen(game->position, rest);
    show_board(game->position);
}

void quit(const Words &, std::string_view) {
    abandon_search();
    quit_flag = true;
}

// A search that runs makes way for the one that is asked for.
void make_way() {
    if (search_state != REQUEST_NONE) stop_flag = STOP_ABANDON;
}

void search_move(const Words &, std::string_view) {
    make_way();
    search_request = REQUEST_SEARCH;
    endless_search = false;
}

void self_play_game(const Words &, std::string_view) {
    make_way();
    settings.Ponder = 0;
    self_play = true;
    search_request = REQUEST_SEARCH;
    endless_search = false;
}

void analyse(const Words &words, std::string_view) {
    constexpr double ANALYSIS_TIME = 99999.0;
    make_way();
    tc_mode = 1;
    time_per_move = ANALYSIS_TIME;
    const int depth = integer_at(words, 1);
    max_depth = static_cast<std::uint8_t>(depth >= 1 && depth < MAX_DEPTH ? depth : MAX_DEPTH);
    if (hash_enabled <= 1) tt_clear_if_idle();
    search_request = REQUEST_ANALYSIS;
    endless_search = max_depth >= MAX_DEPTH;
}

void stop_analysis(const Words &, std::string_view) { abandon_search(); }

void board(const Words &, std::string_view) { show_position(); }

void get(const Words &words, std::string_view) {
    abandon_search();
    wait_until_idle();
    get_test_position(word_at(words, 1));
}

void hash_line(const Words &, std::string_view) { show_hash_line(); }

void take_back(const Words &, std::string_view) {
    abandon_search();
    if (take_back_move()) show_position();
}

void play_again(const Words &, std::string_view) {
    abandon_search();
    if (replay_move()) show_position();
}

void load(const Words &words, std::string_view) {
    abandon_search();
    load_game(word_at(words, 1), word_at(words, 2));
}

void save(const Words &, std::string_view) { save_game(); }

void jump(const Words &words, std::string_view) {
    abandon_search();
    jump_to_ply(integer_at(words, 1));
}

void edit(const Words &, std::string_view) {
    abandon_search();
    start_editor();
}

void typed_move(std::string_view text) {
    if (play_typed_move(text)) show_position();
}

void move(const Words &words, std::string_view) { typed_move(word_at(words, 1)); }

void count_paths(const Words &words, std::string_view) {
    constexpr int DEEPEST = 20;
    const int depth = std::min(integer_at(words, 1), DEEPEST);
    if (depth < 1) {
        print_line("perft needs a depth of 1 or more");
        return;
    }
    if (!prepare_direct_search()) return;
    prepare_threads();
    SearchThread &thread = search_thread_at(0);
    const double start = monotonic_seconds();
    perft(thread, thread.position.side, 1, depth);
    const double seconds = monotonic_seconds() - start;
    const auto nodes = static_cast<double>(thread.nodes);
    print_format("visited %0.0f nodes in %0.3f seconds, nps= %0.0f", nodes, seconds, nodes / (seconds + 0.001));
}

void tune(const Words &words, std::string_view) {
    stop_and_report();
    search_request = REQUEST_NONE;
    const std::string_view percent = word_at(words, 3);
    tune_one_parameter(word_at(words, 1), word_at(words, 2), percent.empty() ? -1 : clamped_integer(percent, 0, 100),
                       poll_while_working);
}

void exchanges(const Words &, std::string_view) {
    Position &pos = game->position;
    for (Square s = 0; s < 64; ++s) {
        if (pos.board[s] == 0) continue;
        const Colour attacker = opponent(colour_of(pos.board[s]));
        if (!square_attacked(pos, s, attacker)) continue;
        const int value = see_value(pos, attacker, NO_SQUARE, s, pos.occupied(), false);
        std::printf("sq= %s, swap= %4d\n", std::string(square_name(s)).c_str(), value);
    }
    std::fflush(stdout);
}

void book_moves(const Words &, std::string_view) {
    probe_book(game->position);
    print_line("");
}

void reductions(const Words &, std::string_view) {
    if (busy_threads() == 0)
        derive_search_params();
    else
        settings.settings_changed = 1;  // not under a running search
    print_display(search_params_text());
}

void evaluation(const Words &, std::string_view) { show_evaluation(); }

void evaluation_parameters(const Words &, std::string_view) { print_display(eval_params_text()); }

void trace(const Words &words, std::string_view) { set_trace_level(std::clamp(integer_at(words, 1), 0, 65535)); }

// --- set ---

struct NumberSetting {
    std::string_view name;
    std::int16_t Settings::*field;
    int low, high;
};
constexpr NumberSetting NUMBER_SETTINGS[] = {
    {"NMP_depth", &Settings::NMP_depth, 0, 99},
    {"SEP_depth", &Settings::SEP_depth, 0, MAX_MARGIN_DEPTH},
    {"FP_depth", &Settings::FP_depth, 0, MAX_MARGIN_DEPTH},
    {"ProbCut_depth", &Settings::ProbCut_depth, 0, 99},
    {"LMP_depth", &Settings::LMP_depth, 0, MAX_MARGIN_DEPTH},
    {"LMR_depth", &Settings::LMR_depth, 0, 99},
    {"Selectivity", &Settings::Selectivity, 0, 200},
    {"ponder", &Settings::Ponder, 0, 1},
};

// "5:30" is five and a half minutes, "90" ninety seconds.
double time_text(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return leading_number(text);
    return 60.0 * static_cast<double>(leading_integer(text.substr(0, colon))) + leading_number(text.substr(colon + 1));
}

void set_level(const Words &words) {
    tc_mode = static_cast<std::uint8_t>(std::clamp(integer_at(words, 2), 0, 255));
    time_per_move = clock_white = clock_black = std::max(time_text(word_at(words, 3)), 0.0);
    increment = std::max(leading_number(word_at(words, 4)), 0.0);
    print_format("set level to %d moves in %0.2f seconds, inc %0.2f", tc_mode, time_per_move, increment);
}

void set_selectivity_switch(int value) {
    if (value == 1) {
        settings = default_settings;
        print_line("set default personality");
        return;
    }
    settings.NMP_depth = 99;
    settings.SEP_depth = 0;
    settings.LMP_depth = 0;
    settings.LMR_depth = 99;
    print_line("selectivity set to OFF");
}

void set_value(const Words &words, std::string_view) {
    const std::string_view name = word_at(words, 1);
    const std::string_view text = word_at(words, 2);
    const int value = integer_at(words, 2);
    for (const NumberSetting &number : NUMBER_SETTINGS) {
        if (name != number.name) continue;
        std::int16_t &field = settings.*number.field;
        field = static_cast<std::int16_t>(std::clamp(value, number.low, number.high));
        print_format("%s set to %d", std::string(name).c_str(), field);
    }
    if (name == "hash")
        hash_enabled = static_cast<std::uint8_t>(std::clamp(value, 0, 255));
    else if (name == "noise")
        noise = leading_number(text);
    else if (name.find("multipv") != std::string_view::npos)
        settings.MultiPV = static_cast<std::int16_t>(std::clamp(value, 1, 255));
    else if (name == "level")
        set_level(words);
    else if (name == "debug")
        display_evaluation = value != 0;
    else if (name == "depth")
        max_depth = static_cast<std::uint8_t>(std::clamp(value, 0, MAX_DEPTH));
    else if (name == "ss")
        set_selectivity_switch(value);
    else if (name == "target_nps") {
        target_nps = usable_rate(leading_number(text));
        settings.UCI_LimitStrength = 1;
        print_format("target_nps set to %.0f", target_nps.load());
    }
    settings.settings_changed = 1;
}

void help(const Words &, std::string_view);

struct Command {
    std::string_view word;
    std::string_view arguments;
    std::string_view meaning;
    void (*run)(const Words &words, std::string_view rest);
};

// clang-format off
constexpr Command COMMANDS[] = {
    {"new",   "",                    "start position",                                          new_game},
    {"fen",   "FEN",                 "set up a position",                                       set_position},
    {"quit",  "",                    "end the program",                                         quit},
    {"mv",    "",                    "search with the current limits",                          search_move},
    {"go",    "[depth]",             "analyse to a depth, or until '.'",                        analyse},
    {"an",    "[depth]",             "the same",                                                analyse},
    {".",     "",                    "stop the search",                                         stop_analysis},
    {"bd",    "",                    "show the position",                                       board},
    {"self",  "",                    "the engine plays both sides, until '.'",                  self_play_game},
    {"get",   "id",                  "set up the position with this id from test.epd",          get},
    {"pv",    "",                    "show the hash table's line and the position at its end",  hash_line},
    {"trace", "plies",               "write the moves searched up to this ply to trace.txt",    trace},
    {"ev",    "",                    "show the evaluation of the position",                     evaluation},
    {"sp",    "",                    "show the evaluation parameters",                          evaluation_parameters},
    {"lmr",   "",                    "show the search parameters",                              reductions},
    {"undo",  "",                    "take back a move",                                        take_back},
    {"[",     "",                    "the same",                                                take_back},
    {"]",     "",                    "play again the move that was taken back",                 play_again},
    {"load",  "file [number or text]", "load a game: by number, or the first that has the text", load},
    {"save",  "",                    "append the game to tmp.pgn",                              save},
    {"jump",  "ply",                 "go to the position after so many moves of either side",   jump},
    {"edit",  "",                    "edit the board",                                          edit},
    {"book",  "",                    "list the book's moves and draw one",                      book_moves},
    {"tune",  "weight [file] [percent]", "find the best value of a weight on scored positions", tune},
    {"perft", "depth",               "count move paths",                                        count_paths},
    {"swap",  "",                    "show the exchange values of all attacked pieces",         exchanges},
    {"set",   "name value",          "change a setting: hash, noise, multipv, depth, level, ponder, debug, ...", set_value},
    {"move",  "move",                "play a move; its text alone does as well: Nf3",           move},
    {"uci",   "",                    "change to the UCI protocol",                              nullptr},
    {"help",  "",                    "list the commands",                                       help},
    {"?",     "",                    "the same",                                                help},
};
// clang-format on

void help(const Words &, std::string_view) {
    for (const Command &command : COMMANDS) {
        const std::string usage = std::string(command.word) + " " + std::string(command.arguments);
        print_format("  %-28s %s", usage.c_str(), std::string(command.meaning).c_str());
    }
}

}  // namespace

void interpret_console(std::string_view line) {
    if (editing()) {
        edit_line(line);
        return;
    }
    constexpr std::size_t MOST_WORDS = 10;
    constexpr std::size_t LONGEST_WORD = 127;
    const Words words = split_words(line, MOST_WORDS, LONGEST_WORD);
    if (words.empty()) return;
    std::string_view rest = line;
    next_word(rest);
    rest = skip_blanks(rest);
    for (const Command &command : COMMANDS) {
        if (words[0] == command.word && command.run != nullptr) {
            command.run(words, rest);
            return;
        }
    }
    typed_move(words[0]);
}
