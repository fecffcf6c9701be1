// The root: iterations, windows and interruptions, what is published of them and what is told.
#include <map>
#include <set>
#include <sstream>

#include "base/output.h"
#include "engine_fixture.h"
#include "platform/clock.h"
#include "search/report.h"
#include "search/root.h"

namespace {

// One-thread searches that a row of words describes, and all that is told of them.
class RootTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        shared.reporter.context = this;
        shared.reporter.search_line = [](void *context, const SearchLine &line) {
            static_cast<RootTest *>(context)->hear(line);
        };
        shared.reporter.current_move = [](void *context, const CurrentMove &move) {
            static_cast<RootTest *>(context)->told += coordinates(move.move) + format_line(" is %d; ", move.number);
        };
    }

    void hear(const SearchLine &line) {
        states.insert(thread().aspiration);
        told += format_line("%d %d/%d %d %.0f", line.number, line.depth, line.selective_depth, line.score, line.nodes);
        if (line.hash_fill > 0.0) told += " filled";
        if (line.tb_hits > 0.0) told += format_line(" %.0f tb", line.tb_hits);
        for (int i = 1; line.pv[i] != NO_MOVE; ++i) told += ' ' + coordinates(line.pv[i]);
        told += "; ";
        if (++lines_heard == stop_at_line) shared.stop_flag = STOP_REPORT;
    }

    // Sets up what the words ask for: names, each followed by a number.
    void set_up(const std::string &fen, const std::string &words) {
        numbers = {{"depth", MAX_DEPTH}, {"rate", 1e9}, {"multipv", 1}, {"hash", 4}, {"published", -MATE}};
        std::istringstream in(words);
        double value = 0.0;
        for (std::string name; in >> name >> value;) numbers[name] = value;
        if (whole("tables") != (shared.tablebases.largest > 0))
            set_up_tablebases(engine, whole("tables") != 0 ? (test_data_directory() / "syzygy").string() : "");
        set_fen(pos, fen);
        engine.game.history.undo_count = static_cast<std::int16_t>(whole("moves"));
        pos.fifty = static_cast<std::uint8_t>(pos.fifty + whole("fifty"));
        engine.settings.Hash = static_cast<std::int16_t>(whole("hash"));
        engine.settings.MultiPV = static_cast<std::int16_t>(whole("multipv"));
        limits.max_depth = whole("pass") > 0 ? 1 : whole("depth");
        limits.node_limit = whole("nodes");
        limits.noise = numbers["noise"];
        stop_at_line = whole("lines");
    }
    int whole(const char *name) { return static_cast<int>(numbers[name]); }

    // The search that has been set up. With "pass" the root moves once, at that depth, after a first iteration: around
    // the score "before", from place "first" on, with "armed" as the state of the re-run.
    std::string run() {
        told.clear();
        lines_heard = 0;
        begin_search(engine, limits, REQUEST_SEARCH);
        shared.target_nps = numbers["rate"];
        shared.start -= numbers["elapsed"];
        clear_table(shared);
        search_here(engine);
        SearchThread &searched = thread();
        if (const int depth = whole("pass"); depth > 0) {
            told.clear();
            shared.stop_flag = STOP_NONE;
            searched.score = static_cast<std::int16_t>(whole("before"));
            searched.rerun = static_cast<std::uint8_t>(whole("armed"));
            searched.best_depth = 2;
            searched.node_budget = searched.nodes + (whole("budget") > 0 ? whole("budget") : 1U << 30);
            shared.result.score = static_cast<std::int16_t>(whole("published"));
            search_root_moves(searched, depth, whole("first"));
            for (int i = 0; i < searched.root_count; ++i)
                told += format_line("%d ", *searched.score_of(searched.plies[ROOT_PLY].list + i));
            told += format_line("aspiration %d, re-run %d; ", searched.aspiration.load(), searched.rerun);
        }
        const int stopped = shared.stop_flag;
        const int changed = shared.result.change_depth;
        const SearchResult end = finish_search(engine);
        if (end.line) hear(*end.line);
        const auto name = [](Move m) { return m == NO_MOVE ? std::string("none") : coordinates(m); };
        return told +=
               format_line("%d/%d %d %llu, end %d, change %d, forced %d, %.4f: ", end.depth,
                           shared.last_iteration.load(), end.score, static_cast<unsigned long long>(end.stats.nodes),
                           stopped, changed, shared.single_reply.load(), end.branching_factor) +
               name(end.best) + ' ' + name(end.ponder);
    }

    SearchShared &shared = engine.shared;
    std::map<std::string, double> numbers;
    std::string told;
    std::set<int> states;  // AspirationState at each line
    int lines_heard = 0, stop_at_line = 0;
};

// FNV-1a
std::uint64_t hash_on(std::uint64_t hash, const std::string &text) {
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
    return hash;
}

}  // namespace

TEST_F(RootTest, SearchesTellWhatTheyFind) {
    for (const auto &row : data_rows("search/root_searches.tsv")) {
        set_up(row[0], row[1]);
        EXPECT_EQ(run(), row[2]) << row[0] << '\t' << row[1];
    }
}

// What is told of many searches, with each of the numbers from one to another in steps.
TEST_F(RootTest, SearchesCutOffAnywhereAndWindowsEverywhere) {
    for (const auto &row : data_rows("search/root_sweeps.tsv")) {
        std::istringstream sweep(row[2]);
        std::string name;
        int first = 0, last = 0, step = 0;
        sweep >> name >> first >> last >> step;
        if (short_run()) step *= 10;
        std::uint64_t hash = 14695981039346656037U;
        for (int value = first; value <= last; value += step) {
            set_up(row[0], row[1] + format_line(" %s %d", name.c_str(), value));
            hash = hash_on(hash, run());
        }
        EXPECT_EQ(format_line("%016llx", static_cast<unsigned long long>(hash)), row[short_run() ? 4 : 3])
            << row[0] << '\t' << row[1] << '\t' << row[2];
    }
}

// The clock asks for them.
TEST_F(RootTest, FailuresAreKnownWhileTheyLast) {
    for (const auto &[before, state] : {std::pair("400", FAILING_LOW), {"-200", FAILING_HIGH}}) {
        set_up("8/1p3kp1/8/8/2P5/6PP/1P3K2/8 w - -", std::string("pass 9 before ") + before);
        states.clear();
        run();
        EXPECT_EQ(states, (std::set<int>{ASPIRATION_NONE, state})) << before;
    }
}

TEST_F(RootTest, LinesAreToldWhenTheyAreDue) {
    set_up(std::string(START_FEN), "depth 1");
    run();
    const auto speaks = [this](const auto &tell) {
        told.clear();
        tell();
        return !told.empty();
    };
    for (const auto &row : data_rows("search/root_due.tsv")) {
        const std::vector<double> in = row_numbers(row[1]);
        shared.stop_flag = static_cast<std::uint8_t>(in[0]);
        shared.elapsed = in[1];
        shared.start = monotonic_seconds() - in[1];
        shared.noise = in[2];
        shared.result.depth = thread().best_depth = static_cast<std::int8_t>(in[3]);
        shared.result.pv[1] = thread().line[1] = static_cast<Move>(in[4]);
        shared.pv_lines = static_cast<int>(in[5]);
        const double progress = progress_due(shared);
        const double end = final_line(shared).has_value();
        const double current = speaks([this] { report_current_move(thread(), 77, 2); });
        const auto publish = [this] { publish_best(thread()); };
        thread().score = static_cast<std::int16_t>(shared.result.score + 1);
        shared.result.change_depth = 55;
        const double published = speaks(publish);
        EXPECT_EQ((std::vector<double>{progress, published, end, current}), row_numbers(row[2])) << row[0];
        EXPECT_FALSE(speaks(publish)) << row[0] << ": the same again";
        EXPECT_EQ(shared.result.change_depth, 55);
        shared.result.pv[1] = 78;
        EXPECT_EQ(speaks(publish), published == 1.0);
        EXPECT_EQ(shared.result.change_depth, thread().best_depth);
    }
}
