// The moves of game files: finding those that texts denote, and giving them their standard texts.
#include <algorithm>
#include <cctype>

#include "base/text.h"
#include "board/checks.h"
#include "board/fen.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "games/pgn.h"

namespace {

// "x", "ep", dashes and signs say nothing about which move it is.
std::string essence(std::string_view text) {
    for (const std::string_view ending : {"e.p.", "ep"})
        if (text.size() > ending.size() && text.ends_with(ending)) text.remove_suffix(ending.size());
    std::string letters;
    for (const char c : text)
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) letters += c == 'x' || c == 'X' ? "" : std::string(1, c);
    return letters;
}

// Whether a text names the move: letter of the piece, anything of its origin, target, promotion.
bool names_move(const Position &pos, Move move, std::string_view text) {
    const std::string coordinates = move_to_text(move, PromotionStyle::EQUALS_SIGN);
    const std::string_view origin = std::string_view(coordinates).substr(0, 2);
    const std::string goal = essence(std::string_view(coordinates).substr(2));
    const PieceType type = pos.type_on(from_square(move));
    if (text.starts_with(PIECE_LETTERS[type]))
        text.remove_prefix(1);
    else if (type != PAWN)
        return false;
    if (!text.ends_with(goal)) return false;
    text.remove_suffix(goal.size());
    return text.empty() || text == origin || (text.size() == 1 && origin.find(text) != std::string_view::npos);
}

// The move that a text of a game file denotes; NO_MOVE unless exactly one legal move fits.
Move read_pgn_move(const Position &pos, std::string_view text) {
    std::string_view plain = text;
    plain = plain.substr(0, plain.find_last_not_of("+#") + 1);
    if (const ParsedMove parsed = parse_move(pos, plain); parsed.found()) return parsed.move;
    const std::string wanted = essence(plain);
    MoveList list;
    Move found = NO_MOVE;
    const MoveEntry *end = gen_legal(pos, list.data());
    for (const MoveEntry *entry = list.data(); entry != end; ++entry) {
        if (!names_move(pos, entry->move, wanted)) continue;
        if (found != NO_MOVE) return NO_MOVE;
        found = entry->move;
    }
    return found;
}

// What the text of a piece's move says of its origin: what tells it from other legal moves.
std::string origin_text(const Position &pos, Move move) {
    const Square from = from_square(move);
    bool rival = false;
    bool same_file = false;
    bool same_rank = false;
    MoveList list;
    const MoveEntry *end = gen_legal(pos, list.data());
    for (const MoveEntry *entry = list.data(); entry != end; ++entry) {
        const Square other = from_square(entry->move);
        if (to_square(entry->move) != to_square(move) || other == from || entry->piece != pos.board[from]) continue;
        rival = true;
        same_file |= file_of(other) == file_of(from);
        same_rank |= rank_of(other) == rank_of(from);
    }
    const std::string name(square_name(from));
    if (!rival) return {};
    if (!same_file) return name.substr(0, 1);
    return same_rank ? name : name.substr(1);
}

}  // namespace

std::vector<Move> play_out(Position &pos, PgnGame &game) {
    constexpr int CLOCK_FIELD = 0;
    constexpr int HIGHEST_CLOCK = 255;
    const std::string_view fen = game.tag("FEN");
    const FenReading reading = set_fen(pos, fen.empty() ? START_FEN : fen);
    const auto rest = split_words(reading.rest, 2, reading.rest.size());
    pos.fifty = static_cast<std::uint8_t>(clamped_integer(word_at(rest, CLOCK_FIELD), 0, HIGHEST_CLOCK));
    std::vector<Move> moves;
    if (unsearchable_reason(pos).empty()) {
        for (PgnMove &move : game.moves) {
            const Move found = read_pgn_move(pos, move.text);
            if (found == NO_MOVE) break;
            move.text = play_as_text(pos, found);
            moves.push_back(found);
        }
    }
    game.damaged |= moves.size() < game.moves.size();
    game.moves.resize(moves.size());
    return moves;
}

std::string play_as_text(Position &pos, Move move) {
    const MoveTexts texts = move_to_san(pos, move);
    const PieceType type = pos.type_on(from_square(move));
    std::string text = texts[1];
    if (texts[2].starts_with('O'))
        text = texts[2];  // castling
    else if (type != PAWN && type != KING)
        text = texts[2].substr(0, 1) + origin_text(pos, move) + texts[2].substr(2);
    while (text.ends_with('+')) text.pop_back();  // seen for most moves only
    make_move(pos, move);
    if (checker_of(pos, pos.side) != NO_SQUARE) text += no_legal_moves(pos) ? '#' : '+';
    return text;
}
