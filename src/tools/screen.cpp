#include "tools/screen.h"

#include <string>

#include "base/output.h"

void say(std::string_view text) { print_display(text); }

void show_board(const Position &pos) { print_line(board_text(pos)); }

void report_set_up(const FenReading &reading) {
    if (reading.rights_dropped) print_line("Illegal EPD - " + std::string(reading.rest));
}

ParsedMove read_move(const Position &pos, std::string_view text) {
    const ParsedMove parsed = parse_move(pos, text);
    if (parsed.matches == 2) report_ambiguous_move();
    return parsed;
}

void report_ambiguous_move() { say("ambiguous move\n"); }
