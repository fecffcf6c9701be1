#include "tablebase/table_file.h"

#include <algorithm>

#include "board/types.h"
#include "tablebase/index.h"

namespace {

constexpr std::array<std::uint8_t, 4> WDL_MAGIC = {0x71, 0xE8, 0x23, 0x5D};
constexpr std::array<std::uint8_t, 4> DTZ_MAGIC = {0xD7, 0x66, 0x0C, 0xA5};
constexpr int SPLIT_FLAG = 1;
constexpr int PAWN_FLAG = 2;
constexpr int CONSTANT_FLAG = 128;
constexpr int NO_SECOND_ORDER = 15;
constexpr std::size_t CONSTANT_HEADER_SIZE = 2;
constexpr std::size_t HEADER_SIZE = 10;  // before the first symbols of the code lengths
constexpr std::size_t DATA_ALIGNMENT = 64;
constexpr int MOST_INDEX_BITS = 30;
constexpr int MOST_BLOCK_BITS = 30;
constexpr int LONGEST_CODE = 32;
constexpr int SQUARES = 64;
constexpr int PAWN_SQUARES = 48;

// A file that is read from front to back; whatever fails makes the whole file refused.
struct Parser {
    const std::uint8_t *bytes;
    std::size_t size;
    const TbMaterial &material;
    TbKind kind;
    TbLayout &layout;
    std::size_t position = 0;
    int sub_tables = 1;
    int streams = 1;                                       // in each sub-table
    std::array<std::array<TbStreamShape, 2>, 4> shapes{};  // as layout.sides
};

// Whether `count` bytes are left.
bool has(const Parser &parser, std::uint64_t count) { return count <= parser.size - parser.position; }

// Takes `count` bytes from the file.
bool take(Parser &parser, std::uint64_t count, const std::uint8_t *&area) {
    if (!has(parser, count)) return false;
    area = parser.bytes + parser.position;
    parser.position += count;
    return true;
}

bool align(Parser &parser, std::size_t step) {
    const std::size_t padding = (step - parser.position % step) % step;
    if (!has(parser, padding)) return false;
    parser.position += padding;
    return true;
}

bool read_start(Parser &parser) {
    const auto &magic = parser.kind == TbKind::WDL ? WDL_MAGIC : DTZ_MAGIC;
    const std::uint8_t *start = nullptr;
    if (!take(parser, magic.size() + 1, start) || !std::equal(magic.begin(), magic.end(), start)) return false;
    const int flags = start[magic.size()];
    if (((flags & PAWN_FLAG) != 0) != parser.material.pawn_table) return false;
    parser.layout.split = parser.kind == TbKind::WDL && (flags & SPLIT_FLAG) != 0;
    parser.sub_tables = parser.material.pawn_table ? 4 : 1;
    parser.streams = parser.layout.split ? 2 : 1;
    return true;
}

// Sizes of the groups. The pieces must be those of the table, equal ones side by side, the leading ones in front.
bool group_pieces(const TbMaterial &material, TbSide &side) {
    const auto &order = side.piece_order;
    TbCounts seen{};
    side.group_size = {};
    for (int i = 0; i < material.num;) {
        const Piece piece = order[i];
        int run = 1;
        while (i + run < material.num && order[i + run] == piece) ++run;
        if (seen[piece] != 0 || run != material.counts[piece]) return false;
        seen[piece] = 1;
        side.group_size[i] = static_cast<std::uint8_t>(run);
        i += run;
    }
    if (material.pawn_table) {
        const auto is_pawn = [&order](int i) { return type_of(order[i]) == PAWN; };
        const int lead = material.pawn_counts[0];
        return is_pawn(0) && side.group_size[0] == lead &&
               (material.pawn_counts[1] == 0 || (is_pawn(lead) && side.group_size[lead] == material.pawn_counts[1]));
    }
    const int lead = material.index_scheme == 0 ? 3 : 2;
    for (int i = 0; i < lead; ++i)
        if (side.group_size[i] != 1) return false;
    if (lead == 2 && (type_of(order[0]) != KING || type_of(order[1]) != KING)) return false;
    side.group_size[0] = static_cast<std::uint8_t>(lead);
    return true;
}

// Factors of the groups in the order the file gives: of the leading group, of the other side's pawns (NO_SECOND_ORDER
// without any), and the rest in between. The product is the number of positions.
bool multiply_groups(const TbMaterial &material, TbSide &side, int sub_table, int order, int second_order,
                     std::uint64_t &positions) {
    const int lead = side.group_size[0];
    const bool two_orders = second_order < NO_SECOND_ORDER;
    int i = lead;
    if (two_orders) i += side.group_size[lead];
    int free_squares = SQUARES - i;
    positions = 1;
    int placed = 0;
    for (int k = 0; i < material.num || k == order || k == second_order; ++k) {
        if (k == order) {
            side.group_factor[0] = positions;
            positions *= tb_lead_places(material, sub_table);
            ++placed;
        } else if (k == second_order) {
            side.group_factor[lead] = positions;
            positions *= tb_choose(PAWN_SQUARES - lead, side.group_size[lead]);
            ++placed;
        } else {
            const int size = side.group_size[i];
            side.group_factor[i] = positions;
            positions *= tb_choose(free_squares, size);
            free_squares -= size;
            i += size;
        }
    }
    return placed == (two_orders ? 2 : 1);
}

// Orders and pieces of a sub-table: a nibble a side.
bool read_sub_table_pieces(Parser &parser, int sub_table) {
    const TbMaterial &material = parser.material;
    const bool two_orders = material.pawn_table && material.pawn_counts[1] != 0;
    const std::uint8_t *orders = nullptr;
    if (!take(parser, material.num + 1 + two_orders, orders)) return false;
    const std::uint8_t *pieces = orders + 1 + two_orders;
    for (int s = 0; s < 2; ++s) {
        const int shift = s == 0 ? 0 : 4;
        TbSide &side = parser.layout.sides[sub_table][s];
        for (int i = 0; i < material.num; ++i) side.piece_order[i] = static_cast<Piece>(pieces[i] >> shift & 15);
        if (s >= parser.streams) continue;
        const int order = orders[0] >> shift & 15;
        const int second_order = two_orders ? orders[1] >> shift & 15 : NO_SECOND_ORDER;
        if (!group_pieces(material, side) ||
            !multiply_groups(material, side, sub_table, order, second_order, parser.shapes[sub_table][s].positions))
            return false;
        // Whichever sub-table and side: the same colour's pawns lead.
        if (material.pawn_table && side.piece_order[0] != parser.layout.sides[0][0].piece_order[0]) return false;
    }
    return true;
}

bool read_pieces(Parser &parser) {
    for (int f = 0; f < parser.sub_tables; ++f)
        if (!read_sub_table_pieces(parser, f)) return false;
    return align(parser, 2);
}

// First symbols of the code lengths, and the symbols.
bool read_code(Parser &parser, int shortest, int longest, TbPairs &pairs) {
    const std::size_t lengths = longest - shortest + 1;
    const std::uint8_t *area = nullptr;
    if (!take(parser, 2 * lengths + 2, area)) return false;
    for (std::size_t i = 0; i < lengths; ++i) pairs.first_symbol[i] = tb_read_u16(area + 2 * i);
    const std::size_t symbols = tb_read_u16(area + 2 * lengths);
    return take(parser, TB_SYMBOL_SIZE * symbols + symbols % 2, pairs.symbols) &&
           tb_build_code(pairs, lengths, symbols) && tb_measure_symbols(pairs, symbols);
}

bool read_stream_header(Parser &parser, int sub_table, TbPairs &pairs, TbStreamShape &shape) {
    if (!has(parser, CONSTANT_HEADER_SIZE)) return false;
    const std::uint8_t *p = parser.bytes + parser.position;
    parser.layout.flags[sub_table] = p[0];
    if ((p[0] & CONSTANT_FLAG) != 0) {
        pairs.index_bits = 0;
        pairs.min_code_len = parser.kind == TbKind::WDL ? p[1] : std::uint8_t{0};
        parser.position += CONSTANT_HEADER_SIZE;
        return true;
    }
    if (!take(parser, HEADER_SIZE, p)) return false;
    const int longest = p[8];
    const int shortest = p[9];
    pairs.block_bits = p[1];
    pairs.index_bits = p[2];
    pairs.min_code_len = p[9];
    shape.real_blocks = tb_read_u32(p + 4);
    shape.all_blocks = shape.real_blocks + p[3];
    if (pairs.block_bits > MOST_BLOCK_BITS || pairs.index_bits < 1 || pairs.index_bits > MOST_INDEX_BITS ||
        shortest < 1 || longest < shortest || longest > LONGEST_CODE)
        return false;
    shape.index_entries = (shape.positions + (std::uint64_t{1} << pairs.index_bits) - 1) >> pairs.index_bits;
    return read_code(parser, shortest, longest, pairs);
}

bool read_stream_headers(Parser &parser) {
    for (int f = 0; f < parser.sub_tables; ++f)
        for (int s = 0; s < parser.streams; ++s)
            if (!read_stream_header(parser, f, parser.layout.sides[f][s].pairs, parser.shapes[f][s])) return false;
    return true;
}

bool read_value_maps(Parser &parser) {
    for (auto &maps : parser.layout.value_map) maps = {};
    if (parser.kind == TbKind::WDL) return true;
    for (int f = 0; f < parser.sub_tables; ++f) {
        if ((parser.layout.flags[f] & TB_DTZ_MAPPED) == 0) continue;
        for (const std::uint8_t *&map : parser.layout.value_map[f]) {
            const std::uint8_t *length = nullptr;
            if (!take(parser, 1, length) || !take(parser, *length, map)) return false;
        }
    }
    return align(parser, 2);
}

// Calls `action` for every stream that is not constant, until it fails.
template <typename Action>
bool for_each_stream(Parser &parser, Action action) {
    for (int f = 0; f < parser.sub_tables; ++f) {
        for (int s = 0; s < parser.streams; ++s) {
            TbPairs &pairs = parser.layout.sides[f][s].pairs;
            if (pairs.index_bits != 0 && !action(pairs, parser.shapes[f][s])) return false;
        }
    }
    return true;
}

bool place_areas(Parser &parser) {
    return for_each_stream(parser,
                           [&parser](TbPairs &pairs, const TbStreamShape &shape) {
                               return take(parser, shape.index_entries * TB_INDEX_ENTRY_SIZE, pairs.index_table);
                           }) &&
           for_each_stream(parser,
                           [&parser](TbPairs &pairs, const TbStreamShape &shape) {
                               return take(parser, shape.all_blocks * TB_SIZE_ENTRY_SIZE, pairs.size_table);
                           }) &&
           for_each_stream(parser,
                           [&parser](TbPairs &pairs, const TbStreamShape &shape) {
                               pairs.end = parser.bytes + parser.size;
                               return align(parser, DATA_ALIGNMENT) &&
                                      take(parser, shape.real_blocks << pairs.block_bits, pairs.data);
                           }) &&
           for_each_stream(parser, tb_index_leads_into_blocks);
}

}  // namespace

TbCounts tb_counts(std::string_view name) {
    TbCounts counts{};
    Colour colour = WHITE;
    for (const char c : name) {
        if (c == 'v')
            colour = BLACK;
        else
            ++counts[make_piece(colour, type_of_letter(c))];
    }
    return counts;
}

TbMaterial tb_material(const TbCounts &counts) {
    TbMaterial material{};
    material.counts = counts;
    material.symmetric = true;
    int singles = 0;
    for (const PieceType type : PIECE_TYPES) {
        const std::uint8_t white = counts[make_piece(WHITE, type)];
        const std::uint8_t black = counts[make_piece(BLACK, type)];
        material.num += white + black;
        material.symmetric = material.symmetric && white == black;
        singles += (white == 1) + (black == 1);
    }
    material.index_scheme = singles >= 3 ? 0 : 2;
    std::uint8_t first = counts[make_piece(WHITE, PAWN)];
    std::uint8_t second = counts[make_piece(BLACK, PAWN)];
    material.pawn_table = first + second > 0;
    if (second > 0 && (first == 0 || second < first)) std::swap(first, second);
    material.pawn_counts = {first, second};
    return material;
}

std::unique_ptr<TbLayout> parse_tb_file(const std::uint8_t *bytes, std::size_t size, const TbMaterial &material,
                                        TbKind kind) {
    auto layout = std::make_unique<TbLayout>();
    Parser parser{bytes, size, material, kind, *layout};
    if (!read_start(parser) || !read_pieces(parser) || !read_stream_headers(parser) || !read_value_maps(parser) ||
        !place_areas(parser))
        return nullptr;
    return layout;
}
