#include "board/notation.h"

#include <algorithm>
#include <cctype>

#include "board/attacks.h"
#include "board/checks.h"
#include "board/legality.h"
#include "board/movegen.h"

namespace {

// Promotion letter in upper case, or 0 without a promotion. Of several flags the first of this order counts.
char promotion_letter(Move m) {
    if ((m & PROMOTE_QUEEN) != 0) return 'Q';
    if ((m & PROMOTE_KNIGHT) != 0) return 'N';
    if ((m & PROMOTE_BISHOP) != 0) return 'B';
    return (m & PROMOTE_ROOK) != 0 ? 'R' : '\0';
}

std::string promotion_suffix(Move m, PromotionStyle style) {
    const char letter = promotion_letter(m);
    if (letter == '\0') return {};
    if (style == PromotionStyle::LOWER_CASE) return std::string(1, static_cast<char>(std::tolower(letter)));
    return std::string("=") + letter;
}

char file_letter(Square s) { return static_cast<char>('a' + file_of(s)); }
char rank_digit(Square s) { return static_cast<char>('1' + rank_of(s)); }

// The other pieces of the same kind that also reach `to`.
Bitboard rivals(const Position &pos, Square from, Square to) {
    const Piece piece = pos.board[from];
    const Bitboard occupied = pos.occupied() | bit(to);
    Bitboard reach = 0;
    switch (type_of(piece)) {
    case KNIGHT: reach = knight_attacks(to); break;
    case BISHOP: reach = bishop_attacks(to, occupied); break;
    case ROOK: reach = rook_attacks(to, occupied); break;
    case QUEEN: reach = queen_attacks(to, occupied); break;
    default: break;
    }
    return reach & pos.of(colour_of(piece), type_of(piece)) & ~bit(from);
}

void pawn_texts(const Position &pos, Move m, MoveTexts &texts) {
    const Square from = from_square(m);
    const Square to = to_square(m);
    const std::string suffix = promotion_suffix(m, PromotionStyle::EQUALS_SIGN);
    texts[0] = texts[0].substr(0, 4) + suffix;
    if (pos.board[to] != 0 || to == pos.ep_square) {
        texts[1] = file_letter(from) + std::string("x") + std::string(square_name(to));
        texts[2] = {file_letter(from), file_letter(to)};
    } else {
        texts[1] = square_name(to);
    }
    texts[1] += suffix;
    texts[2] += suffix;
}

void piece_texts(const Position &pos, Move m, MoveTexts &texts) {
    const Square from = from_square(m);
    const Square to = to_square(m);
    if (pos.type_on(from) == KING && (to == from + 2 || to == from - 2)) {
        const bool king_side = to > from;
        texts[1] = king_side ? "o-o" : "o-o-o";
        texts[2] = king_side ? "O-O" : "O-O-O";
        texts[3] = king_side ? "0-0" : "0-0-0";
        return;
    }
    const char letter = " PNBRQK "[pos.type_on(from)];
    texts[2] = {letter, file_letter(from)};
    texts[3] = {letter, rank_digit(from)};
    texts[1] = letter;
    if (const Bitboard others = rivals(pos, from, to); others != 0)
        texts[1] = (others & file_mask(file_of(from))) != 0 ? texts[3] : texts[2];
    for (std::size_t form = 1; form < texts.size(); ++form) {
        if (pos.board[to] != 0) texts[form] += 'x';
        texts[form] += square_name(to);
    }
}

// How a text says whether a move captures: a pawn's by its form, a piece's by an 'x'.
enum class Capturing { NO, YES, UNSAID };

// What a text says of a move, whatever the position: from where to where, with what.
struct MovePattern {
    PieceType type = NO_TYPE;  // NO_TYPE: whatever stands on the one square of `origins`
    Bitboard origins = ~Bitboard{0};
    Bitboard targets = 0;
    Move promotion = 0;
    Capturing capturing = Capturing::UNSAID;
    bool sole = false;  // only one piece of the type may reach the square, pinned or not
    int castling = 0;   // steps of the king to the right
};

bool is_file(char c) { return c >= 'a' && c <= 'h'; }
bool is_rank(char c) { return c >= '1' && c <= '8'; }
bool is_square(std::string_view text) { return text.size() == 2 && is_file(text[0]) && is_rank(text[1]); }
Bitboard file_named(char c) { return file_mask(c - 'a'); }
Bitboard square_named(std::string_view text) { return bit(make_square(text[0] - 'a', text[1] - '1')); }

// Takes a promotion letter of either case off the end, and the '=' before it. 0 when there is none.
Move take_promotion(std::string_view &text) {
    Move promotion = 0;
    switch (text.back()) {
    case 'N':
    case 'n': promotion = PROMOTE_KNIGHT; break;
    case 'B':
    case 'b': promotion = PROMOTE_BISHOP; break;
    case 'R':
    case 'r': promotion = PROMOTE_ROOK; break;
    case 'Q':
    case 'q': promotion = PROMOTE_QUEEN; break;
    default: return 0;
    }
    text.remove_suffix(1);
    if (text.ends_with('=')) text.remove_suffix(1);
    return promotion;
}

// "Nf3", "Ngf3", "N1f3", "Nxf3", "Ngxf3", "N1xf3".
bool read_piece_move(std::string_view text, MovePattern &pattern) {
    if (text.size() < 3 || !is_square(text.substr(text.size() - 2))) return false;
    pattern.type = type_of_letter(text[0]);
    pattern.targets = square_named(text.substr(text.size() - 2));
    text = text.substr(1, text.size() - 3);
    const bool captures = text.ends_with('x');
    pattern.capturing = captures ? Capturing::YES : Capturing::NO;
    if (captures) text.remove_suffix(1);
    pattern.sole = text.empty();
    if (pattern.sole) return true;
    if (text.size() > 1 || (!is_file(text[0]) && !is_rank(text[0]))) return false;
    pattern.origins = is_file(text[0]) ? file_named(text[0]) : rank_mask(text[0] - '1');
    return true;
}

// "e4", "ed", "exd5", of a pawn, and "g1f3" of anything.
bool read_pawn_or_coordinates(std::string_view text, MovePattern &pattern) {
    if (!is_file(text[0]) || (text.size() != 2 && text.size() != 4)) return false;
    pattern.type = PAWN;
    pattern.origins = file_named(text[0]);
    pattern.capturing = Capturing::YES;
    if (text.size() == 2) {
        const bool push = is_rank(text[1]);
        if (!push && !is_file(text[1])) return false;
        pattern.targets = push ? square_named(text) : file_named(text[1]);
        if (push) pattern.capturing = Capturing::NO;
        return true;
    }
    if (!is_square(text.substr(2))) return false;
    pattern.targets = square_named(text.substr(2));
    if (text[1] == 'x') return true;
    if (!is_rank(text[1])) return false;
    pattern.origins = square_named(text.substr(0, 2));
    pattern.type = pattern.promotion != 0 ? PAWN : NO_TYPE;
    pattern.capturing = Capturing::UNSAID;
    return true;
}

// "O-O" and "O-O-O", with letters of either case or zeros. False when it is neither.
bool read_castling(std::string_view text, MovePattern &pattern) {
    if (text.size() != 3 && text.size() != 5) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool letter = text[i] == 'o' || text[i] == 'O' || text[i] == '0';
        if (i % 2 == 0 ? !letter : text[i] != '-') return false;
    }
    pattern.castling = text.size() == 3 ? 2 : -2;
    return true;
}

// False when the text is that of no move in any position. A check mark ends it.
bool read_pattern(std::string_view typed, MovePattern &pattern) {
    constexpr std::size_t LONGEST = 6;  // "e7e8=Q"
    std::size_t length = 0;
    while (length < typed.size() && length <= LONGEST && typed[length] != '+') ++length;
    if (length == 0 || length > LONGEST) return false;
    std::string_view text = typed.substr(0, length);
    pattern.promotion = take_promotion(text);
    if (text.empty()) {  // "=Q": any pawn that promotes without capturing
        pattern.type = PAWN;
        pattern.targets = RANK_1 | RANK_8;
        pattern.capturing = Capturing::NO;
        return true;
    }
    if (read_castling(text, pattern)) return pattern.promotion == 0;
    if (type_of_letter(text[0]) > PAWN) return pattern.promotion == 0 && read_piece_move(text, pattern);
    return read_pawn_or_coordinates(text, pattern);
}

// Own pawns that reach a square, by a capture or a push.
Bitboard pawn_origins(const Position &pos, Square to) {
    const Bitboard pawns = pos.of(pos.side, PAWN);
    const Bitboard empty = ~pos.occupied();
    const auto back = [&pos](Bitboard b) { return pos.side == WHITE ? b >> 8 : b << 8; };
    Bitboard origins = 0;
    if (((pos.all(opponent(pos.side)) | en_passant_target(pos, pos.side)) & bit(to)) != 0)
        origins = pawn_attacks(opponent(pos.side), to) & pawns;
    if ((empty & bit(to)) == 0) return origins;
    const Bitboard behind = back(bit(to));
    const Bitboard second_rank = rank_mask(pos.side == WHITE ? 1 : 6);
    return origins | ((behind | (back(behind & empty) & second_rank)) & pawns);
}

// Those of some pieces with nothing between them and a square. The large tables of slider attacks are not in the cache
// of who reads games.
Bitboard with_clear_path(Bitboard pieces, Square to, Bitboard occupied) {
    Bitboard clear = 0;
    while (pieces != 0) {
        const Square from = pop_lsb(pieces);
        if ((between(from, to) & occupied) == 0) clear |= bit(from);
    }
    return clear;
}

// Own pieces of a type that reach a square, castling aside; none when it is occupied by an own piece.
Bitboard piece_origins(const Position &pos, PieceType type, Square to) {
    const Bitboard pieces = pos.of(pos.side, type);
    if ((pos.all(pos.side) & bit(to)) != 0) return 0;
    switch (type) {
    case PAWN: return pawn_origins(pos, to);
    case KNIGHT: return knight_attacks(to) & pieces;
    case BISHOP: return with_clear_path(bishop_span(to) & pieces, to, pos.occupied());
    case ROOK: return with_clear_path(rook_span(to) & pieces, to, pos.occupied());
    case QUEEN: return with_clear_path((bishop_span(to) | rook_span(to)) & pieces, to, pos.occupied());
    case KING: return king_attacks(to) & pieces & bit(pos.king_square[pos.side]);
    default: return 0;
    }
}

// What a text calls a capture: a pawn's push to the en-passant square is one.
bool is_named_capture(const Position &pos, PieceType type, Square to) {
    return pos.board[to] != 0 || (type == PAWN && to == pos.ep_square);
}

void add_if_legal(const Position &pos, Move m, ParsedMove &parsed) {
    if (!is_legal(pos, pos.side, m)) return;
    ++parsed.matches;
    parsed.move = m;
}

void find_castling(const Position &pos, int steps, ParsedMove &parsed) {
    const Move m = make_move_word(pos.king_square[pos.side], pos.king_square[pos.side] + steps);
    MoveList list;
    const MoveEntry *end = gen_quiets(pos, pos.side, list.data(), NO_SQUARE);
    const bool listed = std::any_of(static_cast<const MoveEntry *>(list.data()), end, [m](const MoveEntry &entry) {
        return entry.move == m && type_of(entry.piece) == KING;
    });
    if (listed) add_if_legal(pos, m, parsed);
}

void find_moves(const Position &pos, const MovePattern &pattern, PieceType type, ParsedMove &parsed) {
    for (Bitboard targets = pattern.targets; targets != 0;) {
        const Square to = pop_lsb(targets);
        const bool promotes = type == PAWN && relative_rank(pos.side, to) == 7;
        if (promotes != (pattern.promotion != 0)) continue;
        if (pattern.capturing != Capturing::UNSAID &&
            is_named_capture(pos, type, to) != (pattern.capturing == Capturing::YES))
            continue;
        const Bitboard all = piece_origins(pos, type, to);
        if (pattern.sole && popcount(all) != 1) continue;
        for (Bitboard origins = all & pattern.origins; origins != 0;)
            add_if_legal(pos, make_move_word(pop_lsb(origins), to, pattern.promotion), parsed);
    }
}

}  // namespace

std::string squares_of(Move m) { return std::string(square_name(from_square(m))).append(square_name(to_square(m))); }

std::string move_to_text(Move m, PromotionStyle style) {
    if (m == NO_MOVE) return "null";
    return squares_of(m) + promotion_suffix(m, style);
}

MoveTexts move_to_san(const Position &pos, Move m) {
    MoveTexts texts;
    texts[0] = move_to_text(m, PromotionStyle::EQUALS_SIGN);
    if (m == NO_MOVE) return texts;
    if (pos.type_on(from_square(m)) == PAWN)
        pawn_texts(pos, m, texts);
    else
        piece_texts(pos, m, texts);
    const Colour side = colour_of(pos.board[from_square(m)]);
    const MoveEntry entry{m, pos.board[from_square(m)], pos.board[to_square(m)]};
    if (gives_check(pos, side, entry) != 0)
        for (std::string &text : texts) text += '+';
    return texts;
}

ParsedMove parse_move(const Position &pos, std::string_view typed) {
    ParsedMove parsed;
    MovePattern pattern;
    if (!read_pattern(typed, pattern)) return parsed;
    PieceType type = pattern.type;
    if (type == NO_TYPE && pattern.castling == 0) {
        const Square from = lsb(pattern.origins);
        if ((pos.all(pos.side) & pattern.origins) != 0) type = pos.type_on(from);
        const int steps = lsb(pattern.targets) - from;
        if (type == KING && from == pos.king_square[pos.side] && (steps == 2 || steps == -2)) pattern.castling = steps;
    }
    if (pattern.castling != 0)
        find_castling(pos, pattern.castling, parsed);
    else
        find_moves(pos, pattern, type, parsed);
    if (!parsed.found()) parsed.move = NO_MOVE;
    return parsed;
}

std::string_view without_move_number(std::string_view word) {
    std::size_t start = 0;
    while (start < word.size() && (word[start] == '.' || (word[start] >= '0' && word[start] <= '9'))) ++start;
    const bool glued = start < word.size() && start > 0 && word[start - 1] == '.';
    return glued ? word.substr(start) : word;
}

Move parse_coordinates(const Position &pos, std::string_view text) {
    MoveList list;
    const MoveEntry *end = gen_legal(pos, list.data());
    for (const MoveEntry *entry = list.data(); entry != end; ++entry)
        if (move_to_text(entry->move, PromotionStyle::LOWER_CASE) == text) return entry->move;
    return NO_MOVE;
}
