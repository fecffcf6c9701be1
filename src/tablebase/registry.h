// Endgame tablebases in the Syzygy format.
//
// This folder finds, maps and reads table files (this header: the registry; table_file.h: layout, index, decoding of one
// file) and answers for whole positions (probe.h), on a small board of its own (board.h). It owns the registry and
// the mappings. Tables are parsed at their first probe and stay mapped until the next tb_setup.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
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

// A registered WDL file. Everything but `ready` and what tb_load_table fills is fixed by tb_setup.
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

// Most pieces of any registered table, 0 without tables. Written by tb_setup.
extern int tb_largest;

// Forgets all tables and registers those found in the directories of a path list. ';' separates directories, and ':'
// does where more than a single letter stands before it. An empty text or "<empty>" leaves no tables, silently; otherwise
// the number found is printed. Main thread, no search running.
void tb_setup(std::string_view paths);

// The table for a position's material, parsed and ready; null when there is none or its file cannot be used, which the
// first probe reports on standard error. Any thread; the first probe of a table waits for its file.
const TbTable *tb_find_table(std::uint64_t key);

// The DTZ table for a registered material; null when there is none or its file cannot be used. One thread at a time: the
// 64 most recently used stay loaded.
const TbDtzTable *tb_find_dtz_table(std::uint64_t key);
