#include "games/epd.h"

#include <algorithm>

namespace {

constexpr std::size_t LONGEST_FEN = 255;
constexpr std::size_t LONGEST_OPERAND = 511;

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool is_separator(char c) { return is_blank(c) || c == ';'; }

// The next token, taken off the front; empty at the end.
std::string_view next_token(std::string_view &text) {
    std::size_t start = 0;
    while (start < text.size() && is_separator(text[start])) ++start;
    std::size_t end = start;
    while (end < text.size() && !is_separator(text[end])) ++end;
    const std::string_view token = text.substr(start, end - start);
    text.remove_prefix(end);
    return token;
}

// What stands before the next ';', without blanks around it, taken off the front.
std::string_view next_operand(std::string_view &text) {
    std::string_view operand = text.substr(0, text.find(';'));
    text.remove_prefix(operand.size());
    while (!operand.empty() && is_blank(operand.front())) operand.remove_prefix(1);
    while (!operand.empty() && is_blank(operand.back())) operand.remove_suffix(1);
    return operand;
}

bool is_number(std::string_view token) {
    return std::all_of(token.begin(), token.end(), [](char c) { return c >= '0' && c <= '9'; });
}

struct Opcode {
    std::string_view name;
    std::string EpdRecord::*field;
};
constexpr Opcode OPCODES[] = {
    {"bm", &EpdRecord::bm}, {"am", &EpdRecord::am}, {"id", &EpdRecord::id},
    {"ce", &EpdRecord::ce}, {"c0", &EpdRecord::c0}, {"c6", &EpdRecord::c6},
};

}  // namespace

bool parse_epd_record(std::string_view line, EpdRecord &record) {
    constexpr int FEN_FIELDS = 4;
    record = {};
    std::string &fen = record.fen;
    for (int i = 0; i < FEN_FIELDS; ++i) {
        const std::string_view field = next_token(line);
        if (field.empty()) {
            fen.clear();
            return false;
        }
        if (i > 0) fen += ' ';
        fen += field;
    }
    fen.resize(std::min(fen.size(), LONGEST_FEN));
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
