// A position, every move of it, and on a second line the text of a move.
#include "board/exchange.h"
#include "board/fen.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "book/format.h"
#include "harness.h"
#include "tablebase/board.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text = fuzz::text_of(data, size);
    const std::size_t line_end = std::min(text.find('\n'), text.size());
    Position &pos = fuzz::engine().game.position;
    set_fen(pos, text.substr(0, line_end));
    const std::string fen = get_fen(pos);
    const auto expect_unchanged = [&] {
        if (get_fen(pos) != fen) std::abort();
    };
    set_fen(pos, fen);
    expect_unchanged();
    board_text(pos);
    polyglot_key(pos);
    tb_is_valid(tb_position(pos, 0));
    for (int m = 0; m < 65536; m += 7) is_pseudo_legal(pos, static_cast<Move>(m), pos.side);
    MoveList list;
    const MoveEntry *end = gen_legal(pos, list.data());
    for (const MoveEntry *entry = list.data(); entry != end; ++entry) {
        move_to_san(pos, entry->move);
        see_value(pos, pos.side, from_square(entry->move), to_square(entry->move), true);
        make_move(pos, entry->move);
        unmake_move(pos);
        expect_unchanged();
    }
    // A text that is read as a move is read so again when it is written out.
    const ParsedMove parsed = parse_move(pos, text.substr(std::min(line_end + 1, text.size())));
    if (!parsed.found()) return 0;
    const ParsedMove again = parse_move(pos, move_to_san(pos, parsed.move)[0]);
    if (!is_legal(pos, pos.side, parsed.move) || (again.found() && again.move != parsed.move)) std::abort();
    return 0;
}
