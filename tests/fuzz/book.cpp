// An opening book. Every other entry gets the key of the position, so that there is something to find.
#include "board/fen.h"
#include "book/format.h"
#include "book/probe.h"
#include "frontend/book_listing.h"
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    Position &pos = fuzz::engine().game.position;
    set_fen(pos, "r3k2r/P6P/8/8/8/8/p6p/R3K2R w KQkq -");
    std::string bytes(fuzz::text_of(data, size));
    const auto key = book_entry_bytes({polyglot_key(pos), 0, 0, 0});
    for (std::size_t at = 0; at + 16 <= bytes.size(); at += 32) bytes.replace(at, 8, key.data(), 8);
    fuzz::write_file("in.bin", bytes);
    RandomGenerator random;
    print_book_draw(probe_book(pos, {"in.bin", static_cast<int>(size % 101)}, random), BookProtocol::CONSOLE, 0.0);
    return 0;
}
