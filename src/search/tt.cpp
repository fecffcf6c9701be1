#include "search/tt.h"

#include <cstring>

#include "base/output.h"
#include "base/settings.h"
#include "board/hash_codes.h"
#include "platform/pages.h"
#include "search/search.h"
#include "search/threads.h"

Relaxed<std::uint8_t> hash_enabled(1);
std::uint16_t tt_age = 0;

namespace {

constexpr std::size_t ENTRIES_PER_MB = 65536;
constexpr std::size_t SLACK_ENTRIES = 16;
constexpr int SCORE_OFFSET = 15000;
constexpr int STORED_MATE_THRESHOLD = 9699;
constexpr int SAME_POSITION_DEPTH_SLACK = 3;
constexpr int NEW_POSITION_DEPTH_SLACK = 7;

// The table. Written by the main thread between searches.
TtEntry *table = nullptr;
std::size_t entry_count = 0;  // without the slack
std::uint64_t index_mask = 0;
int allocated_mb = 0;
bool table_is_fresh = false;  // straight from the system: all 0, but without memory behind it

std::size_t table_bytes() { return (entry_count + SLACK_ENTRIES) * sizeof(TtEntry); }

// White's positions (even keys) fill the table from its start, Black's (odd keys) from its end, so that a size that is
// no power of two is still used whole.
TtEntry *bucket(std::uint64_t key) {
    const std::uint64_t index = key & 0xFFFFFFFF & index_mask;
    return (key & 1) == 0 ? table + index : table + entry_count - index;
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
int stored_halfmove(std::uint64_t data) { return static_cast<std::uint8_t>(data >> 56); }

constexpr std::uint64_t AGE_MASK = std::uint64_t{0xFF} << 48;
std::uint64_t age_bits() { return static_cast<std::uint64_t>(tt_age & 0xFF) << 48; }

int entry_depth(const TtEntry *entry) { return stored_depth(entry->data_word); }

// Entry of the bucket that a new position of `depth` replaces, or nullptr.
TtEntry *victim(TtEntry *start, int depth) {
    for (int i = 0; i < BUCKET_SIZE; ++i)
        if (stored_age(start[i].data_word) != tt_age) return start + i;
    TtEntry *first = entry_depth(start + 1) < entry_depth(start) ? start + 1 : start;
    TtEntry *second = entry_depth(start + 3) < entry_depth(start + 2) ? start + 3 : start + 2;
    TtEntry *shallowest = entry_depth(second) < entry_depth(first) ? second : first;
    return depth >= entry_depth(shallowest) - NEW_POSITION_DEPTH_SLACK ? shallowest : nullptr;
}

}  // namespace

bool tt_allocate() {
    generate_hash_codes();
    tt_free();
    const int megabytes = settings.Hash;
    entry_count = static_cast<std::size_t>(megabytes) * ENTRIES_PER_MB;
    table = static_cast<TtEntry *>(allocate_pages(table_bytes()));
    if (table == nullptr) return false;
    allocated_mb = megabytes;
    std::uint64_t size = 1;
    while (2 * size <= entry_count) size *= 2;
    index_mask = size - 1;
    print_format("info string allocated %d Mbytes for hash table\n", megabytes);
    table_is_fresh = true;
    if (busy_threads() == 0) tt_clear();
    table_is_fresh = false;
    return true;
}

void tt_free() {
    free_pages(table, table_bytes());
    table = nullptr;
    entry_count = 0;
    index_mask = 0;
    allocated_mb = 0;
}

int tt_megabytes() { return allocated_mb; }

void tt_clear() { clear_hash_in_parallel(); }

void tt_clear_if_idle() {
    if (table != nullptr && hash_enabled != 0 && busy_threads() == 0) tt_clear();
}

void tt_clear_slice(int index, int count) {
    const std::size_t total = entry_count + SLACK_ENTRIES;
    const std::size_t slice = total / static_cast<std::size_t>(count);
    const std::size_t first = static_cast<std::size_t>(index) * slice;
    const std::size_t last = index == count - 1 ? total : first + slice;
    const std::size_t bytes = (last - first) * sizeof(TtEntry);
    if (table_is_fresh)
        touch_fresh_pages(table + first, bytes);
    else
        std::memset(static_cast<void *>(table + first), 0, bytes);
}

TtHit tt_probe(const Position &pos) {
    if (hash_enabled == 0) return {};
    TtEntry *entry = bucket(pos.key);
    for (int i = 0; i < BUCKET_SIZE; ++i, ++entry) {
        const std::uint64_t key_word = entry->key_word;
        if (low_word(key_word) != low_word(pos.key)) continue;
        const std::uint64_t data = entry->data_word;
        if (check_word(pos.key, stored_move(data), stored_score(data)) != high_word(key_word)) return {};
        return {entry, stored_move(data), stored_score(data), stored_depth(data), stored_bound(data)};
    }
    return {};
}

void tt_store(const Position &pos, int ply, int depth, Move move, int score, int alpha, int beta) {
    if (hash_enabled == 0) return;
    std::uint64_t bound = BOUND_UPPER;
    if (score > alpha) bound = score < beta ? BOUND_EXACT : BOUND_LOWER;
    // Mates count from this node, not from the root.
    if (score >= STORED_MATE_THRESHOLD)
        score += ply;
    else if (score < -STORED_MATE_THRESHOLD)
        score -= ply;

    TtEntry *start = bucket(pos.key);
    TtEntry *entry = nullptr;
    for (int i = 0; i < BUCKET_SIZE && entry == nullptr; ++i)
        if (low_word(start[i].key_word) == low_word(pos.key)) entry = start + i;
    if (entry != nullptr) {
        const std::uint64_t old = entry->data_word;
        if (depth < stored_depth(old) - SAME_POSITION_DEPTH_SLACK && pos.fifty <= stored_halfmove(old)) return;
    } else {
        entry = victim(start, depth);
        if (entry == nullptr) return;
    }
    entry->key_word = low_word(pos.key) | static_cast<std::uint64_t>(check_word(pos.key, move, score)) << 32;
    entry->data_word = move | static_cast<std::uint64_t>(static_cast<std::uint16_t>(score)) << 16 |
                       static_cast<std::uint64_t>(static_cast<std::uint8_t>(depth)) << 32 | bound << 40 | age_bits() |
                       static_cast<std::uint64_t>(pos.fifty) << 56;
}

void tt_refresh_age(TtEntry &entry) {
    // Most hits are of this search: not writing them leaves their cache lines to be shared by all threads.
    const std::uint64_t data = entry.data_word;
    if ((data & AGE_MASK) != age_bits()) entry.data_word = (data & ~AGE_MASK) | age_bits();
}

void tt_prefetch(std::uint64_t key) {
    // A bucket is not aligned to its 64 bytes: two cache lines.
    const TtEntry *start = bucket(key);
    __builtin_prefetch(start);
    __builtin_prefetch(start + BUCKET_SIZE - 1);
}

double hash_fill() {
    constexpr std::size_t SAMPLE = 1000;
    if (entry_count <= 2999) return 0.0;
    int used = 0;
    for (std::size_t i = entry_count / 2 - SAMPLE / 2; i < entry_count / 2 + SAMPLE / 2; ++i)
        used += stored_age(table[i].data_word) == tt_age;
    return used * 0.001;
}
