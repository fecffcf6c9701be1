#include "search/picker.h"

#include <algorithm>
#include <utility>

#include "board/attacks.h"
#include "board/exchange.h"
#include "board/movegen.h"

namespace {

// Scores above this are good captures; the others wait for the quiet moves.
constexpr int GOOD_CAPTURE = 150;
constexpr int HASH_MOVE_SCORE = 255;
constexpr int CHECK_SCORE = 100;
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

int history_base(const OrderingTables &tables, PieceType previous_type, const MoveEntry &entry) {
    const Square to = to_square(entry.move);
    return (tables.history[previous_type][entry.piece][to] / HISTORY_SHARE +
            tables.history[0][entry.piece][to] / HISTORY_SHARE) /
           2;
}

void score_quiets(const SearchThread &thread, int ply, MoveEntry *first) {
    const PlyRecord &record = thread.plies[ply];
    const OrderingTables &tables = thread.ordering;
    const PreviousMoves previous = previous_moves(thread, ply);
    const Move counter1 = tables.countermove[0][previous.piece][previous.to];
    const Move counter2 = tables.countermove[1][previous.piece][previous.to];
    const Move followup =
        previous.has_grandparent ? tables.followup[previous.grandparent_piece][previous.grandparent_to] : NO_MOVE;
    const bool in_check = record.in_check();
    for (MoveEntry *entry = first; entry->move != END_OF_LIST; ++entry) {
        const Move m = entry->move;
        int bonus = 0;
        if (in_check) {
            if (m == record.check_killer)
                bonus = CHECK_KILLER_BONUS;
            else if (m == counter1)
                bonus = CHECK_COUNTER_BONUS[0];
            else if (m == counter2)
                bonus = CHECK_COUNTER_BONUS[1];
        } else if (m == record.killer1) {
            bonus = KILLER_BONUS[0];
        } else if (m == record.killer2) {
            bonus = KILLER_BONUS[1];
        } else if (m == counter1) {
            bonus = COUNTER_BONUS[0];
        } else if (m == counter2) {
            bonus = COUNTER_BONUS[1];
        } else if (m == followup) {
            bonus = FOLLOWUP_BONUS;
        }
        entry->score = static_cast<std::int16_t>(history_base(tables, previous.type, *entry) + bonus);
    }
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
            *list++ = {make_move_word(from, to), CHECK_SCORE, pos.board[from], NO_PIECE};
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

void finish_list(SearchThread &thread, int ply, MoveEntry *end) {
    terminate_list(end);
    close_list(thread, ply, end);
}

bool at_end(const PlyRecord &record) { return record.current->move == END_OF_LIST; }

MoveEntry *list_end(MoveEntry *entry) {
    while (entry->move != END_OF_LIST) ++entry;
    return entry;
}

MoveEntry *pick_checks(SearchThread &thread, PlyRecord &record, int ply) {
    if (record.pick_kind != PickKind::CAPTURES_AND_CHECKS) return nullptr;
    finish_list(thread, ply, gen_checks(thread.position, record.current));
    record.pick_stage = PickStage::UNSORTED;
    return at_end(record) ? nullptr : record.current;
}

// Captures and promotions, scored for the node's kind of picking.
void generate_captures(SearchThread &thread, PlyRecord &record, int ply) {
    const Position &pos = thread.position;
    const bool all = record.pick_kind == PickKind::ALL;
    MoveEntry *end = gen_captures(pos, pos.side, record.current, record.checker);
    end = gen_promotions(pos, pos.side, all, end);
    finish_list(thread, ply, end);
    for (MoveEntry *entry = record.current; entry != end; ++entry)
        entry->score = all ? exchange_class(pos, *entry) : capture_score(*entry);
    record.pick_stage = all ? PickStage::GOOD_CAPTURES : PickStage::QUIESCENCE_CAPTURES;
}

// The quiet moves join the captures that are left.
void generate_quiets(SearchThread &thread, PlyRecord &record, int ply) {
    const Position &pos = thread.position;
    MoveEntry *quiets = list_end(record.current);
    finish_list(thread, ply, gen_quiets(pos, pos.side, quiets, record.checker));
    score_quiets(thread, ply, quiets);
    record.pick_stage = PickStage::SORTED;
}

MoveEntry *pick_hash_move(SearchThread &thread, PlyRecord &record, int ply) {
    const Position &pos = thread.position;
    const Move m = record.hash_move;
    *record.current = {m, HASH_MOVE_SCORE, pos.board[from_square(m)], pos.board[to_square(m)]};
    finish_list(thread, ply, record.current + 1);
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
            select_best(record.current);
            return record.current;
        }
        [[fallthrough]];
    case PickStage::GOOD_CAPTURES:
        if (!at_end(record)) {
            select_best(record.current);
            if (record.current->score > GOOD_CAPTURE) return record.current;
        }
        generate_quiets(thread, record, ply);
        [[fallthrough]];
    case PickStage::SORTED:
        if (at_end(record)) return nullptr;
        select_best(record.current);
        if (record.current->score <= SORT_LIMIT) record.pick_stage = PickStage::UNSORTED;
        return record.current;
    case PickStage::UNSORTED: return at_end(record) ? nullptr : record.current;
    case PickStage::QUIESCENCE_CAPTURES:
        if (at_end(record)) return pick_checks(thread, record, ply);
        select_best(record.current);
        return record.current;
    }
    return nullptr;
}

}  // namespace

void close_list(SearchThread &thread, int ply, MoveEntry *terminator) {
    thread.plies[ply + 1].list = terminator + 1;
    thread.plies[ply + 2].list = terminator + 3;
}

void select_best(MoveEntry *first) {
    // Score and place of the first of the best in one number, so that the loop has no branch to guess.
    constexpr int LAST_PLACE = 0xFFFF;
    int place = LAST_PLACE;
    int best = first->score * (LAST_PLACE + 1) + place;
    for (const MoveEntry *entry = first + 1; entry->move != END_OF_LIST; ++entry)
        best = std::max(best, entry->score * (LAST_PLACE + 1) + --place);
    std::swap(*first, first[LAST_PLACE - (best & LAST_PLACE)]);
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

void score_root_moves(SearchThread &thread, MoveEntry *list) {
    for (MoveEntry *entry = list; entry->move != END_OF_LIST; ++entry) {
        int score = 0;
        if (entry->captured == 0 && (entry->move & PROMOTE_QUEEN) == 0)
            score = history_base(thread.ordering, NO_TYPE, *entry);
        else if (see_at_least(thread.position, from_square(entry->move), to_square(entry->move), ROOT_EQUAL_EXCHANGE))
            score = capture_score(*entry);
        else
            score = type_of(entry->captured) + LOSING_BASE;
        entry->score = static_cast<std::int16_t>(score);
    }
}
