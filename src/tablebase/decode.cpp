#include "tablebase/decode.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int LEAF = 0xFFF;  // right child of a symbol that is a value

// The next word of a block, 0 where the file ends before it.
std::uint32_t next_word(const std::uint8_t *&next, const std::uint8_t *end) {
    std::uint32_t word = 0;
    if (end - next < static_cast<std::ptrdiff_t>(sizeof word)) return 0;
    std::memcpy(&word, next, sizeof word);
    next += sizeof word;
    return __builtin_bswap32(word);
}

int left_child(const std::uint8_t *symbol) { return symbol[0] | (symbol[1] & 0x0F) << 8; }
int right_child(const std::uint8_t *symbol) { return symbol[1] >> 4 | symbol[2] << 4; }

// The symbol that holds a block's value number `place`, which becomes the value's number in the symbol. The block is a bit
// stream of 32-bit words, the most significant bit first.
std::size_t find_symbol(const TbPairs &pairs, std::uint32_t block, std::int64_t &place) {
    const std::uint8_t *next = pairs.data + (std::uint64_t{block} << pairs.block_bits);
    std::uint64_t bits = std::uint64_t{next_word(next, pairs.end)} << 32;
    bits |= next_word(next, pairs.end);
    int used = 0;
    while (true) {
        const auto code = static_cast<std::uint32_t>(bits >> 32);
        std::size_t i = 0;
        while (code < pairs.code_base[i]) ++i;
        const int length = pairs.min_code_len + static_cast<int>(i);
        const std::size_t symbol = pairs.first_symbol[i] + ((code - pairs.code_base[i]) >> (32 - length));
        const std::int64_t stands_for = pairs.symbol_len[symbol] + 1;
        if (place < stands_for) return symbol;
        place -= stands_for;
        bits <<= length;
        used += length;
        if (used >= 32) {
            used -= 32;
            bits |= std::uint64_t{next_word(next, pairs.end)} << used;
        }
    }
}

// Value number `place` in a symbol's tree.
int value_in_symbol(const TbPairs &pairs, std::size_t symbol, std::int64_t place) {
    while (pairs.symbol_len[symbol] != 0) {
        const std::uint8_t *node = pairs.symbols + TB_SYMBOL_SIZE * symbol;
        const int left = left_child(node);
        const std::int64_t in_left = pairs.symbol_len[left] + 1;
        if (place < in_left) {
            symbol = left;
        } else {
            place -= in_left;
            symbol = right_child(node);
        }
    }
    return pairs.symbols[TB_SYMBOL_SIZE * symbol];
}

}  // namespace

bool tb_build_code(TbPairs &pairs, std::size_t lengths, std::size_t symbols) {
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

bool tb_measure_symbols(TbPairs &pairs, std::size_t symbols) {
    enum : std::uint8_t { UNKNOWN, OPEN, DONE };
    constexpr std::uint32_t LONGEST = 65535;
    std::vector<std::uint8_t> state(symbols, UNKNOWN);
    std::vector<std::size_t> stack;
    pairs.symbol_len.assign(symbols, 0);
    for (std::size_t root = 0; root < symbols; ++root) {
        stack.push_back(root);
        while (!stack.empty()) {
            const std::size_t symbol = stack.back();
            const std::uint8_t *entry = pairs.symbols + TB_SYMBOL_SIZE * symbol;
            const int right = right_child(entry);
            if (state[symbol] == DONE || right == LEAF) {
                state[symbol] = DONE;
                stack.pop_back();
                continue;
            }
            const int children[] = {left_child(entry), right};
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

bool tb_index_leads_into_blocks(const TbPairs &pairs, const TbStreamShape &shape) {
    std::vector<std::uint64_t> start(shape.all_blocks + 1);  // values before each block
    for (std::size_t b = 0; b < shape.all_blocks; ++b)
        start[b + 1] = start[b] + tb_read_u16(pairs.size_table + TB_SIZE_ENTRY_SIZE * b) + 1;
    const std::uint64_t values = start[shape.real_blocks];
    const std::uint64_t half = std::uint64_t{1} << (pairs.index_bits - 1);
    for (std::uint64_t i = 0; i < shape.index_entries; ++i) {
        const std::uint8_t *entry = pairs.index_table + TB_INDEX_ENTRY_SIZE * i;
        const std::uint64_t block = tb_read_u32(entry);
        if (block >= shape.all_blocks) return false;
        const std::uint64_t middle = start[block] + tb_read_u16(entry + 4);
        const std::uint64_t served = std::min(2 * half, shape.positions - i * 2 * half);
        if (middle < half || middle - half + served > values) return false;
    }
    return true;
}

int tb_decode(const TbPairs &pairs, std::uint64_t index) {
    if (pairs.index_bits == 0) return pairs.min_code_len;
    const std::uint8_t *entry = pairs.index_table + TB_INDEX_ENTRY_SIZE * (index >> pairs.index_bits);
    std::uint32_t block = tb_read_u32(entry);
    const std::uint64_t mask = (std::uint64_t{1} << pairs.index_bits) - 1;
    std::int64_t place =
        static_cast<std::int64_t>(index & mask) - (std::int64_t{1} << (pairs.index_bits - 1)) + tb_read_u16(entry + 4);
    const auto values = [&pairs](std::uint32_t b) {
        return std::int64_t{tb_read_u16(pairs.size_table + TB_SIZE_ENTRY_SIZE * std::uint64_t{b})} + 1;
    };
    while (place < 0) place += values(--block);
    while (place >= values(block)) place -= values(block++);
    const std::size_t symbol = find_symbol(pairs, block, place);
    return value_in_symbol(pairs, symbol, place);
}
