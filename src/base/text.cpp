#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// Skips blanks and a plus sign, which std::from_chars does not take.
std::string_view number_start(std::string_view text) {
    text = skip_blanks(text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    return text;
}

constexpr double LARGEST_NUMBER = 1e15;

// Whether a decimal number that no double can hold is too large, not too small: the place of its first digit that is not
// 0 lies before the point, the exponent counted in. "1e400" and "1" with 400 zeros are; "1e-400" is not.
bool is_too_large(std::string_view number) {
    const std::size_t exponent_at = std::min(number.find_first_of("eE"), number.size());
    const std::string_view digits = number.substr(0, exponent_at);
    const std::size_t first = digits.find_first_of("123456789");
    if (first == std::string_view::npos) return false;
    const std::size_t point = std::min(digits.find('.'), digits.size());
    const auto place = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
    const std::int64_t exponent = leading_integer(number.substr(std::min(exponent_at + 1, number.size())));
    return exponent > -place;
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
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range && is_too_large({text.data(), end}))
        return text[0] == '-' ? -LARGEST_NUMBER : LARGEST_NUMBER;
    // "inf" and "nan" are words here, not numbers.
    if (error != std::errc{} || !std::isfinite(value)) return 0.0;
    return std::clamp(value, -LARGEST_NUMBER, LARGEST_NUMBER);
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
