// Games are gone through, position by position, to show where they turned.
#include <algorithm>
#include <filesystem>
#include <string>

#include "base/output.h"
#include "base/progress.h"
#include "base/version.h"
#include "platform/files.h"
#include "tools/crew.h"
#include "tools/output_file.h"
#include "tools/review_notes.h"
#include "tools/review_output.h"
#include "tools/screen.h"

namespace {

constexpr std::size_t LONGEST_PIECE = std::size_t{1} << 16;  // of a line
constexpr int USUAL_DEPTH = 12;

struct ReviewedGame {
    std::string text;  // as it is written; empty: it is no game
    std::string headline;
    bool damaged = false;
    int positions = 0;
};

// Searches without lines on the screen, as long for a position with one move as for any other.
SearchLimits review_limits(const ToolRun &run) {
    SearchLimits limits = run.limits;
    if (!run.limited) {
        limits.max_depth = USUAL_DEPTH;
        limits.fix_time(UNLIMITED_TIME);
    }
    limits.max_depth = std::max(limits.max_depth, 1);
    limits.noise = NO_PROGRESS_LINES;
    limits.literal = true;
    return limits;
}

ReviewedGame review(Worker &worker, PgnGame &game, const SearchLimits &limits) {
    const bool has_moves = !game.moves.empty();
    const SearchedGame searched = search_game(worker, game, limits);
    ReviewedGame reviewed;
    reviewed.damaged = game.damaged;
    if (game.tags.empty() && (game.moves.empty() && has_moves)) return reviewed;  // prose
    const GameReview judged = review_game(searched.moves, game.first_side, game.result);
    annotate(game, searched, judged, limits_text(limits));
    reviewed.text = write_pgn(game);
    reviewed.headline = headline(game, judged);
    reviewed.positions = searched.searched;
    return reviewed;
}

std::string stem_of(const char *file_name) {
    const std::u8string stem = file_path(file_name).stem().u8string();
    return {stem.begin(), stem.end()};
}

// What has an influence on the output.
std::string plan_of(const ToolRun &run, const SearchLimits &limits, const LineReader &file) {
    const Settings &settings = run.engine.settings;
    return format_line("%s, %lld bytes, %s, hash %d, book ", ENGINE_NAME, static_cast<long long>(file.size()),
                       limits_text(limits).c_str(), settings.Hash) +
           std::string(settings.OwnBook_File.view()) + ", tables " + std::string(settings.SyzygyPath.view()) +
           ", settings " + std::string(settings.ConfigFilePath.view());
}

bool can_read(const std::string &name) {
    if (LineReader(name.c_str(), 1).is_open()) return true;
    print_line("cannot read " + name);
    return false;
}

class Review {
public:
    Review(ToolRun &run, LineReader &file, ReviewOutput &output)
        : run_(run), file_(file), output_(output), reader_(file), limits_(review_limits(run)) {}

    // False when something failed, which has been told.
    bool work() {
        if (!output_.open(state_)) return false;
        if (state_.read > 0) say(format_line("going on after %lld games\n", static_cast<long long>(state_.games)));
        start_ = state_.input_bytes;
        PgnGame done;
        for (std::int64_t i = 0; i < state_.read && reader_.next(done);) i += counts(done);
        Crew crew(run_, run_.parallel);
        if (!crew.started()) return false;
        const std::string_view tables = run_.engine.settings.SyzygyPath.view();
        if (!tables.empty()) crew.prepare_engines([tables](Engine &engine) { set_up_tablebases(engine, tables); });
        crew.run_in_order<PgnGame, ReviewedGame>(
            [this](PgnGame &game) { return next_game(game); },
            [this](Worker &worker, PgnGame &game) { return review(worker, game, limits_); },
            [this](const PgnGame &game, const ReviewedGame &reviewed) { take(game, reviewed); });
        progress_.finish();
        return end();
    }

private:
    // A comment alone is no game.
    static bool counts(const PgnGame &game) { return !game.tags.empty() || !game.moves.empty(); }

    bool next_game(PgnGame &game) {
        while (reader_.next(game) && !file_.failed())
            if (counts(game)) return true;
        return false;
    }

    void take(const PgnGame &game, const ReviewedGame &reviewed) {
        ReviewState after = state_;
        ++after.read;
        after.games += !reviewed.text.empty();
        after.damaged += reviewed.damaged;
        after.positions += reviewed.positions;
        after.input_bytes = game.end;
        if (!output_.add(reviewed.text, after)) {
            failed_ = true;
            run_.stopped = true;
            return;
        }
        state_ = after;
        progress_.finish();
        if (!reviewed.text.empty())
            say(format_line("game %lld: ", static_cast<long long>(state_.games)) + reviewed.headline +
                (reviewed.damaged ? ", damaged\n" : "\n"));
        progress_.update(state_.games, game.end - start_, file_.size() - start_);
    }

    bool end() {
        report_read_error(file_, "the input");
        failed_ |= file_.failed();
        if (!failed_ && !run_.stopped) failed_ = !output_.finish();
        say(format_line("games= %lld, damaged= %lld, positions= %lld\n", static_cast<long long>(state_.games),
                        static_cast<long long>(state_.damaged), static_cast<long long>(state_.positions)));
        if (run_.stopped && !failed_) say("the same command goes on from here\n");
        return !failed_;
    }

    ToolRun &run_;
    LineReader &file_;
    ReviewOutput &output_;
    PgnReader reader_;
    SearchLimits limits_;
    ReviewState state_;
    Progress progress_{"games"};
    std::int64_t start_ = 0;  // bytes of the input that an earlier run has done
    bool failed_ = false;
};

}  // namespace

void review_games(ToolRun &run, const char *file_name) {
    run.failed = true;
    const std::string book(run.engine.settings.OwnBook_File.view());
    if (!can_read(file_name) || (!book.empty() && !can_read(book))) return;
    LineReader file(file_name, LONGEST_PIECE);
    ReviewOutput output(stem_of(file_name), plan_of(run, review_limits(run), file));
    if (is_same_file(file_name, output.name().c_str())) return;
    run.failed = !Review(run, file, output).work();
}
