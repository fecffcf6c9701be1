#include "frontend/editor.h"

#include <cctype>
#include <string_view>

#include "base/output.h"
#include "base/text.h"
#include "board/hash_codes.h"

namespace {

// Places pieces such as "Pa2" until a word's square is none.
void place_pieces(Position &pos, Colour side, std::string_view words) {
    pos.side = side;
    for (std::string_view word = next_word(words); !word.empty(); word = next_word(words)) {
        if (word.size() < 3 || word[1] < 'a' || word[1] > 'h' || word[2] < '1' || word[2] > '8') return;
        const PieceType type = type_of_letter(static_cast<char>(std::toupper(static_cast<unsigned char>(word[0]))));
        if (type == NO_TYPE) continue;
        const Square square = make_square(word[1] - 'a', word[2] - '1');
        if (pos.board[square] != 0) remove_piece(pos, square);
        put_piece(pos, make_piece(side, type), square);
    }
}

// Moves of the game before the edit cannot be taken back on another board.
void start_new_game(Game &game) {
    forget_moves(game);
    game.position.ep_square = NO_SQUARE;
}

void complete_position(Position &pos) {
    drop_impossible_castling(pos);
    pos.key = compute_key(pos);
    pos.pawn_key = compute_pawn_key(pos);
}

}  // namespace

void start_editor(FrontEnd &front) {
    print_display("\n\n");
    print_line(".                    end edit");
    print_line("#                    clear board");
    print_line("w  Pa2 Pb2 Kc2       white, pieces");
    print_line("b  Pa7 Pb7 Kc7       black, pieces");
    front.editing = true;
}

void edit_line(FrontEnd &front, std::string_view line) {
    constexpr std::size_t LONGEST_LINE = 77;
    Game &game = front.engine.game;
    line = line.substr(0, LONGEST_LINE);
    if (line.starts_with('.')) {
        front.editing = false;
        complete_position(game.position);
        return;
    }
    if (line.starts_with('#')) {
        clear_position(game.position);
        start_new_game(game);
        return;
    }
    const std::string_view side = next_word(line);
    if (side != "w" && side != "b") return;
    start_new_game(game);
    place_pieces(game.position, side == "w" ? WHITE : BLACK, line);
}
