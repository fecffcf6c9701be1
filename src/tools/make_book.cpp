// Building an opening book from game files.
#include <cstdio>
#include <new>
#include <string_view>

#include "base/line_reader.h"
#include "base/output.h"
#include "base/progress.h"
#include "book/build.h"
#include "platform/terminal.h"
#include "tools/screen.h"
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
    int ambiguous = 0;
    while (file.next(line)) {
        book.read_line(line);
        if (book.games() != games && book.games() % GAMES_PER_DOT == 0) say(".");
        games = book.games();
        for (; ambiguous < book.ambiguous_moves(); ++ambiguous) report_ambiguous_move();
        progress.update(games, file.position(), file.size());
    }
    progress.finish();
    if (file.failed()) say("\ncannot read the whole file");
}

void write_book(BookBuilder &book) {
    say("\nwriting book file ...");
    const std::size_t moves = book.moves();
    if (!book.write(BOOK_FILE)) {
        say(format_line("\ncannot write %s\n", BOOK_FILE));
        return;
    }
    say(format_line("\nngames= %d, nmoves= %zu\ndone\n", book.games(), moves));
}

}  // namespace

void build_book(const char *pgn_file) {
    LineReader file(pgn_file, LONGEST_LINE);
    if (!file.is_open()) return;
    say(format_line("Creating file %s from games in %s", BOOK_FILE, pgn_file));
    try {
        BookBuilder book;
        read_games(file, book);
        write_book(book);
    } catch (const std::bad_alloc &) {
        say("\nnot enough memory\n");
    }
}
