// A compressed stream of values: what a file says of it, checked, and the value at an index.
//
// Values are cut into blocks; a block is a sequence of code words of a canonical code; a code word stands for a symbol, and
// a symbol for one value or, as a pair of symbols, for the values of both in turn.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

struct TbPairs {
    const std::uint8_t *index_table;             // 6 bytes an entry: block number, offset in it
    const std::uint8_t *size_table;              // 2 bytes a block: values in it less one
    const std::uint8_t *data;                    // blocks of 2^block_bits bytes
    const std::uint8_t *end;                     // of the file, beyond which the blocks go on with zeros
    const std::uint8_t *symbols;                 // 3 bytes a symbol: its two children, or a leaf's value
    std::vector<std::uint16_t> symbol_len;       // [symbol]: values it stands for less one
    std::array<std::uint16_t, 32> first_symbol;  // [code length - min_code_len]
    std::array<std::uint32_t, 32> code_base;     // [code length - min_code_len], left-aligned
    std::uint8_t index_bits;                     // one index entry for 2^index_bits values; 0: a constant stream
    std::uint8_t block_bits;
    std::uint8_t min_code_len;  // of a constant stream: its value
};

// What the file says of a stream beyond what decoding needs.
struct TbStreamShape {
    std::uint64_t positions;  // values in the stream
    std::uint64_t index_entries;
    std::uint64_t real_blocks;
    std::uint64_t all_blocks;  // with the padding ones, which have sizes but no data
};

constexpr std::size_t TB_INDEX_ENTRY_SIZE = 6;
constexpr std::size_t TB_SIZE_ENTRY_SIZE = 2;
constexpr std::size_t TB_SYMBOL_SIZE = 3;

// Numbers of a file, the least significant byte first.
inline std::uint16_t tb_read_u16(const std::uint8_t *p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
inline std::uint32_t tb_read_u32(const std::uint8_t *p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

// Bases of the code, from `first_symbol` and `min_code_len`, for `lengths` code lengths. False when a code word would not
// lead to one of the `symbols` symbols.
bool tb_build_code(TbPairs &pairs, std::size_t lengths, std::size_t symbols);

// Numbers of values that the symbols stand for. False unless symbols form trees: children exist, none contains itself,
// and none stands for more than 65536 values.
bool tb_measure_symbols(TbPairs &pairs, std::size_t symbols);

// Whether every index entry leads each position it serves into a block that has data.
bool tb_index_leads_into_blocks(const TbPairs &pairs, const TbStreamShape &shape);

// The value stored at an index below `positions`, 0 to 255. Needs a stream that has passed the checks above; reads beyond
// the end of its blocks, but not of the file, where the blocks contradict the sizes.
int tb_decode(const TbPairs &pairs, std::uint64_t index);
