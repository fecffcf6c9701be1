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

namespace {

// Subtrees of this depth are counted in one go.
constexpr int UNWATCHED_DEPTH = 4;

// `depth` at least 0: the node itself.
bool perft_watched(SearchThread &thread, int ply, int depth, const PerftWatch &watch) {
    if (depth == 0) {
        ++thread.nodes;
        return true;
    }
    if (depth <= UNWATCHED_DEPTH) {
        perft(thread, ply, depth);
        return !watch.wants_to_end(watch.context);
    }
    const MoveEntry *end = legal_moves(thread, ply);
    bool goes_on = true;
    for (const MoveEntry *entry = thread.plies[ply].list; entry != end && goes_on; ++entry) {
        make_move(thread.position, entry->move);
        goes_on = perft_watched(thread, ply + 1, depth - 1, watch);
        unmake_move(thread.position);
    }
    return goes_on;
}

}  // namespace

bool perft_by_move(SearchThread &thread, int depth, const PerftWatch &watch) {
    const MoveEntry *end = legal_moves(thread, ROOT_PLY);
    for (const MoveEntry *entry = thread.plies[ROOT_PLY].list; entry != end; ++entry) {
        const std::uint64_t before = thread.nodes;
        make_move(thread.position, entry->move);
        const bool finished = perft_watched(thread, ROOT_PLY + 1, depth - 1, watch);
        unmake_move(thread.position);
        if (!finished) return false;
        watch.counted(watch.context, entry->move, thread.nodes - before);
    }
    return true;
}
