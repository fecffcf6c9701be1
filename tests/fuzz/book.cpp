// An opening book. Every other entry gets the key of the position, so that there is something to find.
#include "board/fen.h"
#include "book/format.h"
#include "book/probe.h"
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::start();
    Position &pos = game->position;
    set_fen(pos, "r3k2r/P6P/8/8/8/8/p6p/R3K2R w KQkq -");
    std::string bytes(fuzz::text_of(data, size));
    const auto key = book_entry_bytes({polyglot_key(pos), 0, 0, 0});
    for (std::size_t at = 0; at + 16 <= bytes.size(); at += 32) bytes.replace(at, 8, key.data(), 8);
    fuzz::write_file("in.bin", bytes);
    settings.OwnBook_File.assign("in.bin");
    settings.OwnBook_Variety = static_cast<std::int16_t>(size % 101);
    noise = 0.0;
    probe_book(pos);
    return 0;
}
