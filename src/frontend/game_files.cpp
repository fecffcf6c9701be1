#include "frontend/game_files.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <string>

#include "base/line_reader.h"
#include "base/output.h"
#include "base/text.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "frontend/game_commands.h"
#include "games/game_text.h"
#include "platform/files.h"
#include "search/threads.h"
#include "tools/screen.h"

namespace {

constexpr std::size_t LONGEST_FILE_LINE = 1023;
constexpr GameTextRules LOADED_GAMES = {.longest_move = 32};

// Which game of a file is wanted.
class GameChoice {
public:
    explicit GameChoice(std::string_view tag) {
        constexpr std::int64_t MOST_GAMES = 1000;
        const std::int64_t number = leading_integer(tag);
        if (tag.empty() || std::isdigit(static_cast<unsigned char>(tag[0])) != 0)
            wanted_ = number >= 1 && number <= MOST_GAMES ? static_cast<int>(number) : 1;
        else
            tag_ = tag;
    }

    // Takes in the next line.
    void read(std::string_view line) {
        if (line.find("[Event ") != std::string_view::npos) ++current_;
        if (wanted_ == 0 && line.find(tag_) != std::string_view::npos) wanted_ = std::max(current_, 1);
    }

    bool reached() const { return wanted_ != 0 && std::max(current_, 1) == wanted_; }
    bool passed() const { return wanted_ != 0 && current_ > wanted_; }

private:
    std::string tag_;
    int wanted_ = 0;   // 0: not known yet
    int current_ = 0;  // games begun so far; what stands before the first counts with it
};

// Plays a move of game text. False when it is no legal move.
bool play_word(Game &game, std::string_view word) {
    const ParsedMove parsed = read_move(game.position, word);
    if (parsed.found() && play_or_say(game, parsed.move)) return true;
    print_format("can't parse move '%s'", std::string(word).c_str());
    return false;
}

void play_game_of_file(Game &game, LineReader &file, std::string_view tag) {
    GameChoice choice(tag);
    GameTextReader reader(LOADED_GAMES);
    std::string line;
    while (file.next_whole(line)) {
        choice.read(line);
        if (choice.passed()) return;
        if (!choice.reached()) continue;
        reader.start_line(line);
        for (GameTextEvent event; reader.next(event);)
            if (event.kind == GameTextEvent::MOVE && !play_word(game, event.text)) return;
    }
}

}  // namespace

void get_test_position(FrontEnd &front, std::string_view id) {
    constexpr std::size_t SHORTEST_POSITION = 9;
    const std::string wanted = "id \"" + std::string(id) + "\"";
    std::string found;
    LineReader file("test.epd", LONGEST_FILE_LINE);
    std::string_view line;
    while (file.is_open() && file.next(line)) {
        if (line.empty() || line[0] == ' ' || line[0] == ';' || line.find(wanted) == std::string_view::npos) continue;
        found = line.substr(0, line.find('\r'));
        break;
    }
    print_line(found);
    if (found.size() >= SHORTEST_POSITION) set_up_position(front, found);
    show_board(front.engine.game.position);
    clear_table_if_idle(front.engine.shared);
}

void load_game(FrontEnd &front, std::string_view file_name, std::string_view tag) {
    Game &game = front.engine.game;
    const std::string path(file_name);
    print_display(format_line("loading %s, tag %s\n", path.c_str(), std::string(tag).c_str()));
    LineReader file(path.c_str(), LONGEST_FILE_LINE);
    if (file.is_open()) {
        set_up_position(front, START_FEN);
        play_game_of_file(game, file, tag);
        game.recorded_move() = NO_MOVE;
        show_board(game.position);
    }
    front.limits.reset_clocks();
}

void save_game(Game &game) {
    constexpr int MOVES_PER_LINE = 11;
    std::string text = "[Event \"Unknown\"]\n";
    const int played = game.plies();
    take_back_all(game);
    while (game.plies() < played) {
        const Move move = game.recorded_move();
        text += move_to_san(game.position, move)[1] + ' ';
        make_move(game.position, move);
        if (game.plies() % MOVES_PER_LINE == 0) text += '\n';
    }
    text += "\n\n";
    std::FILE *file = open_file("tmp.pgn", "ab");
    if (file == nullptr) return;
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (std::fclose(file) != 0 || !written) print_line("cannot write tmp.pgn");
}
