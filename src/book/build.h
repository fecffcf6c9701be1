// Builds an opening book from game files.
#pragma once

// Replays the first moves of every game of a PGN file, counts results per position and move, and writes the moves that
// scored well to "tmp_book.bin" in the working directory, in the Polyglot book format. Memory grows with the number of
// distinct moves. Does nothing when the PGN file cannot be opened; when the book cannot be written one line says so and
// no file is left. Main thread.
void build_book(const char *pgn_file);
