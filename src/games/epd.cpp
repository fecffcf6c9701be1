#include "games/epd.h"

#include <algorithm>

namespace {

constexpr std::size_t LONGEST_FEN = 255;
constexpr std::size_t LONGEST_OPERAND = 511;
constexpr std::string_view SEPARATORS = " \t;\r\n";

// The next token, taken off the front; empty at the end.
std::string_view next_token(std::string_view &text) {
    text.remove_prefix(std::min(text.find_first_not_of(SEPARATORS), text.size()));
    const std::string_view token = text.substr(0, text.find_first_of(SEPARATORS));
    text.remove_prefix(token.size());
    return token;
}

// What stands before the next ';', without blanks around it, taken off the front.
std::string_view next_operand(std::string_view &text) {
    constexpr std::string_view BLANKS = " \t\r\n";
    std::string_view operand = text.substr(0, text.find(';'));
    text.remove_prefix(operand.size());
    operand.remove_prefix(std::min(operand.find_first_not_of(BLANKS), operand.size()));
    return operand.substr(0, operand.find_last_not_of(BLANKS) + 1);
}

bool is_number(std::string_view token) { return token.find_first_not_of("0123456789") == std::string_view::npos; }

struct Opcode {
    std::string_view name;
    std::string EpdRecord::*field;
};
constexpr Opcode OPCODES[] = {
    {"bm", &EpdRecord::bm}, {"am", &EpdRecord::am}, {"ce", &EpdRecord::ce},
    {"c0", &EpdRecord::c0}, {"c6", &EpdRecord::c6},
};

}  // namespace

bool parse_epd_record(std::string_view line, EpdRecord &record) {
    constexpr int FEN_FIELDS = 4;
    record = {};
    std::string fen;
    for (int i = 0; i < FEN_FIELDS; ++i) {
        const std::string_view field = next_token(line);
        if (field.empty()) return false;
        if (i > 0) fen += ' ';
        fen += field;
    }
    record.fen = fen.substr(0, LONGEST_FEN);
    for (std::string_view token = next_token(line); !token.empty(); token = next_token(line)) {
        if (is_number(token)) continue;  // the counters of a full FEN
        const std::string_view operand = next_operand(line);
        for (const Opcode &opcode : OPCODES)
            if (token == opcode.name && (record.*opcode.field).empty())
                record.*opcode.field = operand.substr(0, LONGEST_OPERAND);
    }
    return true;
}

std::string_view without_annotation(std::string_view move) { return move.substr(0, move.find_last_not_of("#!?") + 1); }
