// Text to numbers and words: the one way in which user input is converted.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// The number at the start of a text, blanks and one sign before it allowed; what follows is ignored; 0 when there is
// none. Values beyond the type's range stop at its end.
std::int64_t leading_integer(std::string_view text);
double leading_number(std::string_view text);

// leading_integer kept within [low, high].
int clamped_integer(std::string_view text, int low, int high);

// Text without the blanks (spaces and tabs) at its start.
std::string_view skip_blanks(std::string_view text);

// The first word (up to a blank), taken off the front of `text`; empty when nothing is left.
std::string_view next_word(std::string_view &text);

// The word at a place; empty beyond the end.
std::string_view word_at(const std::vector<std::string_view> &words, std::size_t i);

// All words, each cut to `longest` characters, at most `most` of them.
std::vector<std::string_view> split_words(std::string_view text, std::size_t most, std::size_t longest);
