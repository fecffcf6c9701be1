// Building an opening book from game files.
#include <cstdio>
#include <new>
#include <string_view>

#include "base/line_reader.h"
#include "base/progress.h"
#include "book/build.h"
#include "platform/terminal.h"
#include "tools/tools.h"

namespace {

constexpr const char *BOOK_FILE = "tmp_book.bin";
constexpr std::size_t LONGEST_LINE = 1022;
constexpr int GAMES_PER_DOT = 1024;

void read_games(LineReader &file, BookBuilder &book) {
    if (standard_error_is_terminal()) std::fputc('\n', stderr);  // keeps the line that the dots belong to
    Progress progress("games");
    std::string_view line;
    int games = 0;
    while (file.next(line)) {
        book.read_line(line);
        if (book.games() != games && book.games() % GAMES_PER_DOT == 0) {
            std::putchar('.');
            std::fflush(stdout);
        }
        games = book.games();
        progress.update(games, file.position(), file.size());
    }
    progress.finish();
    if (file.failed()) std::printf("\ncannot read the whole file");
}

void write_book(BookBuilder &book) {
    std::printf("\nwriting book file ...");
    std::fflush(stdout);
    const std::size_t moves = book.moves();
    if (!book.write(BOOK_FILE)) {
        std::printf("\ncannot write %s\n", BOOK_FILE);
        return;
    }
    std::printf("\nngames= %d, nmoves= %zu\n", book.games(), moves);
    std::printf("done\n");
}

}  // namespace

void build_book(const char *pgn_file) {
    LineReader file(pgn_file, LONGEST_LINE);
    if (!file.is_open()) return;
    std::printf("Creating file %s from games in %s", BOOK_FILE, pgn_file);
    std::fflush(stdout);
    try {
        BookBuilder book;
        read_games(file, book);
        write_book(book);
    } catch (const std::bad_alloc &) {
        std::printf("\nnot enough memory\n");
    }
}
