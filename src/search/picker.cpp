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

void set_state(PlyRecord &record, PickState state) {
    record.pick_stage = static_cast<std::uint16_t>((record.pick_stage & ~PICK_STATE_MASK) | state);
}

// What the history tables need to know of the two moves before a node.
struct PreviousMoves {
    int type = NO_TYPE;  // of the piece that moved last; 0 for a null move or none
    int piece = 0;
    Square to = 0;
    bool has_grandparent = false;
    int grandparent_piece = 0;
    Square grandparent_to = 0;
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

int history_base(const OrderingTables &tables, int previous_type, const MoveEntry &entry) {
    const Square to = to_square(entry.move);
    return (tables.history[previous_type][entry.piece][to] / 256 + tables.history[0][entry.piece][to] / 256) / 2;
}

void score_quiets(const SearchThread &thread, int ply, MoveEntry *first) {
    const PlyRecord &record = thread.plies[ply];
    const OrderingTables &tables = thread.ordering;
    const PreviousMoves previous = previous_moves(thread, ply);
    const Move counter1 = tables.countermove[0][previous.piece][previous.to];
    const Move counter2 = tables.countermove[1][previous.piece][previous.to];
    const Move followup =
        previous.has_grandparent ? tables.followup[previous.grandparent_piece][previous.grandparent_to] : NO_MOVE;
    const bool in_check = record.checker != NO_SQUARE;
    for (MoveEntry *entry = first; entry->move != END_OF_LIST; ++entry) {
        const Move m = entry->move;
        int bonus = 0;
        if (in_check) {
            if (m == record.check_killer)
                bonus = 60;
            else if (m == counter1)
                bonus = 55;
            else if (m == counter2)
                bonus = 50;
        } else if (m == record.killer1) {
            bonus = 60;
        } else if (m == record.killer2) {
            bonus = 55;
        } else if (m == counter1) {
            bonus = 50;
        } else if (m == counter2) {
            bonus = 45;
        } else if (m == followup) {
            bonus = 40;
        }
        entry->score = static_cast<std::int16_t>(history_base(tables, previous.type, *entry) + bonus);
    }
}

// Captures and promotions of a full search by exchange class: losing ones fall far behind the quiet moves.
std::int16_t exchange_class(const Position &pos, const MoveEntry &entry) {
    if ((entry.move & UNDER_PROMOTE) != 0) return UNDERPROMOTION_SCORE;
    const Square from = from_square(entry.move);
    const Square to = to_square(entry.move);
    if (!see_at_least(pos, from, to, -49)) return static_cast<std::int16_t>(type_of(entry.captured) + 4);
    return static_cast<std::int16_t>(capture_score(entry) - (see_at_least(pos, from, to, 50) ? 0 : 6));
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
            *list++ = {make_move_word(from, to), CHECK_SCORE, pos.board[from], 0};
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
    if ((record.pick_stage & PICK_CHECKS) == 0) return nullptr;
    finish_list(thread, ply, gen_checks(thread.position, record.current));
    set_state(record, PICK_UNSORTED);
    return at_end(record) ? nullptr : record.current;
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

MoveEntry *pick_next(SearchThread &thread) {
    const int ply = thread.history.ply;
    PlyRecord &record = thread.plies[ply];
    Position &pos = thread.position;
    const bool full = (record.pick_stage & PICK_FULL) != 0;
    ++record.current;
    switch (record.pick_stage & PICK_STATE_MASK) {
    case PICK_START:
        record.current = record.list;
        set_state(record, PICK_GENERATE);
        if ((record.pick_stage & PICK_HASH) != 0 && record.hash_move != NO_MOVE) {
            const Move m = record.hash_move;
            *record.current = {m, HASH_MOVE_SCORE, pos.board[from_square(m)], pos.board[to_square(m)]};
            finish_list(thread, ply, record.current + 1);
            return record.current;
        }
        [[fallthrough]];
    case PICK_GENERATE: {
        MoveEntry *end = gen_captures(pos, pos.side, record.current, record.checker);
        end = gen_promotions(pos, pos.side, full, end);
        finish_list(thread, ply, end);
        if (!full) {
            for (MoveEntry *entry = record.current; entry != end; ++entry) entry->score = capture_score(*entry);
            set_state(record, PICK_QS_CAPTURES);
            if (at_end(record)) return pick_checks(thread, record, ply);
            select_best(record.current);
            return record.current;
        }
        for (MoveEntry *entry = record.current; entry != end; ++entry) entry->score = exchange_class(pos, *entry);
        set_state(record, PICK_GOOD_CAPTURES);
        [[fallthrough]];
    }
    case PICK_GOOD_CAPTURES: {
        if (!at_end(record)) {
            select_best(record.current);
            if (record.current->score > GOOD_CAPTURE) return record.current;
        }
        MoveEntry *quiets = list_end(record.current);
        finish_list(thread, ply, gen_quiets(pos, pos.side, quiets, record.checker));
        score_quiets(thread, ply, quiets);
        set_state(record, PICK_SORTED);
        [[fallthrough]];
    }
    case PICK_SORTED:
        if (at_end(record)) return nullptr;
        select_best(record.current);
        if (record.current->score <= SORT_LIMIT) set_state(record, PICK_UNSORTED);
        return record.current;
    case PICK_UNSORTED: return at_end(record) ? nullptr : record.current;
    case PICK_QS_CAPTURES:
        if (at_end(record)) return pick_checks(thread, record, ply);
        select_best(record.current);
        return record.current;
    default: return nullptr;
    }
}

void score_root_moves(SearchThread &thread, MoveEntry *list) {
    constexpr int ROOT_PLY = 1;
    const PlyRecord &record = thread.plies[ROOT_PLY];
    const int previous_type = previous_moves(thread, ROOT_PLY).type;
    for (MoveEntry *entry = list; entry->move != END_OF_LIST; ++entry) {
        int score = 0;
        if (entry->move == record.hash_move) {
            score = HASH_MOVE_SCORE;
        } else if (entry->captured == 0 && (entry->move & PROMOTE_QUEEN) == 0) {
            score = history_base(thread.ordering, previous_type, *entry);
            if (entry->move == record.killer1)
                score += 60;
            else if (entry->move == record.killer2)
                score += 50;
        } else {
            score = capture_score(*entry);
            if (!see_at_least(thread.position, from_square(entry->move), to_square(entry->move), -50))
                score = type_of(entry->captured) + 4;
        }
        entry->score = static_cast<std::int16_t>(score);
    }
}
