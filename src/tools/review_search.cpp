#include "tools/review_search.h"

#include <algorithm>

#include "base/output.h"
#include "board/checks.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/repetition.h"
#include "book/format.h"
#include "book/probe.h"
#include "search/search.h"
#include "search/threads.h"

namespace {

constexpr int LINE_PLIES = 8;

// Smaller limits, for the moves that were not played.
constexpr int SHALLOWER = 3;  // plies
constexpr int PART = 4;       // of time and nodes

class GameSearch {
public:
    GameSearch(Worker &worker, const PgnGame &game, std::vector<Move> moves, const SearchLimits &limits)
        : worker_(worker),
          engine_(worker.engine),
          pos_(worker.engine.game.position),
          game_(game),
          moves_(std::move(moves)),
          limits_(limits) {
        searched_.moves.resize(moves_.size());
        searched_.positions.resize(moves_.size() + 1);
        searched_.better_lines.resize(moves_.size());
    }

    // The position is that after all moves when it begins.
    SearchedGame run() {
        clear_table_if_idle(engine_.shared);
        forget_searches(engine_.shared);
        engine_.shared.table.age = 0;
        const std::size_t first = book_moves();
        if (first == moves_.size()) return std::move(searched_);
        for (std::size_t i = moves_.size() + 1; i-- > first;) {
            search_position(i);
            if (worker_.stopped()) return {};
            if (i > first) unmake_move(pos_);
        }
        play_to_end(first);
        find_only_moves(first);
        return std::move(searched_);
    }

private:
    void play_to_end(std::size_t from) {
        for (std::size_t i = from; i < moves_.size(); ++i) make_move(pos_, moves_[i]);
    }

    // The number of moves at the start that the book knows.
    std::size_t book_moves() {
        const Settings &settings = engine_.settings;
        const BookOptions options{settings.OwnBook_File.view(), settings.OwnBook_Variety};
        if (options.file.empty()) return 0;
        for (std::size_t i = 0; i < moves_.size(); ++i) unmake_move(pos_);
        RandomGenerator random;  // which move is drawn does not matter
        std::size_t known = 0;
        while (known < moves_.size() && known < static_cast<std::size_t>(settings.OwnBook_Depth)) {
            const BookDraw draw = probe_book(pos_, options, random);
            const Move move = moves_[known];
            const bool found = std::any_of(draw.choices.begin(), draw.choices.end(), [move](const BookChoice &choice) {
                return move_from_book(choice.move) == move;
            });
            if (!found) break;
            make_move(pos_, move);
            ++known;
        }
        play_to_end(known);
        return known;
    }

    // Scores position `i`, which stands on the board, and judges the move that was played from there.
    void search_position(std::size_t i) {
        SearchedGame::PositionScore &found = searched_.positions[i];
        const bool last = i == moves_.size();
        if (no_legal_moves(pos_)) {
            found = {true, checker_of(pos_, pos_.side) != NO_SQUARE ? ROOT_PLY - MATE : 0};
            return;
        }
        if (last && (pos_.fifty >= FIFTY_MOVES || drawn_before_search(pos_))) {
            found = {true, 0};
            return;
        }
        const SearchResult result = search(engine_, limits_, worker_.poll);
        ++searched_.searched;
        found = {result.best != NO_MOVE && result.depth > 0, result.score};
        if (last || !found.known || !searched_.positions[i + 1].known) return;
        ScoredMove &move = searched_.moves[i];
        move = {true, result.best == moves_[i], false, found.score, -searched_.positions[i + 1].score};
        if (!move.best && lost_chances(move.before, move.after) >= INACCURACY_LOSS)
            searched_.better_lines[i] = line_text(i, result.pv);
    }

    std::string line_text(std::size_t i, const Line &pv) {
        std::string text;
        int plies = 0;
        for (; plies < LINE_PLIES && pv[plies + 1] != NO_MOVE && is_legal_move(pos_, pv[plies + 1]); ++plies) {
            if (plies > 0) text += ' ';
            if (pos_.side == WHITE || plies == 0) text += move_number(game_, i + static_cast<std::size_t>(plies)) + ' ';
            text += play_as_text(pos_, pv[plies + 1]);
        }
        for (; plies > 0; --plies) unmake_move(pos_);
        return text;
    }

    // Among the best moves, those without an alternative. A second pass: what is searched without the best moves is not
    // to be found in the hash table by the first.
    void find_only_moves(std::size_t first) {
        for (std::size_t i = moves_.size(); i-- > first && !worker_.stopped();) {
            unmake_move(pos_);
            ScoredMove &move = searched_.moves[i];
            if (move.judged && move.best && !recaptures(i)) move.only = has_no_alternative(move, moves_[i]);
        }
    }

    bool recaptures(std::size_t i) const {
        if (i == 0) return false;
        const UndoEntry &before = engine_.game.history.undo[static_cast<std::size_t>(engine_.game.plies()) - 1];
        return before.captured != NO_TYPE && to_square(before.move) == to_square(moves_[i]);
    }

    bool has_no_alternative(const ScoredMove &move, Move best) {
        if (!is_only_move(move.before, -MATE)) return false;
        SearchLimits limits = limits_;
        MoveList list;
        const MoveEntry *end = gen_legal(pos_, list.data());
        for (const MoveEntry *entry = list.data(); entry != end; ++entry)
            if (entry->move != best) limits.root_moves.push_back(entry->move);
        if (limits.root_moves.empty()) return false;
        if (limits.max_depth < MAX_DEPTH) limits.max_depth = std::max(limits.max_depth - SHALLOWER, 1);
        if (limits.node_limit > 0) limits.node_limit = std::max<std::int64_t>(limits.node_limit / PART, 1);
        limits.time_per_move /= PART;
        const SearchResult result = search(engine_, limits, worker_.poll);
        return result.best != NO_MOVE && result.depth > 0 && is_only_move(move.before, result.score);
    }

    Worker &worker_;
    Engine &engine_;
    Position &pos_;
    const PgnGame &game_;
    std::vector<Move> moves_;
    SearchLimits limits_;
    SearchedGame searched_;
};

}  // namespace

SearchedGame search_game(Worker &worker, PgnGame &game, const SearchLimits &limits) {
    std::vector<Move> moves = play_out(worker.engine.game.position, game);
    if (moves.empty()) return {};
    return GameSearch(worker, game, std::move(moves), limits).run();
}
