// Endgame tablebases in the Syzygy format.
//
// This folder finds, maps and reads table files (this header: the registry; table_file.h: layout of one file; index.h and
// decode.h: a value in it) and answers for whole positions (probe.h), on a small board of its own (board.h). `Tablebases`
// owns the registry and the mappings; two of them know nothing of each other. Tables are parsed at their first probe and
// stay mapped until the next tb_setup.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/mapping.h"
#include "tablebase/board.h"
#include "tablebase/table_file.h"

// Key of a set of pieces: a sum over the pieces other than kings, modulo 2^64; 0 for bare kings. The mirrored key is
// that of the same pieces with the colours exchanged.
std::uint64_t tb_material_key(const TbCounts &counts, bool mirrored);
std::uint64_t tb_material_key(const TbPosition &pos, bool mirrored);

// What happens to files while positions are probed. Null: not told. Any thread calls, several at once.
struct TbReport {
    void *context = nullptr;
    // A file that cannot be used, or one that cannot be released; the text ends with a line feed.
    void (*warn)(void *context, std::string_view text) = nullptr;
    // The system has refused to map a file. When this returns, the table counts as unusable.
    void (*fail)(void *context, std::string_view text) = nullptr;
};

// A registered WDL file. Everything but `ready` and what is read from the file is fixed by tb_setup.
struct TbTable {
    std::uint64_t key;
    std::uint64_t mirror_key;
    TbMaterial material;
    std::string name;  // "KQvKR"
    std::atomic<bool> ready;
    MappedFile file;
    std::unique_ptr<TbLayout> layout;
};

// A loaded DTZ file.
struct TbDtzTable {
    std::uint64_t key;
    std::uint64_t mirror_key;
    const TbMaterial *material;
    MappedFile file;
    std::unique_ptr<TbLayout> layout;  // null when the file is missing or damaged
};

// Entry of the hash table of material keys.
struct TbSlot {
    std::atomic<std::uint64_t> key{0};  // 0: empty, or a table that cannot be used
    TbTable *table = nullptr;
};
constexpr std::size_t TB_BUCKETS = 1024;
constexpr std::size_t TB_BUCKET_SLOTS = 5;
constexpr std::size_t TB_DTZ_ENTRIES = 64;

// All tables of one path list. Written by tb_setup, but for what other comments say; read by any thread.
struct Tablebases {
    int largest = 0;  // most pieces of any registered table, 0 without tables
    TbReport report;  // the owner's, set before the first probe
    std::vector<std::string> directories;
    std::vector<std::unique_ptr<TbTable>> tables;
    std::array<std::array<TbSlot, TB_BUCKET_SLOTS>, TB_BUCKETS>
        slots;        // [bucket][place]; keys are cleared under `lock`
    std::mutex lock;  // of first probes
    // Loaded DTZ tables, most recently used first. The one thread that asks for distances.
    std::array<std::unique_ptr<TbDtzTable>, TB_DTZ_ENTRIES> dtz_cache;
};

// What tb_setup found.
struct TbSetup {
    bool searched = false;   // false: the path list was empty
    std::size_t tables = 0;  // registered
    std::string_view error;  // not empty: a limit was exceeded, and no table is registered; ends with a line feed
};

// Forgets all tables and registers those found in the directories of a path list. ';' separates directories, and ':'
// does where more than a single letter stands before it. An empty text or "<empty>" leaves no tables. No probe running.
TbSetup tb_setup(Tablebases &tablebases, std::string_view paths);

// The table for a position's material, parsed and ready; null when there is none or its file cannot be used, which the
// first probe reports. Any thread; the first probe of a table waits for its file.
const TbTable *tb_find_table(Tablebases &tablebases, std::uint64_t key);

// The DTZ table for a registered material; null when there is none or its file cannot be used. One thread at a time: the
// 64 most recently used stay loaded.
const TbDtzTable *tb_find_dtz_table(Tablebases &tablebases, std::uint64_t key);
