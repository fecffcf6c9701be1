// Records of EPD files.
#pragma once

#include <string>
#include <string_view>

// The parts of an EPD line that the program uses; an operation that is not there is empty. Operands are kept whole, quotes
// included, up to 511 characters.
struct EpdRecord {
    std::string fen;  // the four fields, joined by single blanks
    std::string bm;   // best moves
    std::string am;   // avoid move
    std::string id;   // identifier
    std::string ce;   // centipawn evaluation
    std::string c0;   // points: "Qxf7=10, Bxf7=3"
    std::string c6;   // comment 6
};

// Reads a line. False, and the record is empty, when it has fewer than four fields.
bool parse_epd_record(std::string_view line, EpdRecord &record);

// A move's text without the marks of annotators and of mate ("Qxf7#!?").
std::string_view without_annotation(std::string_view move);
