// Single nodes and pickers in states that rows of data describe, and whole searches of fixed depth.
#include <climits>
#include <map>
#include <sstream>
#include <utility>

#include "engine_fixture.h"
#include "search/picker.h"

namespace {

// A row's state is a list of words "name=value". What a word sets stands in `enter`; the heads of the tables explain them.
class NodeTest : public EngineTest {
protected:
    int number(const char *name, int otherwise = 0) const {
        const auto found = state.find(name);
        return found == state.end() ? otherwise : std::stoi(found->second);
    }
    // A legal move, or any other by its squares alone.
    Move move(const std::string &name) const {
        const auto found = state.find(name);
        if (found == state.end()) return NO_MOVE;
        const std::string &text = found->second;
        const Move legal = parse_coordinates(pos, text);
        const auto square = [&text](std::size_t i) { return square_at((text[i + 1] - '1') * 8 + text[i] - 'a'); };
        return legal != NO_MOVE ? legal : make_move_word(square(0), square(2));
    }

    void read_state(const std::string &words) {
        state.clear();
        std::istringstream in(words);
        for (std::string word; in >> word;) state[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
    }

    // Sets the game, the settings and the tables, and clears what earlier rows have left.
    void enter_game(const std::string &fen, const std::string &words) {
        read_state(words);
        set_fen(pos, fen);
        pos.fifty = static_cast<std::uint8_t>(number("fifty"));
        std::string game = state.contains("game") ? state["game"] : "";
        std::replace(game.begin(), game.end(), ',', ' ');
        play(game);
        ASSERT_EQ(unsearchable_reason(pos), "") << fen;
        engine.settings_changed = std::exchange(has_settings, false);
        engine.settings.search = {};
        for (const auto &[name, value] : state)
            if (const Option *option = option_of_console(name); option != nullptr) {
                store_number(engine.settings, *option, std::stoi(value));
                engine.settings_changed = has_settings = true;
            }
        engine.settings.MultiPV = static_cast<std::int16_t>(number("MultiPV", 1));
        engine.settings.SyzygyProbeDepth5 = static_cast<std::int16_t>(number("probe_depth"));
        const bool tables = number("tables") != 0;
        if (tables != (engine.shared.tablebases.largest > 0))
            tb_setup(engine.shared.tablebases, tables ? test_data("syzygy") : "");
        clear_table(engine.shared);
    }

    MoveEntry led_here(const char *name) const {
        const Move m = move(name);
        return {m, m == NO_MOVE ? Piece{NO_PIECE} : pos.board[to_square(m)], NO_PIECE};
    }

    // The game position as the node that two moves of a search have led to.
    SearchThread &enter(const std::string &fen, const std::string &words) {
        enter_game(fen, words);
        begin_search(engine, depth_limits(0), REQUEST_SEARCH);
        search_here(engine);
        SearchThread &thread = this->thread();
        SearchShared &shared = engine.shared;
        shared.stop_flag = STOP_NONE;
        shared.seed = static_cast<std::uint32_t>(number("seed"));
        shared.params.random_reduction_rate = number("rate");
        thread.nodes = thread.hash_probes = 0;
        thread.eval.iteration = static_cast<std::uint8_t>(number("iteration", 8));
        thread.null_depth = static_cast<std::int8_t>(number("nulls"));
        thread.selective_depth = 0;
        thread.best_depth = static_cast<std::int8_t>(number("best_depth"));
        thread.node_budget = static_cast<std::uint64_t>(number("budget", INT_MAX));
        ply = number("ply", 4);
        thread.history.ply = static_cast<std::int16_t>(ply);

        path[0] = led_here("before");
        path[1] = led_here("last");
        thread.history.current_move = state.contains("last") ? path[1].move : thread.history.current_move;
        PlyRecord &record = thread.plies[ply];
        PlyRecord &parent = thread.plies[ply - 1];
        record.list = record.current = thread.plies[ROOT_PLY + 1].list;
        record.checker = checker_of(pos, pos.side);
        record.hash_move = move("hash");
        record.killer1 = move("killer1");
        record.killer2 = move("killer2");
        record.check_killer = move("check_killer");
        parent.gives_no_check = false;
        parent.static_eval = 0;
        parent.current = &path[1];
        parent.node_type = static_cast<std::int16_t>(number("parent_type", -number("type")));
        parent.moves_searched = static_cast<std::uint16_t>(number("parent_moves"));
        parent.search_mode = static_cast<std::uint8_t>(number("parent_mode"));
        parent.move_flags = static_cast<std::uint16_t>(number("parent_flags"));
        parent.reduction = static_cast<std::uint8_t>(number("parent_reduction"));
        parent.tb_result = number("parent_tb", NO_TB_RESULT);
        if (ply >= 2) thread.plies[ply - 2].current = path.data();
        if (ply >= 2) thread.plies[ply - 2].static_eval = static_cast<std::int16_t>(number("eval_before", -1000));

        thread.ordering_is_new = false;
        OrderingTables &ordering = thread.ordering;
        ordering.countermove[0][path[1].piece][to_square(path[1].move)] = move("counter1");
        ordering.countermove[1][path[1].piece][to_square(path[1].move)] = move("counter2");
        ordering.followup[path[0].piece][to_square(path[0].move)] = move("followup");
        for (const auto &[name, value] : state) {
            if (!name.starts_with("history:") && !name.starts_with("reply:")) continue;
            const Move m = parse_coordinates(pos, name.substr(name.find(':') + 1));
            const int slice = name.starts_with("reply:") ? type_of(path[1].piece) : 0;
            ordering.history[slice][pos.board[from_square(m)]][to_square(m)] =
                static_cast<std::uint16_t>(std::stoi(value));
        }
        if (const int bound = number("tt_bound"); bound != 0) {
            const int score = number("tt_score");
            tt_store(shared.table, pos, 0, number("tt_depth"), move("tt_move"), score,
                     bound == BOUND_UPPER ? score : score - 1, bound == BOUND_EXACT ? score + 1 : score);
        }
        return thread;
    }

    // "score nodes/probes/deepest-ply line; the table's depth, bound, score and move".
    std::string search_result(SearchThread &thread) {
        Line pv{};
        const int score = search_node(thread, ply, number("depth"), number("alpha", -INFINITE),
                                      number("beta", INFINITE), static_cast<NodeType>(number("type")), pv);
        std::string text = std::to_string(score) + ' ' + std::to_string(thread.nodes) + '/' +
                           std::to_string(thread.hash_probes) + '/' + std::to_string(thread.selective_depth);
        for (int i = ply; i < PV_SIZE && pv[i] != NO_MOVE; ++i) text += ' ' + coordinates(pv[i]);
        const TtHit hit = tt_probe(engine.shared.table, pos);
        if (hit.entry == nullptr) return text + "; none";
        return text + "; " + std::to_string(hit.depth) + ' ' + std::to_string(hit.bound) + ' ' +
               std::to_string(hit.score) + ' ' + (hit.move == NO_MOVE ? "none" : coordinates(hit.move));
    }

    std::map<std::string, std::string> state;
    bool has_settings = true;  // of the row before
    int ply = 0;
    std::array<MoveEntry, 2> path{};
};

}  // namespace

TEST_F(NodeTest, NodesDoWhatTheirRulesSay) {
    for (const auto &row : data_rows("search/node.tsv")) {
        SearchThread &thread = enter(row[1], row[2]);
        EXPECT_EQ(search_result(thread), row[3]) << row[0] << " | " << row[1] << " | " << row[2];
        EXPECT_EQ(thread.null_depth, number("nulls"));
        EXPECT_EQ(thread.history.ply, ply);
    }
}

// An entry that cuts a node counts as one of the running search from then on.
TEST_F(NodeTest, UsedEntriesAreYoungAgain) {
    SearchThread &thread =
        enter(std::string(START_FEN), "depth=1 type=1 alpha=20 beta=21 tt_bound=2 tt_score=30 tt_depth=1");
    const TtEntry &entry = *tt_probe(engine.shared.table, pos).entry;
    const std::uint64_t old = entry.data_word;
    const std::uint64_t age = std::exchange(engine.shared.table.age, std::uint16_t{9});
    search_result(thread);
    EXPECT_EQ(entry.data_word, old ^ (age ^ 9) << 48);
}

TEST_F(NodeTest, MovesComeInTheirOrder) {
    for (const auto &row : data_rows("search/picker_order.tsv")) {
        SearchThread &thread = enter(row[0], row[1]);
        start_picking(thread.plies[ply], static_cast<PickKind>(number("kind")));
        std::string picked;
        while (const MoveEntry *entry = pick_next(thread, ply))
            picked += (picked.empty() ? "" : " ") + coordinates(entry->move);
        EXPECT_EQ(picked, row[2]) << row[0] << " | " << row[1];
    }
}

TEST_F(NodeTest, SearchesKeepTheirNodeCounts) {
    for (const auto &row : data_rows("search/nodes.tsv")) {
        if (short_run() && row[3].find('/') > 4) continue;  // of five digits
        enter_game(row[0], row[1]);
        std::string results;
        std::istringstream depths(row[2]);
        for (int depth = 0; depths >> depth;) {
            const std::uint64_t nodes = search_to_depth(depth);
            results += (results.empty() ? "" : " ") + std::to_string(nodes) + '/' + std::to_string(result.score) + '/' +
                       coordinates(result.best) + '/' + std::to_string(result.stats.hash_hits) + '/' +
                       std::to_string(result.stats.tb_hits);
        }
        EXPECT_EQ(results, row[3]) << row[0] << " | " << row[1] << " | " << row[2];
    }
}
