#include "book/probe.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "board/legality.h"
#include "book/format.h"
#include "platform/files.h"

namespace {

constexpr int NEUTRAL_VARIETY = 25;
constexpr std::int64_t SHARE_UNITS = 10000;  // shares are in hundredths of a percent

bool read_entry_at(std::istream &file, std::int64_t index, BookEntry &entry) {
    file.seekg(index * BOOK_ENTRY_SIZE);
    return read_book_entry(file, entry);
}

// The entries of a key in file order: bisection for the first entry whose key is not below it.
std::vector<BookEntry> find_entries(const std::string &path, std::uint64_t key) {
    std::vector<BookEntry> found;
    std::error_code error;
    if (!std::filesystem::is_regular_file(file_path(path), error))
        return found;  // a pipe would block, a folder has no entries
    std::ifstream file(file_path(path), std::ios::binary);
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

// Share of each entry after the variety has shifted the weights.
std::vector<std::int64_t> shares_of(const std::vector<BookEntry> &entries, std::int64_t total_weight, int variety) {
    const auto shift = static_cast<std::int64_t>(entries[0].weight * 0.01 * (variety - NEUTRAL_VARIETY));
    std::vector<std::int64_t> shares;
    shares.reserve(entries.size());
    for (const BookEntry &entry : entries)
        shares.push_back(std::max<std::int64_t>((entry.weight + shift) * SHARE_UNITS / total_weight, 0));
    return shares;
}

// A point below `total`, in thousandths of it.
std::int64_t random_point(std::int64_t total, RandomGenerator &random) {
    const std::uint32_t mixed = static_cast<std::uint32_t>(random.next()) * 98765U + 123456789U;
    return static_cast<std::int64_t>(mixed % 1000 * 0.001 * static_cast<double>(total));
}

// Index of the share on which the point lies; the first one at the very start.
std::size_t share_at(const std::vector<std::int64_t> &shares, std::int64_t point) {
    std::size_t chosen = 0;
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < shares.size(); ++i) {
        if (shares[i] != 0 && point > sum) chosen = i;
        sum += shares[i];
    }
    return chosen;
}

}  // namespace

BookDraw probe_book(const Position &pos, const BookOptions &options, RandomGenerator &random) {
    BookDraw draw;
    if (options.file.empty()) return draw;
    const std::vector<BookEntry> entries = find_entries(std::string(options.file), polyglot_key(pos));
    for (const BookEntry &entry : entries) draw.total_weight += entry.weight;
    if (draw.total_weight == 0) return draw;

    const std::vector<std::int64_t> shares = shares_of(entries, draw.total_weight, options.variety);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        draw.total_share += shares[i];
        if (shares[i] != 0) draw.choices.push_back({entries[i].move, entries[i].weight, shares[i]});
    }
    const Move move = move_from_book(entries[share_at(shares, random_point(draw.total_share, random))].move);
    if (move != NO_MOVE && is_legal_move(pos, move)) draw.move = move;
    return draw;
}
