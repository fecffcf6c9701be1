// Set-up of positions, their keys and their text forms.
#include "board/position.h"

#include <algorithm>

#include "base/output.h"
#include "board/attacks.h"

std::array<std::array<std::uint64_t, 64>, 16> hash_codes;
std::atomic<MoveTrace> move_trace{nullptr};

namespace {

constexpr std::string_view WHITE_LETTERS = " PNBRQK";
constexpr std::string_view BLACK_LETTERS = " pnbrqk";

constexpr int NO_SQUARES = 64;
constexpr std::array<std::array<char, 2>, 64> SQUARE_NAMES = [] {
    std::array<std::array<char, 2>, 64> names{};
    for (int s = 0; s < NO_SQUARES; ++s)
        names[s] = {static_cast<char>('a' + file_of(s)), static_cast<char>('1' + rank_of(s))};
    return names;
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

// Multiply-with-carry generator of two 16-bit halves.
class HashCodeGenerator {
public:
    std::uint64_t next_code() {
        const std::uint64_t high = draw();
        return high << 32 | draw();
    }

private:
    std::uint32_t draw() {
        z_ = 36969 * (z_ & 0xFFFF) + (z_ >> 16);
        w_ = 18000 * (w_ & 0xFFFF) + (w_ >> 16);
        return (z_ << 16) + w_;
    }
    std::uint32_t z_ = 1;
    std::uint32_t w_ = 1;
};

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
            s = std::max((s & ~7) - 8, 0);
            continue;
        }
        if (c >= '0' && c <= '9') {
            const int skip = c - '0';
            s = file_of(s) + skip > 7 ? (s | 7) : s + skip;
            continue;
        }
        std::size_t type = WHITE_LETTERS.find(c, 1);
        Colour colour = WHITE;
        if (type == std::string_view::npos) {
            type = BLACK_LETTERS.find(c, 1);
            colour = BLACK;
        }
        if (type != std::string_view::npos) {
            remove_piece(pos, s);
            put_piece(pos, make_piece(colour, static_cast<int>(type)), s);
        }
        if (file_of(s) != 7) ++s;
    }
}

}  // namespace

void generate_hash_codes() {
    static bool done = false;
    if (done) return;
    done = true;

    HashCodeGenerator generator;
    constexpr int CODES = 1024;
    constexpr int CANDIDATES = 5;
    const auto code_at = [](int i) -> std::uint64_t & { return hash_codes[i / 64][i % 64]; };
    for (int i = 0; i < CODES; ++i) {
        for (int candidate = 1; candidate <= CANDIDATES; ++candidate) {
            const std::uint64_t code = generator.next_code();
            bool good = popcount(code) >= 16;
            for (int earlier = 0; good && earlier < i; ++earlier) {
                const std::uint64_t difference = code ^ code_at(earlier);
                good = popcount(difference & 0xFFFFFFFF) >= 4 && popcount(difference >> 32) >= 4;
            }
            code_at(i) = code;
            if (good) break;
            if (candidate == CANDIDATES) print_line("bad hashcode");
        }
    }
}

void put_piece(Position &pos, int piece, Square s) {
    const Colour c = colour_of(piece);
    const int type = type_of(piece);
    pos.board[s] = static_cast<std::uint8_t>(piece);
    pos.pieces[c][type] |= bit(s);
    pos.pieces[c][0] |= bit(s);
    pos.material[c] += MATERIAL_UNIT[type];
    pos.nonpawn_material[c] = static_cast<std::uint16_t>(pos.nonpawn_material[c] + NONPAWN_UNIT[type]);
    if (type == KING) pos.king_square[c] = static_cast<std::uint8_t>(s);
}

void remove_piece(Position &pos, Square s) {
    const int piece = pos.board[s];
    if (piece == 0) return;
    const Colour c = colour_of(piece);
    const int type = type_of(piece);
    pos.board[s] = 0;
    pos.pieces[c][type] &= ~bit(s);
    pos.pieces[c][0] &= ~bit(s);
    pos.material[c] -= MATERIAL_UNIT[type];
    pos.nonpawn_material[c] = static_cast<std::uint16_t>(pos.nonpawn_material[c] - NONPAWN_UNIT[type]);
    if (type == KING && pos.of(c, KING) != 0)  // only in set-ups with several kings
        pos.king_square[c] = static_cast<std::uint8_t>(lsb(pos.of(c, KING)));
}

void move_piece(Position &pos, Square from, Square to) {
    const int piece = pos.board[from];
    const Colour c = colour_of(piece);
    const int type = type_of(piece);
    const Bitboard both = bit(from) | bit(to);
    pos.board[from] = 0;
    pos.board[to] = static_cast<std::uint8_t>(piece);
    pos.pieces[c][type] ^= both;
    pos.pieces[c][0] ^= both;
    if (type == KING) pos.king_square[c] = static_cast<std::uint8_t>(to);
}

void clear_position(Position &pos) {
    pos.board.fill(0);
    for (auto &colour : pos.pieces) std::fill(std::begin(colour), std::end(colour), Bitboard{0});
    for (const Colour c : {WHITE, BLACK}) {
        pos.material[c] = 0;
        pos.nonpawn_material[c] = 0;
    }
    pos.fifty = 0;
    pos.castling = 0;
    pos.ep_square = NO_SQUARE;
    pos.history->undo_count = 0;
    pos.history->ply = 1;
    pos.history->current_move = NO_MOVE;
    pos.history->undo[0] = pos.history->undo[1] = UndoEntry{};
}

int set_fen(Position &pos, std::string_view text) {
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
        pos.ep_square = static_cast<std::uint8_t>(make_square(ep[0] - 'a', ep[1] - '1'));

    const bool illegal = drop_impossible_castling(pos);
    pos.key = compute_key(pos);
    pos.pawn_key = compute_pawn_key(pos);
    if (illegal) print_line("Illegal EPD - " + std::string(rest));
    return illegal ? -1 : 0;
}

bool drop_impossible_castling(Position &pos) {
    const int before = pos.castling;
    for (const CastlingHome &home : CASTLING_HOMES)
        if (pos.board[home.king] != make_piece(home.colour, KING) ||
            pos.board[home.rook] != make_piece(home.colour, ROOK))
            pos.castling = static_cast<std::uint8_t>(pos.castling & ~home.right);
    return pos.castling != before;
}

std::string get_fen(const Position &pos) {
    std::string fen;
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        for (int file = 0; file < 8; ++file) {
            const int piece = pos.board[make_square(file, rank)];
            if (piece == 0) {
                ++empty;
                continue;
            }
            if (empty != 0) fen += static_cast<char>('0' + empty);
            empty = 0;
            fen += (colour_of(piece) == WHITE ? WHITE_LETTERS : BLACK_LETTERS)[type_of(piece)];
        }
        if (empty != 0) fen += static_cast<char>('0' + empty);
        if (rank != 0) fen += '/';
    }
    fen += pos.side == WHITE ? " w " : " b ";
    if (pos.castling == 0) fen += '-';
    for (const CastlingHome &home : CASTLING_HOMES)
        if ((pos.castling & home.right) != 0) fen += home.letter;
    fen += ' ';
    fen += pos.ep_square == NO_SQUARE ? std::string_view("-") : square_name(pos.ep_square);
    return fen;
}

std::string board_text(const Position &pos) {
    constexpr std::string_view WHITE_DIAGRAM = "-PNBRQK";
    constexpr std::string_view BLACK_DIAGRAM = "-onbrqk";
    std::string text = get_fen(pos) + '\n';
    for (int rank = 7; rank >= 0; --rank) {
        text += ' ';
        for (int file = 0; file < 8; ++file) {
            const int piece = pos.board[make_square(file, rank)];
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

void show_board(const Position &pos) { print_line(board_text(pos)); }

std::uint64_t compute_key(const Position &pos) {
    std::uint64_t key = hash_codes[0][pos.castling];
    for (Square s = 0; s < 64; ++s)
        if (pos.board[s] != 0) key ^= hash_codes[pos.board[s]][s];
    if (pos.ep_square != NO_SQUARE) key ^= hash_codes[0][pos.ep_square];
    return (key & ~std::uint64_t{1}) | pos.side;
}

std::uint64_t compute_pawn_key(const Position &pos) {
    std::uint64_t key = 0;
    for (const Colour c : {WHITE, BLACK})
        for (Bitboard pawns = pos.of(c, PAWN); pawns != 0;) key ^= hash_codes[make_piece(c, PAWN)][pop_lsb(pawns)];
    return key;
}

bool is_consistent(const Position &pos) {
    Bitboard pieces[2][8] = {};
    std::uint32_t material[2] = {};
    std::uint16_t nonpawn[2] = {};
    for (Square s = 0; s < 64; ++s) {
        const int piece = pos.board[s];
        if (piece == 0) continue;
        const Colour c = colour_of(piece);
        pieces[c][type_of(piece)] |= bit(s);
        pieces[c][0] |= bit(s);
        material[c] += MATERIAL_UNIT[type_of(piece)];
        nonpawn[c] = static_cast<std::uint16_t>(nonpawn[c] + NONPAWN_UNIT[type_of(piece)]);
    }
    for (const Colour c : {WHITE, BLACK}) {
        if (!std::equal(std::begin(pieces[c]), std::end(pieces[c]), std::begin(pos.pieces[c])) ||
            material[c] != pos.material[c] || nonpawn[c] != pos.nonpawn_material[c])
            return false;
        if (pieces[c][KING] != 0 && (pieces[c][KING] & bit(pos.king_square[c])) == 0) return false;
    }
    return pos.board[64] == 0 && pos.key == compute_key(pos) && pos.pawn_key == compute_pawn_key(pos);
}

std::string_view unsearchable_reason(const Position &pos) {
    for (const Colour c : {WHITE, BLACK}) {
        if (popcount(pos.of(c, KING)) != 1) return "each side needs exactly one king";
        if (popcount(pos.all(c)) > 16) return "more than 16 pieces on one side";
        if ((pos.of(c, PAWN) & (RANK_1 | RANK_8)) != 0) return "pawn on the first or last rank";
    }
    if (square_attacked(pos, pos.king_square[1 - pos.side], pos.side))
        return "the side that has just moved is in check";
    return {};
}

int count_repetitions(const Position &pos) {
    const MoveHistory &history = *pos.history;
    const int oldest = std::max(history.undo_count - pos.fifty, 0);
    int matches = 0;
    for (int i = history.undo_count - 4; i >= oldest; i -= 2) matches += history.undo[i].key == pos.key;
    return matches;
}

std::string_view square_name(Square s) { return {SQUARE_NAMES[s].data(), 2}; }
