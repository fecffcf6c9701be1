// A random walk through the UCI conversation: any command at any time. Whatever is said, each "go" gets one "bestmove",
// each "isready" its "readyok" while a search goes on, lines of play are legal, and the program ends when it is told to.
#include <memory>
#include <random>
#include <set>

#include "uci_session.h"

namespace {

using namespace e2e;
// Seconds, so that a loaded machine keeps them; a search without an end, of which there are many, outlasts them.
constexpr Milliseconds READY_WITHIN{10'000};

// The texts of one kind in tests/data/protocol_walk.tsv.
Lines texts(const std::string &kind) {
    std::ifstream in(std::filesystem::path(DRAL_SOURCE_DIR) / "tests/data/protocol_walk.tsv");
    Lines found;
    for (std::string line; std::getline(in, line);)
        if (line.starts_with(kind + "\t")) found.push_back(line.substr(kind.size() + 1));
    return found;
}

class Walk {
public:
    explicit Walk(unsigned seed) : random_(seed) {
        await_ready(referee_);
        restart();
    }

    void step() {
        const unsigned kind = pick(100);
        if (kind < 25) check_ready();
        if (kind >= 25 && kind < 45) engine_->send(pick(settings_));
        if (kind >= 45 && kind < 60) engine_->send("position " + (position_ = pick(positions_)));
        if (kind >= 60 && kind < 82) {
            engine_->send(pick(searches_));
            ++outstanding_;
            searched_.insert(position_);
        }
        if (kind >= 82 && kind < 96) engine_->send(kind < 92 ? "stop" : "ponderhit");
        if (kind == 96 || kind == 97) poll(nullptr, 0, static_cast<int>(pick(30)));
        if (kind == 98) finish();
        if (kind == 99) quit();
    }

    // All searches answered, and not one answer more. Held searches start one after the other, each may have to be stopped.
    void finish() {
        const Clock::time_point end = Clock::now() + scaled(Milliseconds(20'000));
        do {
            engine_->send("stop");
            check_ready();
            poll(nullptr, 0, 2);
        } while (outstanding_ > 0 && Clock::now() < end);
        check_ready();
        EXPECT_EQ(outstanding_, 0) << engine_->transcript();
    }

    void quit() {
        quit_and_check(*engine_);
        restart();
    }

private:
    unsigned pick(std::size_t count) { return static_cast<unsigned>(random_() % count); }
    const std::string &pick(const Lines &texts) { return texts[pick(texts.size())]; }

    void restart() {
        engine_ = std::make_unique<EngineProcess>();
        outstanding_ = 0;
        last_line_.clear();
        position_ = "startpos";
        await_ready(*engine_);
    }

    // Everything said up to the answer is looked at.
    void check_ready() {
        engine_->send("isready");
        for (const std::string &line : engine_->expect_line("readyok", READY_WITHIN)) look_at(line);
        if (outstanding_ == 0) searched_ = {position_};
    }

    void look_at(const std::string &line) {
        if (line.starts_with("bestmove ")) {
            const std::string best = line.substr(9, line.find(' ', 9) - 9);
            EXPECT_TRUE(last_line_.empty() || best == last_line_) << engine_->transcript();
            last_line_.clear();
            EXPECT_GT(outstanding_--, 0) << line << '\n' << engine_->transcript();
        }
        if (line.find(" pv ") == std::string::npos) return;
        const auto info = parse_info(line);
        ASSERT_TRUE(info.has_value()) << line;
        last_line_ = info->pv[0];
        // From a position that was searched since all was quiet.
        EXPECT_TRUE(std::any_of(searched_.begin(), searched_.end(),
                                [&](const std::string &position) { return playable(referee_, position, info->pv); }))
            << line << '\n'
            << engine_->transcript();
    }

    const Lines positions_ = texts("position"), searches_ = texts("search"), settings_ = texts("setting");
    std::mt19937 random_;
    std::unique_ptr<EngineProcess> engine_;
    EngineProcess referee_;
    int outstanding_ = 0;
    std::string position_;
    std::string last_line_;  // first move of the last line of play since the last answer
    std::set<std::string> searched_;
};

// DRAL_TEST_WALK_STEPS and DRAL_TEST_WALK_SEED make the walk longer, or another one.
TEST(ProtocolWalk, EveryGoIsAnsweredOnce) {
    const char *steps = std::getenv("DRAL_TEST_WALK_STEPS");
    const char *seed = std::getenv("DRAL_TEST_WALK_SEED");
    Walk walk(seed != nullptr ? static_cast<unsigned>(std::atoi(seed)) : 1);
    for (int i = steps != nullptr ? std::atoi(steps) : 400; i > 0; --i) {
        walk.step();
        if (testing::Test::HasFailure()) return;
    }
    walk.finish();
    walk.quit();
}

}  // namespace
