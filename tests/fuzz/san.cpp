// A position and a move's text. A text that is read as a move is read so again when it is written out.
#include "board/fen.h"
#include "board/legality.h"
#include "board/notation.h"
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text = fuzz::text_of(data, size);
    const std::size_t line_end = std::min(text.find('\n'), text.size());
    Position &pos = fuzz::engine().game.position;
    set_fen(pos, text.substr(0, line_end));
    const std::string_view typed = text.substr(std::min(line_end + 1, text.size()));
    parse_coordinates(pos, typed);
    const ParsedMove parsed = parse_move(pos, typed);
    if (!parsed.found()) return 0;
    if (!is_legal(pos, pos.side, parsed.move)) std::abort();
    const ParsedMove again = parse_move(pos, move_to_san(pos, parsed.move)[0]);
    if (again.found() && again.move != parsed.move) std::abort();
    return 0;
}
