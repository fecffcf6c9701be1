#include "frontend/book_listing.h"

#include <string>

#include "base/output.h"
#include "board/notation.h"
#include "book/format.h"
#include "search/limits.h"

namespace {

double percent(std::int64_t part, std::int64_t whole) {
    return 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

}  // namespace

void print_book_draw(const BookDraw &draw, BookProtocol protocol, double noise_level) {
    if (draw.choices.empty() || noise_level >= NO_PROGRESS_LINES) return;
    if (protocol == BookProtocol::UCI) {
        std::string moves;
        for (const BookChoice &choice : draw.choices) moves += book_squares(choice.move) + ' ';
        print_line("info string ( book moves are: " + moves + " )");
        return;
    }
    for (const BookChoice &choice : draw.choices)
        print_format("  %s  cnt= %5d, weight= %5.2f%% -> %5.2f%%", book_squares(choice.move).c_str(), choice.weight,
                     percent(choice.weight, draw.total_weight), percent(choice.share, draw.total_share));
    if (draw.move != NO_MOVE) print_line("selecting " + squares_of(draw.move));
}
