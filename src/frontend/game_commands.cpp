#include "frontend/game_commands.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <string>

#include "base/control.h"
#include "base/line_reader.h"
#include "base/output.h"
#include "base/text.h"
#include "board/fen.h"
#include "board/hash_codes.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "board/repetition.h"
#include "frontend/engine.h"
#include "search/report.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/tt.h"

namespace {

constexpr std::size_t LONGEST_FILE_LINE = 1023;

Position &board() { return game->position; }
int moves_played() { return game->history.undo_count; }

// The move recorded as played from the present position.
Move &recorded_move() { return game->history.undo[static_cast<std::size_t>(moves_played())].move; }

bool replay_one() {
    return recorded_move() != NO_MOVE && is_legal_move(board(), recorded_move()) && play_game_move(recorded_move());
}

void take_back_all() {
    while (moves_played() > 0) unmake_move(board());
}

void set_clocks() { clock_white = clock_black = time_per_move; }

void set_up(std::string_view fen) {
    set_fen(board(), fen);
    recorded_move() = NO_MOVE;
}

// --- Loading ---

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

// Game text without comments in braces, which may nest and run over lines.
class CommentFilter {
public:
    std::string without_comments(std::string_view line) {
        std::string text;
        for (const char c : line) {
            if (c == '{') ++depth_;
            if (depth_ == 0 && c != '}') text += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
            if (c == '}') {
                depth_ = std::max(depth_ - 1, 0);
                text += ' ';
            }
        }
        return text;
    }

private:
    int depth_ = 0;
};

// Plays the moves of a line of game text. False at a word that is no legal move.
bool play_words(std::string_view text) {
    constexpr std::size_t LONGEST_WORD = 32;
    for (std::string_view word = next_word(text); !word.empty(); word = next_word(text)) {
        word = without_move_number(word);
        if (std::isalpha(static_cast<unsigned char>(word[0])) == 0) continue;
        word = word.substr(0, LONGEST_WORD);
        Move move = NO_MOVE;
        if (!parse_move(board(), word, move) || !play_game_move(move)) {
            print_format("can't parse move '%s'", std::string(word).c_str());
            return false;
        }
    }
    return true;
}

void play_game_of_file(LineReader &file, std::string_view tag) {
    GameChoice choice(tag);
    CommentFilter comments;
    std::string line;
    while (file.next_whole(line)) {
        choice.read(line);
        if (choice.passed()) return;
        if (!choice.reached() || (!line.empty() && line[0] == '[')) continue;
        if (!play_words(comments.without_comments(line))) return;
    }
}

// --- The editor ---

bool editor_open = false;

// Places pieces such as "Pa2" until a word's square is none.
void place_pieces(Colour side, std::string_view words) {
    constexpr std::string_view TYPES = " PNBRQK";
    Position &pos = board();
    pos.side = static_cast<std::uint8_t>(side);
    for (std::string_view word = next_word(words); !word.empty(); word = next_word(words)) {
        if (word.size() < 3 || word[1] < 'a' || word[1] > 'h' || word[2] < '1' || word[2] > '8') return;
        const std::size_t type = TYPES.find(static_cast<char>(std::toupper(static_cast<unsigned char>(word[0]))));
        if (type == std::string_view::npos || type == 0) continue;
        const Square square = make_square(word[1] - 'a', word[2] - '1');
        if (pos.board[square] != 0) remove_piece(pos, square);
        put_piece(pos, make_piece(side, static_cast<int>(type)), square);
    }
}

// Moves of the game before the edit cannot be taken back on another board.
void forget_game() {
    game->history.undo_count = 0;
    game->history.ply = 1;
    game->history.current_move = NO_MOVE;
    recorded_move() = NO_MOVE;
    board().ep_square = NO_SQUARE;
}

void close_editor() {
    Position &pos = board();
    editor_open = false;
    drop_impossible_castling(pos);
    pos.key = compute_key(pos);
    pos.pawn_key = compute_pawn_key(pos);
}

}  // namespace

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

void get_test_position(std::string_view id) {
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
    if (found.size() >= SHORTEST_POSITION) set_up(found);
    show_board(board());
    tt_clear_if_idle();
}

void load_game(std::string_view file_name, std::string_view tag) {
    const std::string path(file_name);
    std::printf("loading %s, tag %s\n", path.c_str(), std::string(tag).c_str());
    std::fflush(stdout);
    LineReader file(path.c_str(), LONGEST_FILE_LINE);
    if (file.is_open()) {
        set_up(START_FEN);
        play_game_of_file(file, tag);
        recorded_move() = NO_MOVE;
        show_board(board());
    }
    set_clocks();
}

void save_game() {
    constexpr int MOVES_PER_LINE = 11;
    std::string text = "[Event \"Unknown\"]\n";
    const int played = moves_played();
    take_back_all();
    while (moves_played() < played) {
        const Move move = recorded_move();
        text += move_to_san(board(), move)[1] + ' ';
        make_move(board(), move);
        if (moves_played() % MOVES_PER_LINE == 0) text += '\n';
    }
    text += "\n\n";
    std::FILE *file = std::fopen("tmp.pgn", "ab");
    if (file == nullptr) return;
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (std::fclose(file) != 0 || !written) print_line("cannot write tmp.pgn");
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

void start_editor() {
    std::printf("\n\n");
    std::fflush(stdout);
    print_line(".                    end edit");
    print_line("#                    clear board");
    print_line("w  Pa2 Pb2 Kc2       white, pieces");
    print_line("b  Pa7 Pb7 Kc7       black, pieces");
    editor_open = true;
}

bool editing() { return editor_open; }

void edit_line(std::string_view line) {
    constexpr std::size_t LONGEST_LINE = 77;
    line = line.substr(0, LONGEST_LINE);
    if (line.starts_with('.')) {
        close_editor();
        return;
    }
    if (line.starts_with('#')) {
        clear_position(board());
        forget_game();
        return;
    }
    const std::string_view side = next_word(line);
    if (side != "w" && side != "b") return;
    forget_game();
    place_pieces(side == "w" ? WHITE : BLACK, line);
}
