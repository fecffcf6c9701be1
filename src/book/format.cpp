#include "book/format.h"

#include "board/attacks.h"
#include "book/random64.h"

namespace {

constexpr std::size_t CASTLING_CODES = 768;
constexpr std::size_t EN_PASSANT_CODES = 772;
constexpr std::size_t WHITE_TO_MOVE_CODE = 780;
static_assert(WHITE_TO_MOVE_CODE + 1 == RANDOM64_SIZE);

// [book code]: knight 1 to queen 4.
constexpr std::array<Move, 5> PROMOTIONS = {0, PROMOTE_KNIGHT, PROMOTE_BISHOP, PROMOTE_ROOK, PROMOTE_QUEEN};

// Castling as the engine writes it, and the rook's square that the book writes.
struct CastlingForm {
    Square from, to, rook;
};
constexpr CastlingForm CASTLING_FORMS[] = {
    {E1, G1, H1},
    {E1, C1, A1},
    {E8, G8, H8},
    {E8, C8, A8},
};

Square book_from(std::uint16_t book_move) { return square_at(book_move >> 6 & 63); }
Square book_to(std::uint16_t book_move) { return square_at(book_move & 63); }

template <typename T>
T big_endian(const char *bytes) {
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        value = static_cast<T>((value << 8) | static_cast<T>(static_cast<unsigned char>(bytes[i])));
    return value;
}

template <typename T>
char *store_big_endian(T value, char *bytes) {
    for (std::size_t i = 0; i < sizeof(T); ++i) bytes[i] = static_cast<char>(value >> (8 * (sizeof(T) - 1 - i)));
    return bytes + sizeof(T);
}

}  // namespace

std::uint64_t polyglot_piece_number(Piece piece, Square s) {
    const int kind = 2 * (type_of(piece) - PAWN) + (colour_of(piece) == WHITE ? 1 : 0);
    return random64[64 * kind + s];
}

std::uint64_t polyglot_pieces_key(const Position &pos) {
    std::uint64_t key = 0;
    for (Bitboard pieces = pos.occupied(); pieces != 0;) {
        const Square s = pop_lsb(pieces);
        key ^= polyglot_piece_number(pos.board[s], s);
    }
    return key;
}

std::uint64_t polyglot_key(const Position &pos) { return polyglot_key(pos, polyglot_pieces_key(pos)); }

std::uint64_t polyglot_key(const Position &pos, std::uint64_t pieces_key) {
    std::uint64_t key = pieces_key;
    for (std::size_t right = 0; right < 4; ++right)
        if ((pos.castling >> right & 1) != 0) key ^= random64[CASTLING_CODES + right];
    if (pos.ep_square != NO_SQUARE && (pawn_attacks(opponent(pos.side), pos.ep_square) & pos.of(pos.side, PAWN)) != 0)
        key ^= random64[EN_PASSANT_CODES + static_cast<std::size_t>(file_of(pos.ep_square))];
    if (pos.side == WHITE) key ^= random64[WHITE_TO_MOVE_CODE];
    return key;
}

bool read_book_entry(std::istream &file, BookEntry &entry) {
    std::array<char, BOOK_ENTRY_SIZE> bytes;
    if (!file.read(bytes.data(), bytes.size())) return false;
    entry.key = big_endian<std::uint64_t>(bytes.data());
    entry.move = big_endian<std::uint16_t>(bytes.data() + 8);
    entry.weight = big_endian<std::uint16_t>(bytes.data() + 10);
    entry.learn = big_endian<std::uint32_t>(bytes.data() + 12);
    return true;
}

std::array<char, BOOK_ENTRY_SIZE> book_entry_bytes(const BookEntry &entry) {
    std::array<char, BOOK_ENTRY_SIZE> bytes;
    char *end = store_big_endian(entry.key, bytes.data());
    end = store_big_endian(entry.move, end);
    end = store_big_endian(entry.weight, end);
    store_big_endian(entry.learn, end);
    return bytes;
}

Move move_from_book(std::uint16_t book_move) {
    const Square from = book_from(book_move);
    Square to = book_to(book_move);
    const std::size_t promotion = (book_move >> 12) & 7;
    if (promotion >= PROMOTIONS.size()) return NO_MOVE;
    for (const CastlingForm &form : CASTLING_FORMS) {
        if (from != form.from || to != form.rook) continue;
        to = form.to;
        break;
    }
    return make_move_word(from, to, PROMOTIONS[promotion]);
}

std::uint16_t move_to_book(Move m) {
    const Square from = from_square(m);
    Square to = to_square(m);
    for (const CastlingForm &form : CASTLING_FORMS) {
        if (from != form.from || to != form.to) continue;
        to = form.rook;
        break;
    }
    std::size_t promotion = 0;
    while (promotion < PROMOTIONS.size() - 1 && (m & PROMOTE_ANY) != PROMOTIONS[promotion]) ++promotion;
    return static_cast<std::uint16_t>(promotion << 12 | static_cast<std::size_t>(from << 6 | to));
}

std::string book_squares(std::uint16_t book_move) {
    return std::string(square_name(book_from(book_move))).append(square_name(book_to(book_move)));
}
