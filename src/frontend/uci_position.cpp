#include "frontend/uci_position.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "base/output.h"
#include "base/text.h"
#include "board/makemove.h"
#include "board/notation.h"

namespace {

int count_words(std::string_view text) {
    int count = 0;
    while (!next_word(text).empty()) ++count;
    return count;
}

// Plays the moves; the first that is not legal, or an empty text.
std::string_view play_moves(Game &game, std::string_view moves) {
    std::string_view illegal;
    for (std::string_view text = next_word(moves); !text.empty() && illegal.empty(); text = next_word(moves)) {
        const Move m = parse_coordinates(game.position, text);
        if (m == NO_MOVE)
            illegal = text;
        else
            make_move(game.position, m);
    }
    game.recorded_move() = NO_MOVE;  // nothing to replay from here
    return illegal;
}

// What a position line consists of, read word by word.
struct PositionText {
    std::string fen;  // its fields with one blank between them; empty: none
    std::string_view moves;
};

PositionText read_position(std::string_view rest) {
    PositionText text;
    const std::string_view first = next_word(rest);
    if (first == "startpos") text.fen = START_FEN;
    for (std::string_view word = next_word(rest); !word.empty(); word = next_word(rest)) {
        if (word == "moves") {
            text.moves = rest;
            break;
        }
        if (first == "fen") text.fen += (text.fen.empty() ? "" : " ") + std::string(word);
    }
    return text;
}

// Sets up a FEN whose every field is understood; otherwise says what is wrong with it. Placement and side have to be
// there. Castling rights that the placement contradicts are dropped with a line.
std::string set_up_exactly(Position &pos, std::string_view fen) {
    enum Field { PLACEMENT, SIDE, CASTLING, EN_PASSANT, CLOCK, MOST_FIELDS = 16 };
    const std::vector<std::string_view> fields = split_words(fen, MOST_FIELDS, fen.size());
    const FenReading reading = set_fen(pos, fen);
    const std::string understood = get_fen(pos);
    const std::vector<std::string_view> known = split_words(understood, MOST_FIELDS, understood.size());
    const std::string_view castling = word_at(fields, CASTLING);
    const std::string_view en_passant = word_at(fields, EN_PASSANT);
    if (word_at(fields, PLACEMENT) != known[PLACEMENT]) return "no such placement of pieces";
    if (word_at(fields, SIDE) != known[SIDE]) return "no side to move";
    if (castling != "-" && castling.find_first_not_of("KQkq") != std::string_view::npos)
        return "no such castling rights";
    const char passed_rank = pos.side == WHITE ? '6' : '3';
    const bool has_passed = pos.ep_square != NO_SQUARE && en_passant.back() == passed_rank;
    if (!en_passant.empty() && en_passant != "-" && !has_passed) return "no such en-passant square";
    if (const std::string_view reason = unsearchable_reason(pos); !reason.empty()) return std::string(reason);
    if (reading.rights_dropped)
        print_line("info string castling rights without king or rook at home: " + std::string(castling));
    constexpr int LONGEST_CLOCK = 255;
    pos.fifty = static_cast<std::uint8_t>(clamped_integer(word_at(fields, CLOCK), 0, LONGEST_CLOCK));
    return {};
}

}  // namespace

void set_uci_position(FrontEnd &front, std::string_view rest) {
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
    const std::string_view illegal = play_moves(front.engine.game, moves);
    if (!illegal.empty()) print_format("info string illegal move %s", std::string(illegal).c_str());
}

void set_uci_position_strictly(FrontEnd &front, std::string_view rest) {
    Game &game = front.engine.game;
    const PositionText text = read_position(rest);
    const Position position = game.position;
    const auto history = std::make_unique<MoveHistory>(game.history);
    std::string wrong;
    if (text.fen.empty())
        wrong = "neither startpos nor fen";
    else if (count_words(text.moves) > MAX_GAME_MOVES)
        wrong = format_line("more than %d moves", MAX_GAME_MOVES);
    else
        wrong = set_up_exactly(game.position, text.fen);
    if (wrong.empty())
        if (const std::string_view illegal = play_moves(game, text.moves); !illegal.empty())
            wrong = "illegal move " + std::string(illegal);
    if (wrong.empty()) return;
    game.position = position;
    game.history = *history;
    print_line("info string position unchanged: " + wrong);
}
