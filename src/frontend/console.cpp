// Commands typed at a console.
#include <algorithm>
#include <string>
#include <vector>

#include "base/output.h"
#include "base/text.h"
#include "board/attacks.h"
#include "board/exchange.h"
#include "board/fen.h"
#include "eval/display.h"
#include "frontend/book_listing.h"
#include "frontend/direct_commands.h"
#include "frontend/editor.h"
#include "frontend/frontend.h"
#include "frontend/game_commands.h"
#include "frontend/game_files.h"
#include "platform/clock.h"
#include "search/threads.h"
#include "tools/screen.h"

namespace {

using Words = std::vector<std::string_view>;

int integer_at(const Words &words, std::size_t i) { return console_integer(word_at(words, i)); }

void evaluation(FrontEnd &front, const Words &, std::string_view) { show_evaluation(front); }

void show_position(FrontEnd &front) {
    if (front.limits.show_evaluation)
        show_evaluation(front);
    else
        show_board(front.engine.game.position);
}
void show_position(FrontEnd &front, const Words &, std::string_view) { show_position(front); }

void new_game(FrontEnd &front, const Words &, std::string_view) {
    abandon_search(front);
    set_up_position(front, START_FEN);
    show_board(front.engine.game.position);
    front.limits.reset_clocks();
}

void set_position(FrontEnd &front, const Words &, std::string_view rest) {
    abandon_search(front);
    set_up_position(front, rest);
    show_board(front.engine.game.position);
}

void quit(FrontEnd &front, const Words &, std::string_view) {
    abandon_search(front);
    front.quit = true;
}

void search_move(FrontEnd &front, const Words &, std::string_view) {
    request_search(front, REQUEST_SEARCH, front.limits.is_endless());
}

void self_play_game(FrontEnd &front, const Words &, std::string_view) {
    front.engine.settings.Ponder = 0;
    front.self_play = true;
    request_search(front, REQUEST_SEARCH, front.limits.is_endless());
}

void analyse(FrontEnd &front, const Words &words, std::string_view) {
    constexpr double ANALYSIS_TIME = 99999.0;  // seconds
    front.limits.wait_for_stop(ANALYSIS_TIME);
    const int depth = integer_at(words, 1);
    front.limits.max_depth = depth >= 1 && depth < MAX_DEPTH ? depth : MAX_DEPTH;
    front.clear_table_first = front.engine.shared.table.enabled <= 1;
    request_search(front, REQUEST_ANALYSIS, front.limits.max_depth >= MAX_DEPTH);
}

void stop_analysis(FrontEnd &front, const Words &, std::string_view) { abandon_search(front); }

void get(FrontEnd &front, const Words &words, std::string_view) {
    abandon_search(front);
    wait_until_idle(front.engine.shared.pool);
    get_test_position(front, word_at(words, 1));
}

void hash_line(FrontEnd &front, const Words &, std::string_view) { show_hash_line(front.engine); }

void take_back(FrontEnd &front, const Words &, std::string_view) {
    abandon_search(front);
    if (take_back_move(front.engine.game)) show_position(front);
}

void play_again(FrontEnd &front, const Words &, std::string_view) {
    abandon_search(front);
    if (replay_move(front)) show_position(front);
}

void load(FrontEnd &front, const Words &words, std::string_view) {
    abandon_search(front);
    load_game(front, word_at(words, 1), word_at(words, 2));
}

void save(FrontEnd &front, const Words &, std::string_view) { save_game(front.engine.game); }

void jump(FrontEnd &front, const Words &words, std::string_view) {
    abandon_search(front);
    jump_to_ply(front.engine.game, integer_at(words, 1));
    show_board(front.engine.game.position);
}

void edit(FrontEnd &front, const Words &, std::string_view) {
    abandon_search(front);
    start_editor(front);
}

void typed_move(FrontEnd &front, std::string_view text) {
    if (play_typed_move(front, text)) show_position(front);
}

void move(FrontEnd &front, const Words &words, std::string_view) { typed_move(front, word_at(words, 1)); }

void count_paths(FrontEnd &front, const Words &words, std::string_view) {
    constexpr int DEEPEST = 20;
    const int depth = std::min(integer_at(words, 1), DEEPEST);
    if (depth < 1) {
        print_line("perft needs a depth of 1 or more");
        return;
    }
    count_paths(front, depth);
}

void tune(FrontEnd &front, const Words &words, std::string_view) {
    end_search(front);
    const std::string_view percent = word_at(words, 3);
    ToolRun run = tool_run(front);
    tune_one_parameter(run, front.tune, word_at(words, 1), word_at(words, 2),
                       percent.empty() ? -1 : clamped_integer(percent, 0, 100));
}

void exchanges(FrontEnd &front, const Words &, std::string_view) {
    const Position &pos = front.engine.game.position;
    std::string text;
    for (const Square s : ALL_SQUARES) {
        if (pos.board[s] == 0) continue;
        const Colour attacker = opponent(colour_of(pos.board[s]));
        if (!square_attacked(pos, s, attacker)) continue;
        const int value = see_value(pos, attacker, NO_SQUARE, s, false);
        text += format_line("sq= %s, swap= %4d\n", std::string(square_name(s)).c_str(), value);
    }
    print_display(text);
}

void book_moves(FrontEnd &front, const Words &, std::string_view) {
    Engine &engine = front.engine;
    const Settings &settings = engine.settings;
    const BookDraw draw =
        probe_book(engine.game.position, {settings.OwnBook_File.view(), settings.OwnBook_Variety}, engine.random);
    print_book_draw(draw, BookProtocol::CONSOLE, front.limits.noise);
    print_line("");
}

void reductions(FrontEnd &front, const Words &, std::string_view) {
    Engine &engine = front.engine;
    SearchShared &shared = engine.shared;
    if (threads_busy(engine))
        engine.settings_changed = true;  // not under a running search
    else
        derive_search_params(engine.settings.search, engine.settings.UCI_Elo, shared.target_nps, shared.params);
    print_display(search_params_text(shared.params));
}

void evaluation_parameters(FrontEnd &front, const Words &, std::string_view) {
    print_display(evaluation_parameters_text(front.engine));
}

void trace(FrontEnd &front, const Words &words, std::string_view) {
    constexpr int DEEPEST = 65535;
    front.engine.shared.trace.style = move_style(front);
    set_trace_level(front.engine, std::clamp(integer_at(words, 1), 0, DEEPEST));
}

void set(FrontEnd &front, const Words &words, std::string_view) { set_value(front, words); }

void help(FrontEnd &, const Words &, std::string_view);

struct Command {
    CommandHelp help;
    void (*run)(FrontEnd &front, const Words &words, std::string_view rest);
};

// clang-format off
constexpr Command COMMANDS[] = {
    {{"new",   "",                    "start position"},                                          new_game},
    {{"fen",   "FEN",                 "set up a position", "fen 8/8/8/3k4/8/8/1R6/K7 w - -"},                                       set_position},
    {{"quit",  "",                    "end the program"},                                         quit},
    {{"mv",    "",                    "search with the current limits"},                          search_move},
    {{"go",    "[depth]",             "analyse to a depth, or until '.'", "go 12"},                        analyse},
    {{"an",    "[depth]",             "the same"},                                                analyse},
    {{".",     "",                    "stop the search"},                                         stop_analysis},
    {{"bd",    "",                    "show the position"},                                       show_position},
    {{"self",  "",                    "the engine plays both sides, until '.'"},                  self_play_game},
    {{"get",   "id",                  "set up the position with this id from test.epd", "get WAC.001"},          get},
    {{"pv",    "",                    "show the hash table's line and the position at its end"},  hash_line},
    {{"trace", "plies",               "write the moves searched up to this ply to trace.txt", "trace 3"},    trace},
    {{"ev",    "",                    "show the evaluation of the position"},                     evaluation},
    {{"sp",    "",                    "show the evaluation parameters"},                          evaluation_parameters},
    {{"lmr",   "",                    "show the search parameters"},                              reductions},
    {{"undo",  "",                    "take back a move"},                                        take_back},
    {{"[",     "",                    "the same"},                                                take_back},
    {{"]",     "",                    "play again the move that was taken back"},                 play_again},
    {{"load",  "file [number or text]", "load a game: by number, or the first that has the text", "load games.pgn Kasparov"}, load},
    {{"save",  "",                    "append the game to tmp.pgn"},                              save},
    {{"jump",  "ply",                 "go to the position after so many moves of either side", "jump 20"},   jump},
    {{"edit",  "",                    "edit the board"},                                          edit},
    {{"book",  "",                    "list the book's moves and draw one"},                      book_moves},
    {{"tune",  "weight [file] [percent]", "find the best value of a weight on scored positions", "tune knight_mobility_op tmp.epd 50"}, tune},
    {{"perft", "depth",               "count move paths", "perft 5"},                                        count_paths},
    {{"swap",  "",                    "show the exchange values of all attacked pieces"},         exchanges},
    {{"set",   "name value",          "change a setting: hash, noise, multipv, depth, level, ponder, debug, ...", "set level 40 5:00 2"}, set},
    {{"move",  "move",                "play a move; its text alone does as well: Nf3", "move Nf3"},           move},
    {{"uci",   "",                    "change to the UCI protocol"},                              nullptr},
    {{"help",  "",                    "list the commands"},                                       help},
    {{"?",     "",                    "the same"},                                                help},
};
// clang-format on
constexpr auto HELP = help_of(COMMANDS);

void help(FrontEnd &, const Words &, std::string_view) { print_commands(HELP); }

}  // namespace

std::span<const CommandHelp> console_commands() { return HELP; }

void print_commands(std::span<const CommandHelp> commands) {
    constexpr std::size_t LEAST_WIDTH = 28;
    const auto usage = [](const CommandHelp &c) { return std::string(c.word) + " " + std::string(c.arguments); };
    std::size_t width = LEAST_WIDTH;
    for (const CommandHelp &command : commands) width = std::max(width, usage(command).size());
    for (const CommandHelp &command : commands)
        print_format("  %-*s %s", static_cast<int>(width), usage(command).c_str(),
                     std::string(command.meaning).c_str());
}

void interpret_console(FrontEnd &front, std::string_view line) {
    if (front.editing) {
        edit_line(front, line);
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
        if (words[0] == command.help.word && command.run != nullptr) {
            command.run(front, words, rest);
            return;
        }
    }
    typed_move(front, words[0]);
}
