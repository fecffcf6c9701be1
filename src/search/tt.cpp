#include "search/tt.h"

#include <algorithm>
#include <cstring>
#include <system_error>

#include "platform/pages.h"

namespace {

constexpr std::size_t ENTRIES_PER_MB = 65536;
constexpr std::size_t SLACK_ENTRIES = 16;
constexpr int SCORE_OFFSET = 15000;
constexpr int STORED_MATE_THRESHOLD = 9699;
constexpr int SAME_POSITION_DEPTH_SLACK = 3;
constexpr int NEW_POSITION_DEPTH_SLACK = 7;

constexpr std::size_t ENTRIES_PER_PAGE = 256;          // of 4 KB,
constexpr std::size_t ENTRIES_PER_HUGE_PAGE = 131072;  // of 2 MB

std::size_t all_entries(const TranspositionTable &table) { return table.count + SLACK_ENTRIES; }
std::size_t table_bytes(const TranspositionTable &table) { return all_entries(table) * sizeof(TtEntry); }

// White's positions (even keys) fill the table from its start, Black's (odd keys) from its end, so that a size that is
// no power of two is still used whole.
TtEntry *bucket(const TranspositionTable &table, std::uint64_t key) {
    const std::uint64_t index = key & 0xFFFFFFFF & table.index_mask;
    const std::uint64_t black = ~(key & 1) + 1;  // all ones for Black: a branch here is hard to foretell
    return table.entries + ((table.count & black) + (index ^ black) - black);
}

std::uint32_t low_word(std::uint64_t key) { return static_cast<std::uint32_t>(key); }
std::uint32_t high_word(std::uint64_t key) { return static_cast<std::uint32_t>(key >> 32); }

std::uint32_t check_word(std::uint64_t key, Move move, int score) {
    return (static_cast<std::uint32_t>(move) << 16) ^ high_word(key) ^ static_cast<std::uint32_t>(score + SCORE_OFFSET);
}

Move stored_move(std::uint64_t data) { return static_cast<Move>(data); }
int stored_score(std::uint64_t data) { return static_cast<std::int16_t>(data >> 16); }
int stored_depth(std::uint64_t data) { return static_cast<std::int8_t>(data >> 32); }
int stored_bound(std::uint64_t data) { return static_cast<std::uint8_t>(data >> 40); }
int stored_age(std::uint64_t data) { return static_cast<std::uint8_t>(data >> 48); }
int stored_fifty(std::uint64_t data) { return static_cast<std::uint8_t>(data >> 56); }

constexpr std::uint64_t AGE_MASK = std::uint64_t{0xFF} << 48;
std::uint64_t age_bits(const TranspositionTable &table) { return static_cast<std::uint64_t>(table.age & 0xFF) << 48; }

int entry_depth(const TtEntry *entry) { return stored_depth(entry->data_word); }

// Entry of the bucket that a new position of `depth` replaces, or nullptr.
TtEntry *victim(TtEntry *start, int depth, int age) {
    for (int i = 0; i < BUCKET_SIZE; ++i)
        if (stored_age(start[i].data_word) != age) return start + i;
    TtEntry *first = entry_depth(start + 1) < entry_depth(start) ? start + 1 : start;
    TtEntry *second = entry_depth(start + 3) < entry_depth(start + 2) ? start + 3 : start + 2;
    TtEntry *shallowest = entry_depth(second) < entry_depth(first) ? second : first;
    return depth >= entry_depth(shallowest) - NEW_POSITION_DEPTH_SLACK ? shallowest : nullptr;
}

// The warmer's work.
void warm(TranspositionTable &table) {
    std::size_t cold = table.cold;
    while (cold > 0 && table.warmer_stops == 0) {
        TtEntry *start = table.entries + (all_entries(table) - cold);
        const std::size_t count = std::min(cold, ENTRIES_PER_HUGE_PAGE);
        for (std::size_t i = 0; i < count; i += ENTRIES_PER_PAGE) start[i].key_word.touch();
        cold -= count;
    }
    table.cold = cold;  // once, as every node reads the record
}

void release(TranspositionTable &table) {
    tt_pause_warming(table);
    table.cold = 0;
    if (table.entries != nullptr) free_pages(table.entries, table_bytes(table));
    table.entries = nullptr;
    table.count = 0;
    table.index_mask = 0;
    table.megabytes = 0;
}

}  // namespace

TranspositionTable::~TranspositionTable() { tt_free(*this); }

bool tt_allocate(TranspositionTable &table, int megabytes) {
    release(table);
    // More than an address of 32 bits reaches.
    if (static_cast<std::uint64_t>(megabytes) << 20 > PTRDIFF_MAX - table_bytes(table)) return false;
    table.count = static_cast<std::size_t>(megabytes) * ENTRIES_PER_MB;
    table.entries = static_cast<TtEntry *>(allocate_pages(table_bytes(table)));
    if (table.entries == nullptr) {
        table.count = 0;
        return false;
    }
    table.megabytes = megabytes;
    std::uint64_t size = 1;
    while (2 * size <= table.count) size *= 2;
    table.index_mask = size - 1;
    table.fresh = true;
    return true;
}

void tt_free(TranspositionTable &table) {
    release(table);
    table.enabled = 1;
    table.age = 0;
    table.off_by_size = false;
}

void tt_next_age(TranspositionTable &table) {
    constexpr int OLDEST = 15;
    table.age = static_cast<std::uint16_t>(table.age >= OLDEST ? 1 : table.age + 1);
}

void tt_warm(TranspositionTable &table) {
    tt_pause_warming(table);
    table.cold = all_entries(table);
    tt_resume_warming(table);
}

void tt_pause_warming(TranspositionTable &table) {
    table.warmer_stops = 1;
    if (table.warmer.joinable()) table.warmer.join();
}

void tt_resume_warming(TranspositionTable &table) {
    if (table.cold == 0) return;
    table.warmer_stops = 0;
    try {
        table.warmer = Thread([&table] { warm(table); });
    } catch (const std::system_error &) {  // searches find the memory
    }
}

void tt_clear_slice(TranspositionTable &table, int index, int count) {
    const std::size_t total = all_entries(table) - table.cold;
    const std::size_t slice = total / static_cast<std::size_t>(count);
    const std::size_t first = static_cast<std::size_t>(index) * slice;
    const std::size_t last = index == count - 1 ? total : first + slice;
    std::memset(static_cast<void *>(table.entries + first), 0, (last - first) * sizeof(TtEntry));
    if (index == count - 1 && table.cold != 0) renew_pages(table.entries + last, table.cold * sizeof(TtEntry));
}

TtHit tt_probe(const TranspositionTable &table, const Position &pos) {
    if (table.enabled == 0) return {};
    TtEntry *entry = bucket(table, pos.key);
    for (int i = 0; i < BUCKET_SIZE; ++i, ++entry) {
        const std::uint64_t key_word = entry->key_word;
        if (low_word(key_word) != low_word(pos.key)) continue;
        const std::uint64_t data = entry->data_word;
        if (check_word(pos.key, stored_move(data), stored_score(data)) != high_word(key_word)) return {};
        return {entry, stored_move(data), stored_score(data), stored_depth(data), stored_bound(data)};
    }
    return {};
}

void tt_store(TranspositionTable &table, const Position &pos, int ply, int depth, Move move, int score, int alpha,
              int beta) {
    if (table.enabled == 0) return;
    std::uint64_t bound = BOUND_UPPER;
    if (score > alpha) bound = score < beta ? BOUND_EXACT : BOUND_LOWER;
    // Mates count from this node, not from the root.
    if (score >= STORED_MATE_THRESHOLD)
        score += ply;
    else if (score < -STORED_MATE_THRESHOLD)
        score -= ply;

    TtEntry *start = bucket(table, pos.key);
    TtEntry *entry = nullptr;
    for (int i = 0; i < BUCKET_SIZE && entry == nullptr; ++i)
        if (low_word(start[i].key_word) == low_word(pos.key)) entry = start + i;
    if (entry != nullptr) {
        const std::uint64_t old = entry->data_word;
        if (depth < stored_depth(old) - SAME_POSITION_DEPTH_SLACK && pos.fifty <= stored_fifty(old)) return;
    } else {
        entry = victim(start, depth, table.age);
        if (entry == nullptr) return;
    }
    entry->key_word = low_word(pos.key) | static_cast<std::uint64_t>(check_word(pos.key, move, score)) << 32;
    entry->data_word = move | static_cast<std::uint64_t>(static_cast<std::uint16_t>(score)) << 16 |
                       static_cast<std::uint64_t>(static_cast<std::uint8_t>(depth)) << 32 | bound << 40 |
                       age_bits(table) | static_cast<std::uint64_t>(pos.fifty) << 56;
}

void tt_refresh_age(const TranspositionTable &table, TtEntry &entry) {
    // Most hits are of this search: not writing them leaves their cache lines to be shared by all threads.
    const std::uint64_t data = entry.data_word;
    if ((data & AGE_MASK) != age_bits(table)) entry.data_word = (data & ~AGE_MASK) | age_bits(table);
}

void tt_prefetch(const TranspositionTable &table, std::uint64_t key) {
    // A bucket is not aligned to its 64 bytes: two cache lines.
    const TtEntry *start = bucket(table, key);
    __builtin_prefetch(start);
    __builtin_prefetch(start + BUCKET_SIZE - 1);
}

double hash_fill(const TranspositionTable &table) {
    constexpr std::size_t SAMPLE = 1000;
    if (table.count < 3 * SAMPLE) return 0.0;
    int used = 0;
    for (std::size_t i = table.count / 2 - SAMPLE / 2; i < table.count / 2 + SAMPLE / 2; ++i)
        used += stored_age(table.entries[i].data_word) == table.age;
    return used * 0.001;
}
