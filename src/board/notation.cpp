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

// Brings a typed move into the spelling of the texts: no check mark, "=Q" for a promotion, small o for castling.
std::string normalise(std::string_view typed) {
    std::string text(typed.substr(0, typed.find('+')));
    if (text.empty()) return text;
    const char last = static_cast<char>(std::toupper(static_cast<unsigned char>(text.back())));
    if (std::string_view("NBRQ").find(last) != std::string_view::npos) {
        text.pop_back();
        if (text.empty() || text.back() != '=') text += '=';
        text += last;
    }
    for (char &c : text)
        if (c == 'O' || c == '0') c = 'o';
    return text;
}

// Whether a move can have a text that equals `text`, told from the first letter and, for a piece, the square at the end.
bool can_match(const Position &pos, Move m, std::string_view text) {
    const Square from = from_square(m);
    const PieceType type = pos.type_on(from);
    switch (text[0]) {
    case 'N':
    case 'B':
    case 'R':
    case 'Q':
    case 'K': return " PNBRQK"[type] == text[0] && type != PAWN && text.ends_with(square_name(to_square(m)));
    case 'o': return type == KING;
    case '=': return type == PAWN;
    default: return file_letter(from) == text[0];
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
    const std::string text = normalise(typed);
    if (text.empty()) return parsed;
    MoveList list;
    gen_all(pos, list.data());
    for (const MoveEntry *entry = list.data(); entry->move != END_OF_LIST; ++entry) {
        if (!can_match(pos, entry->move, text)) continue;
        const MoveTexts texts = move_to_san(pos, entry->move);
        const bool same = std::any_of(texts.begin(), texts.end(), [&text](const std::string &form) {
            return form.substr(0, form.find('+')) == text;
        });
        if (!same || entry->move == NO_MOVE || !is_legal(pos, pos.side, entry->move)) continue;
        ++parsed.matches;
        parsed.move = entry->move;
    }
    if (!parsed.found()) parsed.move = NO_MOVE;
    return parsed;
}

std::string_view without_move_number(std::string_view word) {
    const std::size_t start = word.find_first_not_of("0123456789.");
    const bool glued = start != std::string_view::npos && start > 0 && word[start - 1] == '.';
    return glued ? word.substr(start) : word;
}

Move parse_coordinates(const Position &pos, std::string_view text) {
    MoveList list;
    const MoveEntry *end = gen_legal(pos, list.data());
    for (const MoveEntry *entry = list.data(); entry != end; ++entry)
        if (move_to_text(entry->move, PromotionStyle::LOWER_CASE) == text) return entry->move;
    return NO_MOVE;
}
