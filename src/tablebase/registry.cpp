#include "tablebase/registry.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>

int tb_largest = 0;

namespace {

constexpr std::size_t TBMAX_PIECE = 254;
constexpr std::size_t TBMAX_PAWN = 256;
constexpr std::size_t HSHMAX = 5;
constexpr std::size_t BUCKETS = 1024;
constexpr int BUCKET_SHIFT = 54;  // the top 10 bits of a key
constexpr std::size_t DTZ_ENTRIES = 64;
constexpr std::size_t LONGEST_PATH = 259;
constexpr const char *WDL_SUFFIX = ".rtbw";
constexpr const char *DTZ_SUFFIX = ".rtbz";
constexpr std::string_view LETTERS = "QRBNP";  // in the order of preference

// [piece code]; 0 for kings.
constexpr std::array<std::uint64_t, 16> PRIMES = {
    0,
    17008651141875982339U,  // white pawn
    15202887380319082783U,  // white knight
    12311744257139811149U,  // white bishop
    10979190538029446137U,  // white rook
    11811845319353239651U,  // white queen
    0,
    0,
    0,
    11695583624105689831U,  // black pawn
    13469005675588064321U,  // black knight
    15394650811035483107U,  // black bishop
    18264461213049635989U,  // black rook
    15484752644942473553U,  // black queen
    0,
    0,
};

struct HashSlot {
    std::atomic<std::uint64_t> key{0};  // 0: empty, or a table that cannot be used
    TbTable *table = nullptr;
};
using Bucket = std::array<HashSlot, HSHMAX>;

// The registry. Written by tb_setup; slots' keys and the tables' contents under tb_lock at first probes.
std::vector<std::string> directories;
std::vector<std::unique_ptr<TbTable>> tables;
std::size_t pawnless_tables = 0;
std::size_t pawn_tables = 0;
std::array<Bucket, BUCKETS> key_hash;
std::mutex tb_lock;

// Loaded DTZ tables, most recently used first. Thread 0.
std::array<std::unique_ptr<TbDtzTable>, DTZ_ENTRIES> dtz_cache;

[[noreturn]] void give_up(const std::string &message) {
    std::fputs(message.c_str(), stderr);
    std::fflush(nullptr);
    std::_Exit(1);  // other threads may be running
}

Bucket &bucket_of(std::uint64_t key) { return key_hash[key >> BUCKET_SHIFT]; }

// Splits at ';', and at ':' unless it ends a drive letter. Empty parts are dropped.
std::vector<std::string> split_paths(std::string_view paths) {
    std::vector<std::string> parts;
    std::string part;
    const auto end_part = [&parts, &part] {
        if (!part.empty()) parts.push_back(part);
        part.clear();
    };
    for (const char c : paths) {
        const bool drive =
            c == ':' && part.size() == 1 && ((part[0] >= 'A' && part[0] <= 'Z') || (part[0] >= 'a' && part[0] <= 'z'));
        if (c == ';' || (c == ':' && !drive))
            end_part();
        else
            part += c;
    }
    end_part();
    return parts;
}

// Path of a file in a directory; empty when it would be too long.
std::string path_in(const std::string &directory, const std::string &name, const char *suffix) {
    std::string path = directory + "/" + name + suffix;
    if (path.size() > LONGEST_PATH) path.clear();
    return path;
}

// Path of the first directory's file that can be opened, or an empty text.
std::string tb_open_file(const std::string &name, const char *suffix) {
    for (const std::string &directory : directories) {
        const std::string path = path_in(directory, name, suffix);
        if (path.empty()) break;
        std::error_code error;
        if (!std::filesystem::is_regular_file(path, error)) continue;
        if (std::FILE *file = std::fopen(path.c_str(), "rb"); file != nullptr) {
            std::fclose(file);
            return path;
        }
    }
    return {};
}

// Maps a whole file. False when it cannot be opened.
bool tb_map_file(const std::string &name, const char *suffix, MappedFile &file) {
    const std::string path = tb_open_file(name, suffix);
    int error = 0;
    if (path.empty()) return false;
    const MappedFile::Result result = file.map(path, error);
    if (result == MappedFile::Result::CANNOT_MAP)
        give_up("MapViewOfFile() failed, name = " + name + suffix + ", error = " + std::to_string(error) + ".\n");
    return result == MappedFile::Result::MAPPED;
}

void tb_unmap_file(MappedFile &file) {
    if (const int error = file.unmap(); error != 0) std::fprintf(stderr, "unmap failed, error code %d\n", error);
}

// Maps and parses a file. False after a line on standard error.
bool load_layout(const std::string &name, const TbMaterial &material, TbKind kind, MappedFile &file,
                 std::unique_ptr<TbLayout> &layout) {
    const char *suffix = kind == TbKind::WDL ? WDL_SUFFIX : DTZ_SUFFIX;
    if (!tb_map_file(name, suffix, file)) {
        std::fprintf(stderr, "Could not find %s%s\n", name.c_str(), suffix);
        return false;
    }
    layout = parse_tb_file(file.data(), file.size(), material, kind);
    if (layout != nullptr) return true;
    std::fprintf(stderr, "Corrupted table.\n");
    tb_unmap_file(file);
    return false;
}

// Under tb_lock.
bool tb_load_table(TbTable &table) {
    if (!load_layout(table.name, table.material, TbKind::WDL, table.file, table.layout)) return false;
    table.ready.store(true, std::memory_order_release);
    return true;
}

void enter_key(std::uint64_t key, TbTable *table) {
    for (HashSlot &slot : bucket_of(key)) {
        if (slot.table != nullptr) continue;
        slot.key.store(key, std::memory_order_relaxed);
        slot.table = table;
        return;
    }
    give_up("HSHMAX too low!\n");
}

void register_table(const std::string &name) {
    const TbCounts counts = tb_counts(name);
    auto table = std::make_unique<TbTable>();
    table->key = tb_material_key(counts, false);
    table->mirror_key = tb_material_key(counts, true);
    table->material = tb_material(counts);
    table->name = name;
    table->ready = false;
    if (table->material.pawn_table) {
        if (pawn_tables++ == TBMAX_PAWN) give_up("TBMAX_PAWN limit too low!\n");
    } else {
        if (pawnless_tables++ == TBMAX_PIECE) give_up("TBMAX_PIECE limit too low!\n");
    }
    tb_largest = std::max(tb_largest, table->material.num);
    enter_key(table->key, table.get());
    if (!table->material.symmetric) enter_key(table->mirror_key, table.get());
    tables.push_back(std::move(table));
}

void try_table(std::string_view white, std::string_view black) {
    const std::string name = "K" + std::string(white) + "vK" + std::string(black);
    if (!tb_open_file(name, WDL_SUFFIX).empty()) register_table(name);
}

// All groups of `count` letters, each at or after the one before it.
std::vector<std::string> piece_groups(std::size_t count) {
    if (count == 0) return {""};
    std::vector<std::string> groups;
    for (const std::string &shorter : piece_groups(count - 1))
        for (std::size_t i = shorter.empty() ? 0 : LETTERS.find(shorter.back()); i < LETTERS.size(); ++i)
            groups.push_back(shorter + LETTERS[i]);
    return groups;
}

// Every material of up to six pieces, each once: with as many pieces on both sides the second group is not before the
// first.
void register_all() {
    constexpr struct {
        std::size_t white, black;
    } PATTERNS[] = {{1, 0}, {1, 1}, {2, 0}, {2, 1}, {3, 0}, {2, 2}, {3, 1}, {4, 0}};
    for (const auto &pattern : PATTERNS) {
        const std::vector<std::string> whites = piece_groups(pattern.white);
        const std::vector<std::string> blacks = piece_groups(pattern.black);
        for (std::size_t w = 0; w < whites.size(); ++w)
            for (std::size_t b = pattern.white == pattern.black ? w : 0; b < blacks.size(); ++b)
                try_table(whites[w], blacks[b]);
    }
}

void release_all() {
    for (auto &table : tables) tb_unmap_file(table->file);
    for (auto &entry : dtz_cache) {
        if (entry != nullptr) tb_unmap_file(entry->file);
        entry.reset();
    }
    for (Bucket &bucket : key_hash) {
        for (HashSlot &slot : bucket) {
            slot.key.store(0, std::memory_order_relaxed);
            slot.table = nullptr;
        }
    }
    tables.clear();
    directories.clear();
    pawnless_tables = pawn_tables = 0;
    tb_largest = 0;
}

HashSlot *find_slot(std::uint64_t key) {
    for (HashSlot &slot : bucket_of(key))
        if (slot.key.load(std::memory_order_relaxed) == key) return &slot;
    return nullptr;
}

}  // namespace

std::uint64_t tb_material_key(const TbCounts &counts, bool mirrored) {
    std::uint64_t key = 0;
    for (std::size_t piece = 0; piece < counts.size(); ++piece)
        key += counts[piece] * PRIMES[mirrored ? piece ^ 8 : piece];
    return key;
}

std::uint64_t tb_material_key(const TbPosition &pos, bool mirrored) {
    const Bitboard colours[] = {mirrored ? pos.black : pos.white, mirrored ? pos.white : pos.black};
    std::uint64_t key = 0;
    for (const Colour colour : {WHITE, BLACK}) {
        const auto add = [&key, own = colours[colour], colour](Bitboard pieces, int type) {
            key += static_cast<std::uint64_t>(popcount(pieces & own)) * PRIMES[make_piece(colour, type)];
        };
        add(pos.queens, QUEEN);
        add(pos.rooks, ROOK);
        add(pos.bishops, BISHOP);
        add(pos.knights, KNIGHT);
        add(pos.pawns, PAWN);
    }
    return key;
}

void tb_setup(std::string_view paths) {
    release_all();
    if (paths.empty() || paths == "<empty>") return;
    directories = split_paths(paths);
    register_all();
    std::printf("info string found %zu tablebases\n", tables.size());
    std::fflush(stdout);
}

const TbTable *tb_find_table(std::uint64_t key) {
    HashSlot *slot = find_slot(key);
    if (slot == nullptr) return nullptr;
    TbTable &table = *slot->table;
    if (!table.ready.load(std::memory_order_acquire)) {
        const std::lock_guard<std::mutex> guard(tb_lock);
        if (slot->key.load(std::memory_order_relaxed) != key) return nullptr;  // has just failed in another thread
        if (!table.ready.load(std::memory_order_relaxed) && !tb_load_table(table)) {
            slot->key.store(0, std::memory_order_relaxed);
            return nullptr;
        }
    }
    return &table;
}

const TbDtzTable *tb_find_dtz_table(std::uint64_t key) {
    const auto usable = [](const std::unique_ptr<TbDtzTable> &entry) {
        return entry->layout != nullptr ? entry.get() : nullptr;
    };
    const auto found = std::find_if(dtz_cache.begin(), dtz_cache.end(), [key](const auto &entry) {
        return entry != nullptr && (entry->key == key || entry->mirror_key == key);
    });
    if (found != dtz_cache.end()) {
        std::rotate(dtz_cache.begin(), found, found + 1);
        return usable(dtz_cache.front());
    }
    const HashSlot *slot = find_slot(key);
    if (slot == nullptr) return nullptr;
    if (dtz_cache.back() != nullptr) tb_unmap_file(dtz_cache.back()->file);
    std::rotate(dtz_cache.begin(), dtz_cache.end() - 1, dtz_cache.end());
    const TbTable &table = *slot->table;
    dtz_cache.front() = std::make_unique<TbDtzTable>();
    TbDtzTable &entry = *dtz_cache.front();
    entry.key = table.key;
    entry.mirror_key = table.mirror_key;
    entry.material = &table.material;
    load_layout(table.name, table.material, TbKind::DTZ, entry.file, entry.layout);
    return usable(dtz_cache.front());
}
