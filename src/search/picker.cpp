#include "search/picker.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "board/attacks.h"
#include "board/exchange.h"
#include "board/movegen.h"

namespace {

// Scores above this are good captures; the others wait for the quiet moves.
constexpr int GOOD_CAPTURE = 150;
constexpr int HASH_MOVE_SCORE = 255;
constexpr int UNDERPROMOTION_SCORE = 15;

// At or below this score the rest is not worth sorting.
constexpr int SORT_LIMIT = 2;

// Bonus of a quiet move over its history, in the order in which the reasons are tried.
constexpr int CHECK_KILLER_BONUS = 60;  // in check
constexpr int CHECK_COUNTER_BONUS[] = {55, 50};
constexpr int KILLER_BONUS[] = {60, 55};  // else
constexpr int COUNTER_BONUS[] = {50, 45};
constexpr int FOLLOWUP_BONUS = 40;
constexpr int HISTORY_SHARE = 256;  // history points for one point of a score

// Exchanges, in centipawns
constexpr int EQUAL_EXCHANGE = -49;   // captures that win less are losing ones,
constexpr int WINNING_EXCHANGE = 50;  // those that win so much the best
constexpr int NOT_WINNING_MALUS = 6;
constexpr int LOSING_BASE = 4;            // score of a losing capture, with the type of what it takes
constexpr int ROOT_EQUAL_EXCHANGE = -50;  // the same limit at the root

// What the history tables need to know of the two moves before a node.
struct PreviousMoves {
    PieceType type = NO_TYPE;  // of the piece that moved last; NO_TYPE for a null move or none
    Piece piece = NO_PIECE;
    Square to = A1;
    bool has_grandparent = false;
    Piece grandparent_piece = NO_PIECE;
    Square grandparent_to = A1;
};

PreviousMoves previous_moves(const SearchThread &thread, int ply) {
    PreviousMoves previous;
    const MoveEntry *last = thread.plies[ply - 1].current;
    if (!is_null(last)) {
        previous.type = type_of(last->piece);
        previous.piece = last->piece;
        previous.to = to_square(last->move);
    }
    if (ply >= 2) {
        const MoveEntry *before = thread.plies[ply - 2].current;
        previous.has_grandparent = !is_null(before);
        previous.grandparent_piece = before->piece;
        previous.grandparent_to = to_square(before->move);
    }
    return previous;
}

// What history says of a move, after a piece of the type has moved and in itself.
using HistorySlice = std::remove_extent_t<decltype(OrderingTables::history)>;
int history_base(const HistorySlice &after, const HistorySlice &plain, const MoveEntry &entry) {
    const Square to = to_square(entry.move);
    return (after[entry.piece][to] / HISTORY_SHARE + plain[entry.piece][to] / HISTORY_SHARE) / 2;
}

// The moves that get a bonus over their history, the first of equals.
struct Favourites {
    struct Favourite {
        Move move;
        int bonus;
    };
    std::array<Favourite, 5> moves;
    Bitboard targets = 0;

    explicit Favourites(const std::array<Favourite, 5> &favourites) : moves(favourites) {
        for (const Favourite &favourite : moves) targets |= bit(to_square(favourite.move));
    }
    int bonus(Move m) const {
        if ((targets & bit(to_square(m))) == 0) return 0;
        for (const Favourite &favourite : moves)
            if (favourite.move == m) return favourite.bonus;
        return 0;
    }
};

Favourites favourites_of(const SearchThread &thread, int ply, const PreviousMoves &previous) {
    const PlyRecord &record = thread.plies[ply];
    const OrderingTables &tables = thread.ordering;
    const Move counter1 = tables.countermove[0][previous.piece][previous.to];
    const Move counter2 = tables.countermove[1][previous.piece][previous.to];
    if (record.in_check())
        return Favourites({{{record.check_killer, CHECK_KILLER_BONUS},
                            {counter1, CHECK_COUNTER_BONUS[0]},
                            {counter2, CHECK_COUNTER_BONUS[1]},
                            {NO_MOVE, 0},
                            {NO_MOVE, 0}}});
    const Move followup =
        previous.has_grandparent ? tables.followup[previous.grandparent_piece][previous.grandparent_to] : NO_MOVE;
    return Favourites({{{record.killer1, KILLER_BONUS[0]},
                        {record.killer2, KILLER_BONUS[1]},
                        {counter1, COUNTER_BONUS[0]},
                        {counter2, COUNTER_BONUS[1]},
                        {followup, FOLLOWUP_BONUS}}});
}

void score_quiets(SearchThread &thread, int ply, const MoveEntry *first, const MoveEntry *end) {
    const PreviousMoves previous = previous_moves(thread, ply);
    const Favourites favourites = favourites_of(thread, ply, previous);
    const HistorySlice &after = thread.ordering.history[previous.type];
    const HistorySlice &plain = thread.ordering.history[0];
    std::int16_t *score = thread.score_of(first);
    for (const MoveEntry *entry = first; entry != end; ++entry)
        *score++ = static_cast<std::int16_t>(history_base(after, plain, *entry) + favourites.bonus(entry->move));
}

// Captures and promotions of a full search by exchange class: losing ones fall far behind the quiet moves.
std::int16_t exchange_class(const Position &pos, const MoveEntry &entry) {
    if ((entry.move & UNDER_PROMOTE) != 0) return UNDERPROMOTION_SCORE;
    const Square from = from_square(entry.move);
    const Square to = to_square(entry.move);
    if (!see_at_least(pos, from, to, EQUAL_EXCHANGE))
        return static_cast<std::int16_t>(type_of(entry.captured) + LOSING_BASE);
    const int malus = see_at_least(pos, from, to, WINNING_EXCHANGE) ? 0 : NOT_WINNING_MALUS;
    return static_cast<std::int16_t>(capture_score(entry) - malus);
}

// Adds quiet checking moves and pawn pushes to the 7th rank. With a white knight on f3, an empty g5 and the black king on
// h7, f3g5 is one of them.
MoveEntry *gen_checks(const Position &pos, MoveEntry *list) {
    const Colour side = pos.side;
    const Square king = pos.king_square[opponent(side)];
    const Bitboard occupied = pos.occupied();
    const Bitboard empty = ~occupied;
    const auto add = [&](Square from, Bitboard targets) {
        while (targets != 0) {
            const Square to = pop_lsb(targets);
            *list++ = {make_move_word(from, to), pos.board[from], NO_PIECE};
        }
    };
    const auto pushes = [&](Square from) {
        const Square one = from + pawn_direction(side);
        Bitboard targets = bit(one) & empty;
        if (targets != 0 && relative_rank(side, from) == 1) targets |= bit(one + pawn_direction(side)) & empty;
        return targets;
    };
    const Bitboard pawn_checks = pawn_attacks(opponent(side), king);
    if (pawn_checks != 0)
        for (Bitboard pawns = pos.of(side, PAWN); pawns != 0;) {
            const Square from = pop_lsb(pawns);
            add(from, pushes(from) & pawn_checks);
        }
    // Moves of a set of pieces to the squares of the king's lines.
    const auto add_pieces = [&](Bitboard pieces, Bitboard lines, auto attacks) {
        while (pieces != 0) {
            const Square from = pop_lsb(pieces);
            add(from, attacks(from, occupied) & lines);
        }
    };
    const Bitboard queens = pos.of(side, QUEEN);
    const Bitboard diagonals = bishop_attacks(king, occupied) & empty;
    const Bitboard straights = rook_attacks(king, occupied) & empty;
    add_pieces(pos.of(side, KNIGHT), knight_attacks(king) & empty,
               [](Square s, Bitboard) { return knight_attacks(s); });
    add_pieces(pos.of(side, BISHOP), diagonals, bishop_attacks);
    add_pieces(queens, diagonals, queen_attacks);
    add_pieces(pos.of(side, ROOK), straights, rook_attacks);
    add_pieces(queens, straights, queen_attacks);
    for (Bitboard pawns = pos.of(side, PAWN) & rank_mask(side == WHITE ? 5 : 2); pawns != 0;) {
        const Square from = pop_lsb(pawns);
        add(from, bit(from + pawn_direction(side)) & empty);
    }
    return list;
}

bool at_end(const PlyRecord &record) { return record.current == record.end; }

MoveEntry *pick_best(SearchThread &thread, PlyRecord &record) {
    select_best(thread, record.current, record.end);
    return record.current;
}

MoveEntry *pick_checks(SearchThread &thread, PlyRecord &record, int ply) {
    if (record.pick_kind != PickKind::CAPTURES_AND_CHECKS) return nullptr;
    close_list(thread, ply, gen_checks(thread.position, record.current));
    record.pick_stage = PickStage::UNSORTED;
    return at_end(record) ? nullptr : record.current;
}

// Captures and promotions, scored for the node's kind of picking.
void generate_captures(SearchThread &thread, PlyRecord &record, int ply) {
    const Position &pos = thread.position;
    const bool all = record.pick_kind == PickKind::ALL;
    MoveEntry *end = gen_captures(pos, pos.side, record.current, record.checker);
    end = gen_promotions(pos, pos.side, all, end);
    close_list(thread, ply, end);
    std::int16_t *score = thread.score_of(record.current);
    for (const MoveEntry *entry = record.current; entry != end; ++entry)
        *score++ = all ? exchange_class(pos, *entry) : capture_score(*entry);
    record.pick_stage = all ? PickStage::GOOD_CAPTURES : PickStage::QUIESCENCE_CAPTURES;
}

// The quiet moves join the captures that are left.
void generate_quiets(SearchThread &thread, PlyRecord &record, int ply) {
    const Position &pos = thread.position;
    const MoveEntry *quiets = record.end;
    close_list(thread, ply, gen_quiets(pos, pos.side, record.end, record.checker));
    score_quiets(thread, ply, quiets, record.end);
    record.pick_stage = PickStage::SORTED;
}

MoveEntry *pick_hash_move(SearchThread &thread, PlyRecord &record, int ply) {
    const Position &pos = thread.position;
    const Move m = record.hash_move;
    *record.current = {m, pos.board[from_square(m)], pos.board[to_square(m)]};
    *thread.score_of(record.current) = HASH_MOVE_SCORE;
    close_list(thread, ply, record.current + 1);
    return record.current;
}

// The next entry of the list, the hash move a second time included.
MoveEntry *pick_entry(SearchThread &thread, PlyRecord &record, int ply) {
    ++record.current;
    switch (record.pick_stage) {
    case PickStage::START:
        record.current = record.list;
        record.pick_stage = PickStage::GENERATE;
        if (record.pick_kind == PickKind::ALL && record.hash_move != NO_MOVE)
            return pick_hash_move(thread, record, ply);
        [[fallthrough]];
    case PickStage::GENERATE:
        generate_captures(thread, record, ply);
        if (record.pick_stage == PickStage::QUIESCENCE_CAPTURES) {
            if (at_end(record)) return pick_checks(thread, record, ply);
            return pick_best(thread, record);
        }
        [[fallthrough]];
    case PickStage::GOOD_CAPTURES:
        if (!at_end(record)) {
            pick_best(thread, record);
            if (*thread.score_of(record.current) > GOOD_CAPTURE) return record.current;
        }
        generate_quiets(thread, record, ply);
        [[fallthrough]];
    case PickStage::SORTED:
        if (at_end(record)) return nullptr;
        pick_sorted(thread, record, record.current);
        return record.current;
    case PickStage::UNSORTED: return at_end(record) ? nullptr : record.current;
    case PickStage::QUIESCENCE_CAPTURES:
        if (at_end(record)) return pick_checks(thread, record, ply);
        return pick_best(thread, record);
    }
    return nullptr;
}

// Half of the scores that are looked at in one step: a register of them.
constexpr int LANES = SCORE_LANES / 2;
using Scores [[gnu::vector_size(LANES * sizeof(std::int16_t))]] = std::int16_t;

Scores load_scores(const std::int16_t *first) {
    Scores scores;
    std::memcpy(&scores, first, sizeof scores);
    return scores;
}

Scores larger(Scores a, Scores b) { return a > b ? a : b; }

Scores larger_half(const std::int16_t *first) { return larger(load_scores(first), load_scores(first + LANES)); }

template <int... ORDER>
Scores lanes(Scores scores) {
#ifdef __clang__
    return __builtin_shufflevector(scores, scores, ORDER...);
#else
    return __builtin_shuffle(scores, Scores{ORDER...});
#endif
}

// Bits 2i and 2i + 1 are set where lane i is the score.
unsigned lanes_equal(const std::int16_t *first, Scores score) {
    const auto equal = load_scores(first) == score;
#ifdef __SSE2__
    return static_cast<unsigned>(_mm_movemask_epi8(reinterpret_cast<__m128i>(equal)));
#else
    unsigned bits = 0;
    for (int i = 0; i < LANES; ++i) bits |= equal[i] != 0 ? 3U << 2 * i : 0;
    return bits;
#endif
}

// The first of the highest of `count` scores.
std::ptrdiff_t place_of_best(const std::int16_t *scores, std::ptrdiff_t count) {
    Scores best = larger_half(scores);
    for (std::ptrdiff_t i = SCORE_LANES; i < count; i += SCORE_LANES) best = larger(best, larger_half(scores + i));
    best = larger(best, lanes<4, 5, 6, 7, 0, 1, 2, 3>(best));
    best = larger(best, lanes<2, 3, 0, 1, 6, 7, 4, 5>(best));
    best = larger(best, lanes<1, 0, 3, 2, 5, 4, 7, 6>(best));
    for (std::ptrdiff_t i = 0;; i += SCORE_LANES) {
        const unsigned bits = lanes_equal(scores + i, best) | lanes_equal(scores + i + LANES, best) << 2 * LANES;
        if (bits != 0) return i + std::countr_zero(bits) / 2;
    }
}

}  // namespace

void close_list(SearchThread &thread, int ply, MoveEntry *end) {
    constexpr std::ptrdiff_t GAP = SCORE_LANES + 1;  // an end, and room for scores that no move has
    std::fill_n(thread.score_of(end), SCORE_LANES, std::numeric_limits<std::int16_t>::min());
    thread.plies[ply].end = end;
    thread.plies[ply + 1].list = end + GAP;
    thread.plies[ply + 2].list = end + 2 * GAP + 1;
}

void select_best(SearchThread &thread, MoveEntry *first, const MoveEntry *end) {
    std::int16_t *scores = thread.score_of(first);
    const std::ptrdiff_t place = place_of_best(scores, end - first);
    std::swap(*first, first[place]);
    std::swap(*scores, scores[place]);
}

void pick_sorted(SearchThread &thread, PlyRecord &record, MoveEntry *first) {
    select_best(thread, first, record.end);
    if (*thread.score_of(first) <= SORT_LIMIT) record.pick_stage = PickStage::UNSORTED;
}

void start_picking(PlyRecord &record, PickKind kind) {
    record.pick_stage = PickStage::START;
    record.pick_kind = kind;
}

MoveEntry *pick_next(SearchThread &thread, int ply) {
    PlyRecord &record = thread.plies[ply];
    MoveEntry *entry = pick_entry(thread, record, ply);
    // The hash move has been handed out from the front of the list.
    while (entry != nullptr && entry->move == record.hash_move && entry != record.list &&
           record.pick_kind == PickKind::ALL)
        entry = pick_entry(thread, record, ply);
    return entry;
}

void score_root_moves(SearchThread &thread) {
    const MoveEntry *list = thread.plies[ROOT_PLY].list;
    const HistorySlice &plain = thread.ordering.history[0];
    for (const MoveEntry *entry = list; entry != list + thread.root_count; ++entry) {
        int score = 0;
        if (entry->captured == 0 && (entry->move & PROMOTE_QUEEN) == 0)
            score = history_base(plain, plain, *entry);
        else if (see_at_least(thread.position, from_square(entry->move), to_square(entry->move), ROOT_EQUAL_EXCHANGE))
            score = capture_score(*entry);
        else
            score = type_of(entry->captured) + LOSING_BASE;
        *thread.score_of(entry) = static_cast<std::int16_t>(score);
    }
}
