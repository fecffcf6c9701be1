// A position and a move's text. A text that is read as a move is read so again when it is written out.
#include "board/fen.h"
#include "board/legality.h"
#include "board/notation.h"
#include "harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::start();
    const std::string_view text = fuzz::text_of(data, size);
    const std::size_t line_end = std::min(text.find('\n'), text.size());
    Position &pos = game->position;
    set_fen(pos, text.substr(0, line_end));
    const std::string_view typed = text.substr(std::min(line_end + 1, text.size()));
    Move move = NO_MOVE;
    parse_coordinates(pos, typed);
    if (!parse_move(pos, typed, move)) return 0;
    Move again = NO_MOVE;
    if (!is_legal(pos, pos.side, move)) std::abort();
    if (parse_move(pos, move_to_san(pos, move)[0], again) && again != move) std::abort();
    return 0;
}
