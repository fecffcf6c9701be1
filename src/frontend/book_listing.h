// What a draw from the opening book shows.
#pragma once

#include "book/probe.h"

enum class BookProtocol { UCI, CONSOLE };

// Prints what could be chosen, one line under UCI and a table at the console, which also says what was drawn. Nothing
// when there was no choice, or when `noise_level` (seconds before progress lines appear) stands for never.
void print_book_draw(const BookDraw &draw, BookProtocol protocol, double noise_level);
