#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <string>

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// Skips blanks and a plus sign, which std::from_chars does not take.
std::string_view number_start(std::string_view text) {
    text = skip_blanks(text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    return text;
}

constexpr double LARGEST_NUMBER = 1e15;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Length of the decimal number at the start of a text: digits with or without a point, and an exponent; 0 when there is none.
// "inf", "nan" and hexadecimal numbers are words here.
std::size_t decimal_length(std::string_view text) {
    const auto skip_digits = [text](std::size_t i) {
        while (i < text.size() && is_digit(text[i])) ++i;
        return i;
    };
    const auto has = [text](std::size_t i, char c) { return i < text.size() && text[i] == c; };
    const std::size_t start = has(0, '-') ? 1 : 0;
    std::size_t end = skip_digits(start);
    std::size_t digits = end - start;
    if (has(end, '.')) {
        const std::size_t fraction = end + 1;
        end = skip_digits(fraction);
        digits += end - fraction;
    }
    if (digits == 0) return 0;
    if (!has(end, 'e') && !has(end, 'E')) return end;
    const std::size_t exponent = end + (has(end + 1, '+') || has(end + 1, '-') ? 2 : 1);
    const std::size_t exponent_end = skip_digits(exponent);
    return exponent_end > exponent ? exponent_end : end;
}

// The value of a decimal number. A short one is the quotient of two numbers that are exact, and so the nearest to it.
double decimal_value(std::string_view number) {
    constexpr std::size_t SHORT = 15;  // digits and point
    const bool negative = number.starts_with('-');
    double digits = 0.0;
    double power = 1.0;
    bool point = false;
    for (const char c : number.substr(negative ? 1 : 0)) {
        if (number.size() > SHORT || (!is_digit(c) && c != '.'))
            return std::strtod(std::string(number).c_str(), nullptr);
        if (is_digit(c)) digits = 10.0 * digits + (c - '0');
        if (is_digit(c) && point) power *= 10.0;
        point = point || c == '.';
    }
    return (negative ? -digits : digits) / power;
}

}  // namespace

std::int64_t leading_integer(std::string_view text) {
    text = number_start(text);
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range)
        return text[0] == '-' ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    return value;
}

double leading_number(std::string_view text) {
    text = number_start(text);
    return std::clamp(decimal_value(text.substr(0, decimal_length(text))), -LARGEST_NUMBER, LARGEST_NUMBER);
}

int clamped_integer(std::string_view text, int low, int high) {
    return static_cast<int>(std::clamp<std::int64_t>(leading_integer(text), low, high));
}

std::string_view skip_blanks(std::string_view text) {
    while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
    return text;
}

std::string_view next_word(std::string_view &text) {
    text = skip_blanks(text);
    std::size_t length = 0;
    while (length < text.size() && !is_blank(text[length])) ++length;
    const std::string_view word = text.substr(0, length);
    text.remove_prefix(length);
    return word;
}

std::vector<std::string_view> split_words(std::string_view text, std::size_t most, std::size_t longest) {
    std::vector<std::string_view> words;
    while (words.size() < most) {
        const std::string_view word = next_word(text);
        if (word.empty()) break;
        words.push_back(word.substr(0, longest));
    }
    return words;
}

std::string_view word_at(const std::vector<std::string_view> &words, std::size_t i) {
    return i < words.size() ? words[i] : std::string_view{};
}
