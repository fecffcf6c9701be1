#include "board/attacks.h"

#include <bit>
#include <utility>

#include "board/magics.h"

AttackTables attack_tables;
std::array<SliderTable, 64> rook_table, bishop_table;

namespace {

// The square `files` and `ranks` away, or NO_SQUARE beyond the edge.
Square step(Square s, int files, int ranks) {
    const int file = file_of(s) + files;
    const int rank = rank_of(s) + ranks;
    return file >= 0 && file < 8 && rank >= 0 && rank < 8 ? make_square(file, rank) : NO_SQUARE;
}

Bitboard ray_from(Square s, int files, int ranks) {
    Bitboard ray = 0;
    for (Square to = step(s, files, ranks); to != NO_SQUARE; to = step(to, files, ranks)) ray |= bit(to);
    return ray;
}

Bitboard steps(Square s, std::initializer_list<std::pair<int, int>> offsets) {
    Bitboard set = 0;
    for (const auto &[files, ranks] : offsets)
        if (const Square to = step(s, files, ranks); to != NO_SQUARE) set |= bit(to);
    return set;
}

int sign(int value) { return (value > 0) - (value < 0); }

// between[b1][e4] = {c2, d3}: walk from one square towards the other along their common line.
Bitboard squares_between(Square a, Square b) {
    const int files = file_of(b) - file_of(a);
    const int ranks = rank_of(b) - rank_of(a);
    if (a == b || (files != 0 && ranks != 0 && files != ranks && files != -ranks)) return 0;
    Bitboard set = 0;
    for (Square s = step(a, sign(files), sign(ranks)); s != b; s = step(s, sign(files), sign(ranks))) set |= bit(s);
    return set;
}

// Attacks of all sets of blockers, square after square.
constexpr std::size_t ROOK_SETS = 102400;
constexpr std::size_t BISHOP_SETS = 5248;
std::array<Bitboard, ROOK_SETS> rook_sets;
std::array<Bitboard, BISHOP_SETS> bishop_sets;

// The first two go towards higher squares, the others towards lower ones.
using Directions = std::array<std::pair<int, int>, 4>;
constexpr Directions ROOK_DIRECTIONS = {{{0, 1}, {1, 0}, {0, -1}, {-1, 0}}};
constexpr Directions BISHOP_DIRECTIONS = {{{1, 1}, {-1, 1}, {1, -1}, {-1, -1}}};
using Lines = std::array<Bitboard, 4>;

Lines lines_from(Square s, const Directions &directions) {
    Lines lines{};
    for (std::size_t i = 0; i < lines.size(); ++i) lines[i] = ray_from(s, directions[i].first, directions[i].second);
    return lines;
}

Bitboard union_of(const Lines &lines) { return lines[0] | lines[1] | lines[2] | lines[3]; }

Bitboard highest_bit(Bitboard set) { return std::bit_floor(set); }

// The lines up to their first blockers: towards higher squares what a subtraction of 1 borrows across, towards lower ones
// what is not below the highest blocker.
Bitboard cut_lines(const Lines &lines, Bitboard occupied) {
    Bitboard set = 0;
    for (const Bitboard line : {lines[0], lines[1]}) set |= line & ((line & occupied) ^ ((line & occupied) - 1));
    for (const Bitboard line : {lines[2], lines[3]}) set |= line & -highest_bit((line & occupied) | 1);
    return set;
}

// Whether the last square of a line is occupied makes no difference.
Bitboard blocker_mask(const Lines &lines) {
    Bitboard set = 0;
    for (const Bitboard line : {lines[0], lines[1]}) set |= line & ~highest_bit(line);
    for (const Bitboard line : {lines[2], lines[3]}) set |= line & (line - 1);
    return set;
}

void build_slider_tables(std::array<SliderTable, 64> &tables, const std::array<std::uint64_t, 64> &magics,
                         const Directions &directions, Bitboard *sets) {
    for (const Square s : ALL_SQUARES) {
        const Lines lines = lines_from(s, directions);
        SliderTable &table = tables[s];
        table.mask = blocker_mask(lines);
        table.magic = magics[s];
        table.attacks = sets;
        table.shift = 64 - popcount(table.mask);
        Bitboard blockers = 0;
        do {
            sets[table.index(blockers)] = cut_lines(lines, blockers);
            blockers = (blockers - table.mask) & table.mask;  // the next subset of the mask
        } while (blockers != 0);
        sets += std::size_t{1} << popcount(table.mask);
    }
}

}  // namespace

void init_attacks() {
    build_slider_tables(rook_table, rook_magics, ROOK_DIRECTIONS, rook_sets.data());
    build_slider_tables(bishop_table, bishop_magics, BISHOP_DIRECTIONS, bishop_sets.data());
    AttackTables &t = attack_tables;
    for (const Square s : ALL_SQUARES) {
        t.knight[s] = steps(s, {{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}});
        t.king[s] = steps(s, {{0, 1}, {1, 1}, {1, 0}, {1, -1}, {0, -1}, {-1, -1}, {-1, 0}, {-1, 1}});
        t.pawn[WHITE][s] = steps(s, {{-1, 1}, {1, 1}});
        t.pawn[BLACK][s] = steps(s, {{-1, -1}, {1, -1}});
        t.north[s] = ray_from(s, 0, 1);
        t.south[s] = ray_from(s, 0, -1);
        t.rook_span[s] = union_of(lines_from(s, ROOK_DIRECTIONS));
        t.bishop_span[s] = union_of(lines_from(s, BISHOP_DIRECTIONS));
        for (const Square other : ALL_SQUARES) t.between[s][other] = squares_between(s, other);
    }
    for (const Square s : ALL_SQUARES) {
        for (int file = file_of(s) - 1; file <= file_of(s) + 1; ++file) {
            if (file < 0 || file > 7) continue;
            t.passed_span[WHITE][s] |= t.north[make_square(file, rank_of(s))];
            t.passed_span[BLACK][s] |= t.south[make_square(file, rank_of(s))];
        }
    }
}

bool square_attacked(const Position &pos, Square s, Colour by, Bitboard occupied, Bitboard among) {
    if ((pawn_attacks(opponent(by), s) & pos.of(by, PAWN) & among) != 0) return true;
    if ((knight_attacks(s) & pos.of(by, KNIGHT) & among) != 0) return true;
    if ((king_attacks(s) & pos.of(by, KING) & among) != 0) return true;
    const Bitboard queens = pos.of(by, QUEEN);
    const Bitboard diagonal = bishop_span(s) & (pos.of(by, BISHOP) | queens) & among;
    const Bitboard straight = rook_span(s) & (pos.of(by, ROOK) | queens) & among;
    return (diagonal != 0 && (bishop_attacks(s, occupied) & diagonal) != 0) ||
           (straight != 0 && (rook_attacks(s, occupied) & straight) != 0);
}

Square least_attacker(const Position &pos, Square s, Colour by, Bitboard occupied, Bitboard among) {
    if (const Bitboard pawns = pawn_attacks(opponent(by), s) & pos.of(by, PAWN) & among; pawns != 0) return lsb(pawns);
    if (const Bitboard knights = knight_attacks(s) & pos.of(by, KNIGHT) & among; knights != 0) return lsb(knights);
    const Bitboard queens = pos.of(by, QUEEN) & among;
    const Bitboard bishops = pos.of(by, BISHOP) & among;
    const Bitboard rooks = pos.of(by, ROOK) & among;
    const Bitboard diagonals = bishop_attacks(s, occupied);
    if ((diagonals & bishops) != 0) return lsb(diagonals & bishops);
    const Bitboard straights = rook_attacks(s, occupied);
    if ((straights & rooks) != 0) return lsb(straights & rooks);
    if (((diagonals | straights) & queens) != 0) return lsb((diagonals | straights) & queens);
    if ((king_attacks(s) & pos.of(by, KING) & among) != 0) return pos.king_square[by];
    return NO_SQUARE;
}
