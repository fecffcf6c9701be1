// A FEN text and every move of the position that comes of it.
#include "board/fen.h"
#include "board/exchange.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "book/format.h"
#include "harness.h"
#include "tablebase/board.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    Position &pos = fuzz::engine().game.position;
    set_fen(pos, fuzz::text_of(data, size));
    const std::string fen = get_fen(pos);
    set_fen(pos, fen);
    if (get_fen(pos) != fen) std::abort();
    board_text(pos);
    polyglot_key(pos);
    tb_is_valid(tb_position(pos, 0));
    MoveList list;
    const MoveEntry *end = gen_legal(pos, list.data());
    for (const MoveEntry *entry = list.data(); entry != end; ++entry) {
        move_to_san(pos, entry->move);
        see_value(pos, pos.side, from_square(entry->move), to_square(entry->move), pos.occupied(), true);
        make_move(pos, entry->move);
        unmake_move(pos);
        if (get_fen(pos) != fen) std::abort();
    }
    return 0;
}
