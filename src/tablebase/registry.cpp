#include "tablebase/registry.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "platform/files.h"

namespace {

constexpr int MOST_PAWNLESS_TABLES = 254;
constexpr int MOST_PAWN_TABLES = 256;
constexpr std::string_view TOO_MANY_PAWNLESS_TABLES = "TBMAX_PIECE limit too low!\n";
constexpr std::string_view TOO_MANY_PAWN_TABLES = "TBMAX_PAWN limit too low!\n";
constexpr std::string_view BUCKET_FULL = "HSHMAX too low!\n";

constexpr int BUCKET_SHIFT = 54;  // the top 10 bits of a key
static_assert(TB_BUCKETS == std::size_t{1} << (64 - BUCKET_SHIFT));

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

void warn(const TbReport &report, std::string_view text) {
    if (report.warn != nullptr) report.warn(report.context, text);
}

void fail(const TbReport &report, std::string_view text) {
    if (report.fail != nullptr) report.fail(report.context, text);
}

auto &bucket_of(Tablebases &tablebases, std::uint64_t key) { return tablebases.slots[key >> BUCKET_SHIFT]; }

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
std::string find_file(const Tablebases &tablebases, const std::string &name, const char *suffix) {
    for (const std::string &directory : tablebases.directories) {
        std::string path = path_in(directory, name, suffix);
        if (path.empty()) break;
        std::error_code error;
        if (!std::filesystem::is_regular_file(file_path(path), error)) continue;
        if (std::FILE *file = open_file(path.c_str(), "rb"); file != nullptr) {
            std::fclose(file);
            return path;
        }
    }
    return {};
}

void unmap_file(const TbReport &report, MappedFile &file) {
    if (const int error = file.unmap(); error != 0)
        warn(report, "unmap failed, error code " + std::to_string(error) + "\n");
}

// Maps a whole file. False after a report.
bool map_file(const Tablebases &tablebases, const std::string &name, const char *suffix, MappedFile &file) {
    const std::string path = find_file(tablebases, name, suffix);
    int error = 0;
    const MappedFile::Result result = path.empty() ? MappedFile::Result::CANNOT_OPEN : file.map(path, error);
    if (result == MappedFile::Result::CANNOT_OPEN) warn(tablebases.report, "Could not find " + name + suffix + "\n");
    if (result == MappedFile::Result::CANNOT_MAP)
        fail(tablebases.report,
             "MapViewOfFile() failed, name = " + name + suffix + ", error = " + std::to_string(error) + ".\n");
    return result == MappedFile::Result::MAPPED;
}

// Maps and parses a file. False after a report.
bool load_layout(const Tablebases &tablebases, const TbTable &table, TbKind kind, MappedFile &file,
                 std::unique_ptr<TbLayout> &layout) {
    if (!map_file(tablebases, table.name, kind == TbKind::WDL ? WDL_SUFFIX : DTZ_SUFFIX, file)) return false;
    layout = parse_tb_file(file.data(), file.size(), table.material, kind);
    if (layout != nullptr) return true;
    warn(tablebases.report, "Corrupted table.\n");
    unmap_file(tablebases.report, file);
    return false;
}

// Under the lock.
bool load_table(const Tablebases &tablebases, TbTable &table) {
    if (!load_layout(tablebases, table, TbKind::WDL, table.file, table.layout)) return false;
    table.ready.store(true, std::memory_order_release);
    return true;
}

bool enter_key(Tablebases &tablebases, std::uint64_t key, TbTable *table) {
    for (TbSlot &slot : bucket_of(tablebases, key)) {
        if (slot.table != nullptr) continue;
        slot.key.store(key, std::memory_order_relaxed);
        slot.table = table;
        return true;
    }
    return false;
}

struct Registration {
    Tablebases &tablebases;
    int pawnless_tables = 0;
    int pawn_tables = 0;
    std::string_view error = {};
};

void register_table(Registration &registration, const std::string &name) {
    Tablebases &tablebases = registration.tablebases;
    const TbCounts counts = tb_counts(name);
    TbTable &table = *tablebases.tables.emplace_back(std::make_unique<TbTable>());
    table.key = tb_material_key(counts, false);
    table.mirror_key = tb_material_key(counts, true);
    table.material = tb_material(counts);
    table.name = name;
    table.ready = false;
    if (table.material.pawn_table && registration.pawn_tables++ == MOST_PAWN_TABLES)
        registration.error = TOO_MANY_PAWN_TABLES;
    else if (!table.material.pawn_table && registration.pawnless_tables++ == MOST_PAWNLESS_TABLES)
        registration.error = TOO_MANY_PAWNLESS_TABLES;
    else if (!enter_key(tablebases, table.key, &table) ||
             (!table.material.symmetric && !enter_key(tablebases, table.mirror_key, &table)))
        registration.error = BUCKET_FULL;
    tablebases.largest = std::max(tablebases.largest, table.material.num);
}

void try_table(Registration &registration, std::string_view white, std::string_view black) {
    const std::string name = "K" + std::string(white) + "vK" + std::string(black);
    if (registration.error.empty() && !find_file(registration.tablebases, name, WDL_SUFFIX).empty())
        register_table(registration, name);
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
void register_all(Registration &registration) {
    constexpr struct {
        std::size_t white, black;
    } PATTERNS[] = {{1, 0}, {1, 1}, {2, 0}, {2, 1}, {3, 0}, {2, 2}, {3, 1}, {4, 0}};
    for (const auto &pattern : PATTERNS) {
        const std::vector<std::string> whites = piece_groups(pattern.white);
        const std::vector<std::string> blacks = piece_groups(pattern.black);
        for (std::size_t w = 0; w < whites.size(); ++w)
            for (std::size_t b = pattern.white == pattern.black ? w : 0; b < blacks.size(); ++b)
                try_table(registration, whites[w], blacks[b]);
    }
}

void release_all(Tablebases &tablebases) {
    for (auto &table : tablebases.tables) unmap_file(tablebases.report, table->file);
    for (auto &entry : tablebases.dtz_cache) {
        if (entry != nullptr) unmap_file(tablebases.report, entry->file);
        entry.reset();
    }
    for (auto &bucket : tablebases.slots) {
        for (TbSlot &slot : bucket) {
            slot.key.store(0, std::memory_order_relaxed);
            slot.table = nullptr;
        }
    }
    tablebases.tables.clear();
    tablebases.directories.clear();
    tablebases.largest = 0;
}

TbSlot *find_slot(Tablebases &tablebases, std::uint64_t key) {
    for (TbSlot &slot : bucket_of(tablebases, key))
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
        const auto add = [&key, own = colours[colour], colour](Bitboard pieces, PieceType type) {
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

TbSetup tb_setup(Tablebases &tablebases, std::string_view paths) {
    release_all(tablebases);
    if (paths.empty() || paths == "<empty>") return {};
    tablebases.directories = split_paths(paths);
    Registration registration{tablebases};
    register_all(registration);
    if (!registration.error.empty()) release_all(tablebases);
    return {true, tablebases.tables.size(), registration.error};
}

const TbTable *tb_find_table(Tablebases &tablebases, std::uint64_t key) {
    TbSlot *slot = find_slot(tablebases, key);
    if (slot == nullptr) return nullptr;
    TbTable &table = *slot->table;
    if (!table.ready.load(std::memory_order_acquire)) {
        const std::lock_guard<std::mutex> guard(tablebases.lock);
        if (slot->key.load(std::memory_order_relaxed) != key) return nullptr;  // has just failed in another thread
        if (!table.ready.load(std::memory_order_relaxed) && !load_table(tablebases, table)) {
            slot->key.store(0, std::memory_order_relaxed);
            return nullptr;
        }
    }
    return &table;
}

const TbDtzTable *tb_find_dtz_table(Tablebases &tablebases, std::uint64_t key) {
    auto &cache = tablebases.dtz_cache;
    const auto usable = [](const TbDtzTable &entry) { return entry.layout != nullptr ? &entry : nullptr; };
    const auto found = std::find_if(cache.begin(), cache.end(), [key](const auto &entry) {
        return entry != nullptr && (entry->key == key || entry->mirror_key == key);
    });
    if (found != cache.end()) {
        std::rotate(cache.begin(), found, found + 1);
        return usable(*cache.front());
    }
    const TbSlot *slot = find_slot(tablebases, key);
    if (slot == nullptr) return nullptr;
    if (cache.back() != nullptr) unmap_file(tablebases.report, cache.back()->file);
    std::rotate(cache.begin(), cache.end() - 1, cache.end());
    const TbTable &table = *slot->table;
    cache.front() = std::make_unique<TbDtzTable>();
    TbDtzTable &entry = *cache.front();
    entry.key = table.key;
    entry.mirror_key = table.mirror_key;
    entry.material = &table.material;
    load_layout(tablebases, table, TbKind::DTZ, entry.file, entry.layout);
    return usable(entry);
}
