// The one way protocol text leaves the program, and its log.
#pragma once

#include <string>
#include <string_view>

#if defined(__clang__)
#define DRAL_PRINTF_FORMAT(format_index, first_argument) __attribute__((format(printf, format_index, first_argument)))
#else  // the formats of the C standard on every system
#define DRAL_PRINTF_FORMAT(format_index, first_argument) \
    __attribute__((format(gnu_printf, format_index, first_argument)))
#endif

// Writes the text and a line feed to standard output, flushed, and to the log when logging is on. Any thread; lines
// never mix, and both copies keep the same order.
void print_line(std::string_view text);

// Writes a display of several lines to standard output only. Any thread; no line comes between its own.
void print_display(std::string_view text);

// From now on `form` gives what is written for each line, without its line feed; nothing is written for an empty text.
// Null: lines and displays are written as they stand. Any thread.
void set_line_form(std::string (*form)(std::string_view line));

// printf into a string.
std::string format_line(const char *format, ...) DRAL_PRINTF_FORMAT(1, 2);

// format_line, then print_line.
void print_format(const char *format, ...) DRAL_PRINTF_FORMAT(1, 2);

// Writes a line to the log only, when logging is on.
void log_line(std::string_view text);

// Switches the log ("dral.log" in the working directory) on or off. Switched on for the first time it replaces the file
// of an earlier run; when that cannot be deleted "log file in use." is printed and logging stays off. Switched off, the
// file stays open. Returns whether logging is on now. Main thread.
bool set_logging(bool on);

// Lets lines go to the log, if one is open, or keeps them from it. Main thread.
void enable_logging(bool on);

// Whether lines go to the log now.
bool logging();

// Closes the log, if open.
void close_log();
