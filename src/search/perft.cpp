#include "board/checks.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "search/search.h"

namespace {

// The legal moves of the side to move into the list of a ply. Returns their end.
MoveEntry *legal_moves(SearchThread &thread, int ply) {
    const Position &pos = thread.position;
    const Colour side = pos.side;
    const Square checker = checker_of(pos, side);
    MoveEntry *list = thread.plies[ply].list;
    const MoveEntry *end = gen_moves(pos, side, list, checker);
    const Pins pins(pos, side, checker != NO_SQUARE);
    MoveEntry *kept = list;
    for (const MoveEntry *entry = list; entry != end; ++entry)
        if (is_legal(pos, side, entry->move, pins)) *kept++ = *entry;
    thread.plies[ply + 1].list = kept;
    return kept;
}

}  // namespace

void perft(SearchThread &thread, int ply, int depth) {
    const MoveEntry *end = legal_moves(thread, ply);
    const MoveEntry *list = thread.plies[ply].list;
    if (depth == 1) {
        thread.nodes += static_cast<std::uint64_t>(end - list);
        return;
    }
    for (const MoveEntry *entry = list; entry != end; ++entry) {
        make_move(thread.position, entry->move);
        perft(thread, ply + 1, depth - 1);
        unmake_move(thread.position);
    }
}
