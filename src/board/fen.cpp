#include "board/fen.h"

#include <algorithm>
#include <array>

#include "board/hash_codes.h"

namespace {

constexpr std::string_view BLACK_LETTERS = " pnbrqk";

constexpr std::array<Piece, 256> LETTER_PIECES = [] {
    std::array<Piece, 256> pieces{};
    for (const PieceType type : PIECE_TYPES) {
        pieces[static_cast<unsigned char>(PIECE_LETTERS[type])] = make_piece(WHITE, type);
        pieces[static_cast<unsigned char>(BLACK_LETTERS[type])] = make_piece(BLACK, type);
    }
    return pieces;
}();

struct CastlingHome {
    int right;
    char letter;
    Colour colour;
    Square king;
    Square rook;
};
constexpr std::array<CastlingHome, 4> CASTLING_HOMES = {{
    {WHITE_KING_SIDE, 'K', WHITE, E1, H1},
    {WHITE_QUEEN_SIDE, 'Q', WHITE, E1, A1},
    {BLACK_KING_SIDE, 'k', BLACK, E8, H8},
    {BLACK_QUEEN_SIDE, 'q', BLACK, E8, A8},
}};

// A field's text: up to the next blank, taken off the front together with the blanks before it.
std::string_view take_field(std::string_view &text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::size_t length = std::min(text.find(' '), text.size());
    const std::string_view field = text.substr(0, length);
    text.remove_prefix(length);
    return field;
}

void read_placement(Position &pos, std::string_view field) {
    Square s = A8;
    for (const char c : field) {
        if (c == '/') {
            // A ninth rank overwrites the first one instead of leaving the board.
            s = make_square(0, std::max(rank_of(s) - 1, 0));
            continue;
        }
        if (c >= '0' && c <= '9') {
            const int skip = c - '0';
            s = make_square(std::min(file_of(s) + skip, 7), rank_of(s));
            continue;
        }
        if (const Piece piece = LETTER_PIECES[static_cast<unsigned char>(c)]; piece != NO_PIECE) {
            remove_piece(pos, s);
            put_piece(pos, piece, s);
        }
        if (file_of(s) != 7) ++s;
    }
}

// Of what the text of a rank consists, by its occupied squares: the letter of a file (0 to 7), a count of empty squares
// (8 for one and so on). So no branch depends on the position: those that did took most of the time.
struct RankForm {
    std::array<std::uint8_t, 8> parts;
    std::uint8_t length;
};
constexpr std::array<RankForm, 256> RANK_FORMS = [] {
    std::array<RankForm, 256> forms{};
    for (unsigned occupied = 0; occupied < forms.size(); ++occupied) {
        RankForm &form = forms[occupied];
        for (unsigned file = 0; file < 8; ++file) {
            const bool empty = (occupied >> file & 1) == 0;
            const bool goes_on = empty && file > 0 && (occupied >> (file - 1) & 1) == 0;
            if (goes_on)
                ++form.parts[form.length - 1U];
            else
                form.parts[form.length++] = static_cast<std::uint8_t>(empty ? 8 : file);
        }
    }
    return forms;
}();

}  // namespace

FenReading set_fen(Position &pos, std::string_view text) {
    clear_position(pos);
    const std::size_t placement = std::min(text.find(' '), text.size());
    read_placement(pos, text.substr(0, placement));

    std::string_view rest = text.substr(placement);
    if (rest.size() > 1 && (rest[1] == 'w' || rest[1] == 'b')) pos.side = rest[1] == 'w' ? WHITE : BLACK;
    rest.remove_prefix(std::min<std::size_t>(2, rest.size()));

    for (const char c : take_field(rest))
        for (const CastlingHome &home : CASTLING_HOMES)
            if (c == home.letter) pos.castling = static_cast<std::uint8_t>(pos.castling | home.right);

    // A file letter and a rank digit; anything else is no en-passant square.
    const std::string_view ep = take_field(rest);
    if (ep.size() == 2 && ep[0] >= 'a' && ep[0] <= 'h' && ep[1] >= '1' && ep[1] <= '8')
        pos.ep_square = make_square(ep[0] - 'a', ep[1] - '1');

    const bool illegal = drop_impossible_castling(pos);
    pos.key = compute_key(pos);
    pos.pawn_key = compute_pawn_key(pos);
    return {illegal, rest};
}

bool drop_impossible_castling(Position &pos) {
    const int before = pos.castling;
    for (const CastlingHome &home : CASTLING_HOMES)
        if (pos.board[home.king] != make_piece(home.colour, KING) ||
            pos.board[home.rook] != make_piece(home.colour, ROOK))
            pos.castling = static_cast<std::uint8_t>(pos.castling & ~home.right);
    return pos.castling != before;
}

char *write_fen(const Position &pos, char *end) {
    constexpr std::string_view LETTERS = " PNBRQK  pnbrqk ";  // by piece
    std::array<char, 16> parts = {0, 0, 0, 0, 0, 0, 0, 0, '1', '2', '3', '4', '5', '6', '7', '8'};
    for (int rank = 7; rank >= 0; --rank) {
        const Piece *pieces = &pos.board[make_square(0, rank)];
        const RankForm &form = RANK_FORMS[pos.occupied() >> 8 * rank & 0xFF];
        for (std::size_t file = 0; file < 8; ++file) parts[file] = LETTERS[pieces[file]];
        for (const std::uint8_t part : form.parts) *end++ = parts[part];
        end -= form.parts.size() - form.length;
        *end++ = rank != 0 ? '/' : ' ';
    }
    *end++ = pos.side == WHITE ? 'w' : 'b';
    *end++ = ' ';
    if (pos.castling == 0) *end++ = '-';
    for (const CastlingHome &home : CASTLING_HOMES)
        if ((pos.castling & home.right) != 0) *end++ = home.letter;
    *end++ = ' ';
    const std::string_view ep = pos.ep_square == NO_SQUARE ? std::string_view("-") : square_name(pos.ep_square);
    return std::copy(ep.begin(), ep.end(), end);
}

std::string get_fen(const Position &pos) {
    std::array<char, LONGEST_FEN> fen;
    return {fen.data(), write_fen(pos, fen.data())};
}

std::string board_text(const Position &pos) {
    constexpr std::string_view WHITE_DIAGRAM = "-PNBRQK";
    constexpr std::string_view BLACK_DIAGRAM = "-onbrqk";
    std::string text = get_fen(pos) + '\n';
    for (int rank = 7; rank >= 0; --rank) {
        text += ' ';
        for (int file = 0; file < 8; ++file) {
            const Piece piece = pos.board[make_square(file, rank)];
            text += ' ';
            if (piece != 0)
                text += (colour_of(piece) == WHITE ? WHITE_DIAGRAM : BLACK_DIAGRAM)[type_of(piece)];
            else
                text += (rank & 1) == (file & 1) ? '+' : '-';
        }
        text += '\n';
    }
    text += pos.side == WHITE ? "white\n" : "black\n";
    return text;
}
