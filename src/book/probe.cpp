#include "book/probe.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/control.h"
#include "base/output.h"
#include "base/settings.h"
#include "board/legality.h"
#include "board/notation.h"
#include "book/format.h"

namespace {

constexpr int NEUTRAL_VARIETY = 25;
constexpr std::int64_t SHARE_UNITS = 10000;  // shares are in hundredths of a percent

bool read_entry_at(std::istream &file, std::int64_t index, BookEntry &entry) {
    file.seekg(index * BOOK_ENTRY_SIZE);
    return read_book_entry(file, entry);
}

// The entries of a key in file order: bisection for the first entry whose key is not below it.
std::vector<BookEntry> find_entries(const char *path, std::uint64_t key) {
    std::vector<BookEntry> found;
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return found;  // a pipe would block, a folder has no entries
    std::ifstream file(path, std::ios::binary);
    if (!file.seekg(-BOOK_ENTRY_SIZE, std::ios::end)) return found;
    std::int64_t high = static_cast<std::int64_t>(file.tellg()) / BOOK_ENTRY_SIZE;
    std::int64_t low = -1;
    BookEntry candidate;
    if (!read_entry_at(file, high, candidate)) return found;
    while (high - low > 1) {
        const std::int64_t middle = (low + high) / 2;
        BookEntry entry;
        if (!read_entry_at(file, middle, entry)) return found;
        if (entry.key < key) {
            low = middle;
        } else {
            high = middle;
            candidate = entry;
        }
    }
    if (candidate.key != key) return found;
    file.seekg((high + 1) * BOOK_ENTRY_SIZE);
    do {
        found.push_back(candidate);
    } while (found.size() < MAX_BOOK_MOVES && read_book_entry(file, candidate) && candidate.key == key);
    return found;
}

// Share of each entry after the variety setting has shifted the weights; empty when all weights are 0.
std::vector<std::int64_t> shares_of(const std::vector<BookEntry> &entries) {
    std::vector<std::int64_t> shares;
    std::int64_t total = 0;
    for (const BookEntry &entry : entries) total += entry.weight;
    if (total == 0) return shares;
    const int variety = settings.OwnBook_Variety - NEUTRAL_VARIETY;
    const auto shift = static_cast<std::int64_t>(entries[0].weight * 0.01 * variety);
    for (const BookEntry &entry : entries) {
        const std::int64_t share = (entry.weight + shift) * SHARE_UNITS / total;
        shares.push_back(share > 0 ? share : 0);
    }
    return shares;
}

// A point below `total`, in thousandths of it.
std::int64_t random_point(std::int64_t total) {
    const std::uint32_t mixed = static_cast<std::uint32_t>(std::rand()) * 98765U + 123456789U;
    return static_cast<std::int64_t>(mixed % 1000 * 0.001 * static_cast<double>(total));
}

// From-square and to-square as the book has them: castling is the king's move onto its rook.
std::string squares_in_book(std::uint16_t book_move) {
    return std::string(square_name((book_move >> 6) & 63)).append(square_name(book_move & 63));
}

// Prints what can be chosen: one line under UCI, a table at the console.
void list_entries(const std::vector<BookEntry> &entries, const std::vector<std::int64_t> &shares,
                  std::int64_t total_share) {
    if (noise >= NO_PROGRESS_LINES) return;
    double total_weight = 0.0;
    for (const BookEntry &entry : entries) total_weight += entry.weight;
    std::string moves;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (shares[i] == 0) continue;
        const std::string move = squares_in_book(entries[i].move);
        moves += move + ' ';
        if (uci_mode != 1)
            print_format("  %s  cnt= %5d, weight= %5.2f%% -> %5.2f%%", move.c_str(), entries[i].weight,
                         100.0 * entries[i].weight / total_weight,
                         100.0 * static_cast<double>(shares[i]) / static_cast<double>(total_share));
    }
    if (uci_mode == 1) print_line("info string ( book moves are: " + moves + " )");
}

}  // namespace

Move probe_book(const Position &pos) {
    if (settings.OwnBook_File.empty()) return NO_MOVE;
    const std::vector<BookEntry> entries = find_entries(settings.OwnBook_File.c_str(), polyglot_key(pos));
    const std::vector<std::int64_t> shares = shares_of(entries);
    if (shares.empty()) return NO_MOVE;

    std::int64_t total = 0;
    for (const std::int64_t share : shares) total += share;
    const std::int64_t target = random_point(total);
    std::size_t chosen = 0;
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < shares.size(); ++i) {
        if (shares[i] != 0 && target > sum) chosen = i;
        sum += shares[i];
    }
    list_entries(entries, shares, total);

    const Move move = move_from_book(entries[chosen].move);
    if (move == NO_MOVE || !is_legal_move(pos, move)) return NO_MOVE;
    if (uci_mode != 1 && noise < NO_PROGRESS_LINES) print_line("selecting " + squares_of(move));
    return move;
}
