#include "tablebase/table_file.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "tablebase/index.h"

namespace {

constexpr std::array<std::uint8_t, 4> WDL_MAGIC = {0x71, 0xE8, 0x23, 0x5D};
constexpr std::array<std::uint8_t, 4> DTZ_MAGIC = {0xD7, 0x66, 0x0C, 0xA5};
constexpr int SPLIT_FLAG = 1;
constexpr int PAWN_FLAG = 2;
constexpr int CONSTANT_FLAG = 128;
constexpr int NO_SECOND_ORDER = 15;
constexpr std::size_t INDEX_ENTRY_SIZE = 6;
constexpr std::size_t SIZE_ENTRY_SIZE = 2;
constexpr std::size_t SYMBOL_SIZE = 3;
constexpr int LEAF = 0xFFF;  // right child of a symbol that is a value
constexpr std::size_t DATA_ALIGNMENT = 64;
constexpr int MOST_INDEX_BITS = 30;
constexpr int MOST_BLOCK_BITS = 30;

std::uint16_t read_u16(const std::uint8_t *p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
std::uint32_t read_u32(const std::uint8_t *p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

std::uint64_t read_big_endian_u64(const std::uint8_t *p) {
    std::uint64_t value;
    std::memcpy(&value, p, sizeof value);
    return __builtin_bswap64(value);
}
std::uint32_t read_big_endian_u32(const std::uint8_t *p) {
    std::uint32_t value;
    std::memcpy(&value, p, sizeof value);
    return __builtin_bswap32(value);
}

int left_child(const std::uint8_t *symbol) { return symbol[0] | (symbol[1] & 0x0F) << 8; }
int right_child(const std::uint8_t *symbol) { return symbol[1] >> 4 | symbol[2] << 4; }

std::uint64_t binomial(std::uint64_t n, std::uint64_t k) {
    std::uint64_t value = 1;
    for (std::uint64_t i = 0; i < k; ++i) value = value * (n - i) / (i + 1);
    return value;
}

// What a stream's header says beyond what decoding needs.
struct StreamShape {
    std::uint64_t positions;  // values in the stream
    std::uint64_t index_entries;
    std::uint64_t real_blocks;
    std::uint64_t all_blocks;  // with the padding ones, which have sizes but no data
};

// Reads one file from front to back; any check that fails makes the whole file refused.
class FileParser {
public:
    FileParser(const std::uint8_t *bytes, std::size_t size, const TbMaterial &material, TbKind kind)
        : bytes_(bytes), size_(size), material_(material), kind_(kind) {}

    std::unique_ptr<TbLayout> parse() {
        layout_ = std::make_unique<TbLayout>();
        if (!read_start() || !read_pieces() || !read_streams() || !read_value_maps() || !place_areas()) return nullptr;
        return std::move(layout_);
    }

private:
    // Whether `count` bytes are left.
    bool has(std::uint64_t count) const { return count <= size_ - position_; }
    bool align(std::size_t step) {
        const std::size_t padding = (step - position_ % step) % step;
        if (!has(padding)) return false;
        position_ += padding;
        return true;
    }

    bool read_start() {
        const auto &magic = kind_ == TbKind::WDL ? WDL_MAGIC : DTZ_MAGIC;
        if (size_ < magic.size() + 1 || !std::equal(magic.begin(), magic.end(), bytes_)) return false;
        const int flags = bytes_[magic.size()];
        position_ = magic.size() + 1;
        if (((flags & PAWN_FLAG) != 0) != material_.pawn_table) return false;
        layout_->split = kind_ == TbKind::WDL && (flags & SPLIT_FLAG) != 0;
        sub_tables_ = material_.pawn_table ? 4 : 1;
        streams_ = layout_->split ? 2 : 1;
        return true;
    }

    bool read_pieces() {
        const bool two_orders = material_.pawn_table && material_.pawn_counts[1] != 0;
        const auto num = static_cast<std::size_t>(material_.num);
        for (std::size_t f = 0; f < sub_tables_; ++f) {
            if (!has(num + 1 + two_orders)) return false;
            const std::uint8_t *p = bytes_ + position_;
            position_ += num + 1 + two_orders;
            const std::uint8_t *pieces = p + 1 + two_orders;
            for (std::size_t s = 0; s < 2; ++s) {
                const int shift = s == 0 ? 0 : 4;
                TbSide &side = layout_->sides[f][s];
                for (std::size_t i = 0; i < num; ++i)
                    side.piece_order[i] = static_cast<std::uint8_t>(pieces[i] >> shift & 15);
                if (s >= streams_) continue;
                const int order = p[0] >> shift & 15;
                const int second_order = two_orders ? p[1] >> shift & 15 : NO_SECOND_ORDER;
                if (!group_pieces(side) || !multiply_groups(side, f, order, second_order)) return false;
            }
            // Whichever sub-table and side: the same colour's pawns lead.
            for (std::size_t s = 0; s < streams_; ++s)
                if (material_.pawn_table && layout_->sides[f][s].piece_order[0] != layout_->sides[0][0].piece_order[0])
                    return false;
        }
        return align(2);
    }

    // Sizes of the groups. The pieces must be those of the table, equal ones side by side, the leading ones in front.
    bool group_pieces(TbSide &side) const {
        const auto num = static_cast<std::size_t>(material_.num);
        const auto &order = side.piece_order;
        TbCounts seen{};
        side.group_size = {};
        for (std::size_t i = 0; i < num;) {
            const std::uint8_t piece = order[i];
            std::size_t run = 1;
            while (i + run < num && order[i + run] == piece) ++run;
            if (seen[piece] != 0 || run != material_.counts[piece]) return false;
            seen[piece] = 1;
            side.group_size[i] = static_cast<std::uint8_t>(run);
            i += run;
        }
        if (material_.pawn_table) {
            const auto is_pawn = [&order](std::size_t i) { return type_of(order[i]) == PAWN; };
            const std::size_t lead = material_.pawn_counts[0];
            return is_pawn(0) && side.group_size[0] == lead &&
                   (material_.pawn_counts[1] == 0 ||
                    (is_pawn(lead) && side.group_size[lead] == material_.pawn_counts[1]));
        }
        const std::size_t lead = material_.index_scheme == 0 ? 3 : 2;
        for (std::size_t i = 0; i < lead; ++i)
            if (side.group_size[i] != 1) return false;
        if (lead == 2 && (type_of(order[0]) != KING || type_of(order[1]) != KING)) return false;
        side.group_size[0] = static_cast<std::uint8_t>(lead);
        return true;
    }

    // Factors of the groups in the order the file gives; the product is the number of positions.
    bool multiply_groups(TbSide &side, std::size_t file, int order, int second_order) {
        const auto num = static_cast<std::size_t>(material_.num);
        const std::size_t lead = side.group_size[0];
        std::size_t i = lead;
        std::uint64_t free_squares = 64 - lead;
        if (second_order < NO_SECOND_ORDER) {
            i += side.group_size[lead];
            free_squares -= side.group_size[lead];
        }
        std::uint64_t factor = 1;
        int placed = 0;
        const int orders = second_order < NO_SECOND_ORDER ? 2 : 1;
        for (int k = 0; i < num || k == order || k == second_order; ++k) {
            if (k == order) {
                side.group_factor[0] = factor;
                factor *= material_.pawn_table ? tb_tables.lead_pawn_count[lead - 1][file]
                                               : pivot_size[material_.index_scheme];
                ++placed;
            } else if (k == second_order) {
                side.group_factor[lead] = factor;
                factor *= binomial(48 - lead, side.group_size[lead]);
                ++placed;
            } else {
                const std::uint64_t size = side.group_size[i];
                side.group_factor[i] = factor;
                factor *= binomial(free_squares, size);
                free_squares -= size;
                i += size;
            }
        }
        shapes_[stream_count_++].positions = factor;
        return placed == orders;
    }

    bool read_streams() {
        std::size_t n = 0;
        for (std::size_t f = 0; f < sub_tables_; ++f)
            for (std::size_t s = 0; s < streams_; ++s, ++n)
                if (!read_stream_header(f, layout_->sides[f][s].pairs, shapes_[n])) return false;
        return true;
    }

    bool read_stream_header(std::size_t file, TbPairs &pairs, StreamShape &shape) {
        if (!has(2)) return false;
        const std::uint8_t *p = bytes_ + position_;
        layout_->flags[file] = p[0];
        if ((p[0] & CONSTANT_FLAG) != 0) {
            pairs.index_bits = 0;
            pairs.min_code_len = kind_ == TbKind::WDL ? p[1] : std::uint8_t{0};
            position_ += 2;
            return true;
        }
        if (!has(10)) return false;
        const int longest = p[8];
        const int shortest = p[9];
        pairs.block_bits = p[1];
        pairs.index_bits = p[2];
        pairs.min_code_len = p[9];
        shape.real_blocks = read_u32(p + 4);
        shape.all_blocks = shape.real_blocks + p[3];
        if (pairs.block_bits > MOST_BLOCK_BITS || pairs.index_bits < 1 || pairs.index_bits > MOST_INDEX_BITS ||
            shortest < 1 || longest < shortest || longest > 32)
            return false;
        shape.index_entries = (shape.positions + (std::uint64_t{1} << pairs.index_bits) - 1) >> pairs.index_bits;
        const auto lengths = static_cast<std::size_t>(longest - shortest + 1);
        if (!has(12 + 2 * lengths)) return false;
        for (std::size_t i = 0; i < lengths; ++i) pairs.first_symbol[i] = read_u16(p + 10 + 2 * i);
        const std::size_t symbols = read_u16(p + 10 + 2 * lengths);
        const std::size_t length = 12 + 2 * lengths + SYMBOL_SIZE * symbols + symbols % 2;
        if (!has(length)) return false;
        pairs.symbols = p + 12 + 2 * lengths;
        position_ += length;
        return build_code(pairs, lengths, symbols) && measure_symbols(pairs, symbols);
    }

    // Bases of the canonical code. Every code word must lead to a symbol that exists.
    static bool build_code(TbPairs &pairs, std::size_t lengths, std::size_t symbols) {
        std::array<std::int64_t, 32> base{};
        for (std::size_t i = lengths - 1; i-- > 0;) {
            base[i] = (base[i + 1] + pairs.first_symbol[i] - pairs.first_symbol[i + 1]) / 2;
            if (base[i] < 0) return false;
        }
        std::uint64_t end = std::uint64_t{1} << 32;  // of the code words that are not covered yet
        for (std::size_t i = 0; i < lengths; ++i) {
            const int shift = 32 - (pairs.min_code_len + static_cast<int>(i));
            const std::uint64_t aligned = static_cast<std::uint64_t>(base[i]) << shift;
            if (aligned >= std::uint64_t{1} << 32) return false;
            pairs.code_base[i] = static_cast<std::uint32_t>(aligned);
            if (aligned >= end) continue;
            if (pairs.first_symbol[i] + ((end - 1 - aligned) >> shift) >= symbols) return false;
            end = aligned;
        }
        return true;
    }

    // Values that each symbol stands for. Symbols form trees: children exist, and none contains itself.
    static bool measure_symbols(TbPairs &pairs, std::size_t symbols) {
        enum : std::uint8_t { UNKNOWN, OPEN, DONE };
        constexpr std::uint32_t LONGEST = 65535;
        std::vector<std::uint8_t> state(symbols, UNKNOWN);
        std::vector<std::size_t> stack;
        pairs.symbol_len.assign(symbols, 0);
        for (std::size_t root = 0; root < symbols; ++root) {
            stack.push_back(root);
            while (!stack.empty()) {
                const std::size_t symbol = stack.back();
                const std::uint8_t *entry = pairs.symbols + SYMBOL_SIZE * symbol;
                const int right = right_child(entry);
                if (state[symbol] == DONE || right == LEAF) {
                    state[symbol] = DONE;
                    stack.pop_back();
                    continue;
                }
                const std::size_t children[] = {static_cast<std::size_t>(left_child(entry)),
                                                static_cast<std::size_t>(right)};
                const bool first_visit = state[symbol] == UNKNOWN;
                state[symbol] = OPEN;
                std::uint32_t length = 1;
                bool waiting = false;
                for (const std::size_t child : children) {
                    if (child >= symbols || (first_visit && state[child] == OPEN)) return false;
                    if (state[child] == DONE) {
                        length += pairs.symbol_len[child];
                    } else {
                        stack.push_back(child);
                        waiting = true;
                    }
                }
                if (waiting) continue;
                if (length > LONGEST) return false;
                pairs.symbol_len[symbol] = static_cast<std::uint16_t>(length);
                state[symbol] = DONE;
                stack.pop_back();
            }
        }
        return true;
    }

    bool read_value_maps() {
        for (auto &maps : layout_->value_map) maps = {};
        if (kind_ == TbKind::WDL) return true;
        for (std::size_t f = 0; f < sub_tables_; ++f) {
            if ((layout_->flags[f] & TB_DTZ_MAPPED) == 0) continue;
            for (const std::uint8_t *&map : layout_->value_map[f]) {
                if (!has(1)) return false;
                const std::size_t length = bytes_[position_];
                if (!has(1 + length)) return false;
                map = bytes_ + position_ + 1;
                position_ += 1 + length;
            }
        }
        return align(2);
    }

    template <typename Action>
    bool for_each_stream(Action action) {
        std::size_t n = 0;
        for (std::size_t f = 0; f < sub_tables_; ++f)
            for (std::size_t s = 0; s < streams_; ++s, ++n)
                if (layout_->sides[f][s].pairs.index_bits != 0 && !action(layout_->sides[f][s].pairs, shapes_[n]))
                    return false;
        return true;
    }

    // Takes `count` bytes from the file.
    bool take(std::uint64_t count, const std::uint8_t *&area) {
        if (!has(count)) return false;
        area = bytes_ + position_;
        position_ += static_cast<std::size_t>(count);
        return true;
    }

    bool place_areas() {
        return for_each_stream([this](TbPairs &pairs, const StreamShape &shape) {
                   return take(shape.index_entries * INDEX_ENTRY_SIZE, pairs.index_table);
               }) &&
               for_each_stream([this](TbPairs &pairs, const StreamShape &shape) {
                   return take(shape.all_blocks * SIZE_ENTRY_SIZE, pairs.size_table);
               }) &&
               for_each_stream([this](TbPairs &pairs, const StreamShape &shape) {
                   return align(DATA_ALIGNMENT) && take(shape.real_blocks << pairs.block_bits, pairs.data);
               }) &&
               for_each_stream(index_leads_into_blocks);
    }

    // Whether every index entry leads each position it serves into a block that has data.
    static bool index_leads_into_blocks(const TbPairs &pairs, const StreamShape &shape) {
        std::vector<std::uint64_t> start(shape.all_blocks + 1);  // values before each block
        for (std::size_t b = 0; b < shape.all_blocks; ++b)
            start[b + 1] = start[b] + read_u16(pairs.size_table + SIZE_ENTRY_SIZE * b) + 1;
        const std::uint64_t values = start[shape.real_blocks];
        const std::uint64_t half = std::uint64_t{1} << (pairs.index_bits - 1);
        for (std::uint64_t i = 0; i < shape.index_entries; ++i) {
            const std::uint8_t *entry = pairs.index_table + INDEX_ENTRY_SIZE * i;
            const std::uint64_t block = read_u32(entry);
            if (block >= shape.all_blocks) return false;
            const std::uint64_t middle = start[block] + read_u16(entry + 4);
            const std::uint64_t served = std::min(2 * half, shape.positions - i * 2 * half);
            if (middle < half || middle - half + served > values) return false;
        }
        return true;
    }

    const std::uint8_t *bytes_;
    std::size_t size_;
    const TbMaterial &material_;
    TbKind kind_;
    std::unique_ptr<TbLayout> layout_;
    std::size_t position_ = 0;
    std::size_t sub_tables_ = 1;
    std::size_t streams_ = 1;
    std::array<StreamShape, 8> shapes_{};
    std::size_t stream_count_ = 0;
};

}  // namespace

TbCounts tb_counts(std::string_view name) {
    constexpr std::string_view TYPES = " PNBRQK";
    TbCounts counts{};
    Colour colour = WHITE;
    for (const char c : name) {
        if (c == 'v')
            colour = BLACK;
        else
            ++counts[make_piece(colour, static_cast<int>(TYPES.find(c)))];
    }
    return counts;
}

TbMaterial tb_material(const TbCounts &counts) {
    TbMaterial material{};
    material.counts = counts;
    material.symmetric = true;
    int singles = 0;
    for (int type = PAWN; type <= KING; ++type) {
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
    return FileParser(bytes, size, material, kind).parse();
}

int tb_decode(const TbPairs &pairs, std::uint64_t index) {
    if (pairs.index_bits == 0) return pairs.min_code_len;

    // The block, and the value's place in it
    const std::uint8_t *entry = pairs.index_table + INDEX_ENTRY_SIZE * (index >> pairs.index_bits);
    std::uint32_t block = read_u32(entry);
    const std::uint64_t mask = (std::uint64_t{1} << pairs.index_bits) - 1;
    std::int64_t place =
        static_cast<std::int64_t>(index & mask) - (std::int64_t{1} << (pairs.index_bits - 1)) + read_u16(entry + 4);
    const auto values = [&pairs](std::uint32_t b) {
        return std::int64_t{read_u16(pairs.size_table + SIZE_ENTRY_SIZE * std::uint64_t{b})} + 1;
    };
    while (place < 0) place += values(--block);
    while (place >= values(block)) place -= values(block++);

    // The symbol, from a bit stream of 32-bit words, the most significant bit first
    const std::uint8_t *next = pairs.data + (std::uint64_t{block} << pairs.block_bits);
    std::uint64_t bits = read_big_endian_u64(next);
    next += 8;
    int used = 0;
    std::size_t symbol = 0;
    while (true) {
        const auto code = static_cast<std::uint32_t>(bits >> 32);
        std::size_t i = 0;
        while (code < pairs.code_base[i]) ++i;
        const int length = pairs.min_code_len + static_cast<int>(i);
        symbol = pairs.first_symbol[i] + ((code - pairs.code_base[i]) >> (32 - length));
        const std::int64_t stands_for = pairs.symbol_len[symbol] + 1;
        if (place < stands_for) break;
        place -= stands_for;
        bits <<= length;
        used += length;
        if (used >= 32) {
            used -= 32;
            bits |= static_cast<std::uint64_t>(read_big_endian_u32(next)) << used;
            next += 4;
        }
    }

    // The value in the symbol's tree
    while (pairs.symbol_len[symbol] != 0) {
        const std::uint8_t *node = pairs.symbols + SYMBOL_SIZE * symbol;
        const auto left = static_cast<std::size_t>(left_child(node));
        const std::int64_t in_left = pairs.symbol_len[left] + 1;
        if (place < in_left) {
            symbol = left;
        } else {
            place -= in_left;
            symbol = static_cast<std::size_t>(right_child(node));
        }
    }
    return pairs.symbols[SYMBOL_SIZE * symbol];
}
