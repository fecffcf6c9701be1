#include "base/output.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <mutex>

#include "base/shared_value.h"
#include "platform/files.h"

namespace {

constexpr const char *LOG_NAME = "dral.log";

std::mutex print_lock;                     // held while a line is written to standard output and the log
std::FILE *log_file = nullptr;             // main thread, under print_lock
SharedValue<bool> logging_enabled(false);  // main thread

SharedValue<std::string (*)(std::string_view line)> line_form(nullptr);

// The lines of a text as they are to be written.
std::string in_form(std::string text) {
    const auto form = line_form.load();
    if (form == nullptr) return text;
    std::string lines;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string line = form(rest.substr(0, end));
        if (!line.empty()) lines += line + '\n';
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return lines;
}

void write_text(std::FILE *file, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), file);
    std::fflush(file);
}

std::string format_arguments(const char *format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    std::array<char, 512> buffer;
    const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    std::string text;
    if (length > 0 && static_cast<std::size_t>(length) < buffer.size()) {
        text.assign(buffer.data(), static_cast<std::size_t>(length));
    } else if (length > 0) {
        text.resize(static_cast<std::size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

}  // namespace

void print_line(std::string_view text) {
    // One write a line: displays that are written without the lock cannot come between a line and its end.
    const std::string line = in_form(std::string(text) + '\n');
    const std::lock_guard<std::mutex> guard(print_lock);
    write_text(stdout, line);
    if (logging_enabled && log_file != nullptr) write_text(log_file, line);
}

void print_display(std::string_view text) {
    const std::string lines = in_form(std::string(text));
    const std::lock_guard<std::mutex> guard(print_lock);
    write_text(stdout, lines);
}

void set_line_form(std::string (*form)(std::string_view line)) { line_form = form; }

std::string format_line(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = format_arguments(format, arguments);
    va_end(arguments);
    return text;
}

void print_format(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = format_arguments(format, arguments);
    va_end(arguments);
    print_line(text);
}

void log_line(std::string_view text) {
    if (!logging_enabled) return;
    const std::lock_guard<std::mutex> guard(print_lock);
    if (log_file != nullptr) write_text(log_file, std::string(text) + '\n');
}

bool set_logging(bool on) {
    if (on && log_file == nullptr) {
        std::error_code error;
        if (std::filesystem::exists(LOG_NAME, error) && !std::filesystem::remove(LOG_NAME, error)) {
            print_line("log file in use.");
            on = false;
        } else {
            const std::lock_guard<std::mutex> guard(print_lock);
            log_file = open_file(LOG_NAME, "w");
        }
    }
    logging_enabled = on;
    return on;
}

void enable_logging(bool on) { logging_enabled = on; }

bool logging() { return logging_enabled; }

void close_log() {
    const std::lock_guard<std::mutex> guard(print_lock);
    logging_enabled = false;
    if (log_file != nullptr) std::fclose(log_file);
    log_file = nullptr;
}
