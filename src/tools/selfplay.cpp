// Tuning by play: a perturbed copy of the weights against a fixed one, and estimates that follow the winner.
#include <cmath>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/output.h"
#include "base/progress.h"
#include "board/makemove.h"
#include "board/repetition.h"
#include "book/probe.h"
#include "eval/tunables.h"
#include "games/results.h"
#include "search/threads.h"
#include "tools/checkpoint.h"
#include "tools/crew.h"
#include "tools/output_file.h"
#include "tools/screen.h"
#include "tools/tuned_weights.h"

namespace {

constexpr std::string_view TUNED_WEIGHTS[] = {
    "knight_value_op",    "knight_value_en",    "bishop_value_op",    "bishop_value_en",    "rook_value_op",
    "rook_value_en",      "queen_value_op",     "queen_value_en",     "bishop_pair_op",     "bishop_pair_en",
    "knight_mobility_op", "knight_mobility_en", "bishop_mobility_op", "bishop_mobility_en", "rook_mobility_op",
    "rook_mobility_en",   "queen_mobility_op",  "queen_mobility_en",  "pawn_connected_op",  "pawn_candidate_en",
    "pawn_shield",        "pawn_storm",         "hung_pawn_op",       "hung_pawn_en",       "hung_piece_op",
    "hung_piece_en",
};
constexpr const char *GAME_FILE = "self.pgn";
constexpr const char *STATE_FILE = "tune4.state";
constexpr int GAMES = 300'000;
constexpr int GAMES_PER_CYCLE = 6;
constexpr int DECIDED_SCORE = 500;  // centipawns
constexpr double STEP_RATE = 0.002;
// A perturbation is a share of the estimate, and at least this.
constexpr double LEAST_PERTURBATION = 1.5;
constexpr double LARGEST_PERTURBATION = 0.2;
constexpr double PERTURBATION_STEP = 0.001;
constexpr int PERTURBATION_STEPS = 400;

struct PlayedMove {
    std::string text;
    int score;  // centipawns, from the mover's view
    int depth;
};

struct FinishedGame {
    std::vector<PlayedMove> moves;
    GameResult result = GameResult::UNKNOWN;  // stays so when the user has ended it, or it is longer than a game may be
    bool perturbed_is_white = false;
};

// Games of one perturbed copy of the weights.
struct Cycle {
    Settings perturbed;
    int surplus = 0;  // games that it won more than it lost
};

struct GameJob {
    Cycle *cycle = nullptr;
    int number = 0;         // within the cycle, from 1 on
    bool has_seed = false;  // of the game's own; otherwise it draws from the engine's
    std::uint64_t seed = 0;
};

// One move of the side to move, with its score and depth; no move at the end of the game.
PlayedMove choose_move(Worker &worker, const SearchLimits &limits, Move &move) {
    Engine &engine = worker.engine;
    const Settings &settings = engine.settings;
    const Position &pos = engine.game.position;
    derive_tables(engine);
    begin_search(engine, limits, REQUEST_ANALYSIS);
    move = NO_MOVE;
    if (engine.game.plies() < settings.OwnBook_Depth)
        move = probe_book(pos, {settings.OwnBook_File.view(), settings.OwnBook_Variety}, engine.random).move;
    if (move != NO_MOVE || drawn_before_search(pos)) {
        finish_search(engine);
        return {move != NO_MOVE ? squares_of(move) : "", 0, 0};
    }
    const SearchResult result = complete_search(engine, {worker.poll.poll, worker.poll.context, 1});
    move = result.best;
    return {squares_of(move), result.score, result.depth};
}

GameResult adjudicate(const Position &pos, Move move, int score) {
    if (score < -DECIDED_SCORE) return win_of(opponent(pos.side));
    if (score > DECIDED_SCORE) return win_of(pos.side);
    return pos.fifty >= FIFTY_MOVES || move == NO_MOVE ? GameResult::DRAW : GameResult::UNKNOWN;
}

void prepare_hash(SearchShared &shared, const SearchLimits &limits) {
    constexpr int SHALLOW = 7;
    constexpr int FEW_NODES = 100'000;
    constexpr double SHORT_TIME = 0.1;
    if (limits.max_depth <= SHALLOW || (limits.node_limit >= 1 && limits.node_limit <= FEW_NODES) ||
        limits.time_per_move <= SHORT_TIME)
        shared.table.enabled = 0;
    else
        clear_table_if_idle(shared);
}

// One game from the initial position between two copies of the settings.
FinishedGame play_game(Worker &worker, const GameJob &job, const Settings &reference, const SearchLimits &limits) {
    Engine &engine = worker.engine;
    Position &pos = engine.game.position;
    if (job.has_seed) engine.random = RandomGenerator(job.seed);
    set_fen(pos, START_FEN);
    forget_searches(engine.shared);
    FinishedGame finished;
    finished.perturbed_is_white = engine.random.next() % 2 == 0;
    prepare_hash(engine.shared, limits);
    while (finished.result == GameResult::UNKNOWN && !worker.stopped() && engine.game.plies() < MAX_GAME_MOVES) {
        const bool perturbed_moves = (pos.side == WHITE) == finished.perturbed_is_white;
        engine.settings = perturbed_moves ? job.cycle->perturbed : reference;
        Move move = NO_MOVE;
        const PlayedMove played = choose_move(worker, limits, move);
        if (worker.stopped()) break;
        finished.result = adjudicate(pos, move, played.score);
        if (move == NO_MOVE) continue;
        finished.moves.push_back(played);
        if (finished.result == GameResult::UNKNOWN) make_move(pos, move);
    }
    return finished;
}

void write_game(OutputFile &file, const FinishedGame &finished, int number) {
    const char *white = finished.perturbed_is_white ? "Player1" : "Player2";
    const char *black = finished.perturbed_is_white ? "Player2" : "Player1";
    std::string text = "[Event selfplay]\n";
    text += format_line("[Game %d]\n[White \"%s\"]\n[Black \"%s\"]\n[Result \"%s\"]\n", number, white, black,
                        result_text(finished.result));
    for (std::size_t i = 0; i < finished.moves.size(); ++i) {
        const PlayedMove &move = finished.moves[i];
        const std::string shown = format_line("%s {%0.2f/%d}", move.text.c_str(), move.score / 100.0, move.depth);
        text += i % 2 == 0 ? shown : "   " + shown + "\n";
    }
    if (finished.moves.size() % 2 != 0) text += "\n";
    file.write(text + "\n");
    file.flush();
}

// Gives every selected weight a random distance from its estimate, up to a fifth of it.
void perturb_weights(EvalWeights &weights, const std::vector<TunableParam> &tunables, RandomGenerator &random) {
    for (const TunableParam &param : tunables) {
        std::int16_t &weight = param.weight.of(weights);
        weight = nearest_weight(param.estimate);
        if (!param.selected) continue;
        const int r = random.next() % PERTURBATION_STEPS;
        double distance = (PERTURBATION_STEP * r - LARGEST_PERTURBATION) * param.estimate;
        if (distance > 0.0 && distance < LEAST_PERTURBATION) distance = LEAST_PERTURBATION;
        if (distance < 0.0 && distance > -LEAST_PERTURBATION) distance = -LEAST_PERTURBATION;
        weight = nearest_weight(param.estimate + distance);
    }
}

void show_estimates(const EvalWeights &weights, const std::vector<TunableParam> &tunables, int games) {
    std::string text = format_line("ngames= %d\n", games);
    for (const TunableParam &param : tunables)
        if (param.selected)
            text +=
                format_line(" * %-24s : %6.1f  %4d\n", param.name.c_str(), param.estimate, param.weight.of(weights));
    say(text);
}

// Moves the estimates towards the perturbed weights when these have won more games, and away when they have lost more.
void follow_winner(std::vector<TunableParam> &tunables, const EvalWeights &perturbed, int surplus) {
    for (TunableParam &param : tunables)
        if (param.selected)
            param.estimate += surplus * STEP_RATE * (param.weight.of(perturbed) - nearest_weight(param.estimate));
}

// Fast games with a small table, and books a few moves deep.
void set_match_conditions(ToolRun &run) {
    constexpr double SECONDS_PER_MOVE = 0.03;
    Engine &engine = run.engine;
    engine.settings.OwnBook_Depth = 6;
    engine.settings.OwnBook_Variety = 50;
    engine.settings.Hash = 2;
    engine.default_settings = engine.settings;
    run.limits.noise = NO_PROGRESS_LINES;
    run.limits.fix_time(SECONDS_PER_MOVE);
}

class Match {
public:
    explicit Match(ToolRun &run)
        : run_(run), tunables_(eval_tunables(run.engine.settings.weights)), progress_("games") {}

    void play();

private:
    bool open_file();
    bool resume();
    void save_state();
    void play_cycles(Crew &crew, std::size_t count);
    void take_game(const GameJob &job, const FinishedGame &finished);

    ToolRun &run_;
    std::vector<TunableParam> tunables_;
    std::unique_ptr<OutputFile> file_;
    Settings reference_;
    int games_ = 0;   // of finished cycles
    int played_ = 0;  // of all
    Progress progress_;
};

void Match::take_game(const GameJob &job, const FinishedGame &finished) {
    if (finished.result == GameResult::UNKNOWN) return;
    const GameResult perturbed_win = win_of(finished.perturbed_is_white ? WHITE : BLACK);
    if (finished.result != GameResult::DRAW) job.cycle->surplus += finished.result == perturbed_win ? 1 : -1;
    write_game(*file_, finished, job.number);
    ++played_;
    progress_.update(played_, played_, GAMES);
}

// So many cycles at once, all of them from the same estimates, which follow the winners in the order of the cycles.
void Match::play_cycles(Crew &crew, std::size_t count) {
    RandomGenerator &random = run_.engine.random;
    std::vector<Cycle> cycles(count);
    progress_.finish();
    for (std::size_t i = 0; i < count; ++i) {
        cycles[i].perturbed = reference_;
        perturb_weights(cycles[i].perturbed.weights, tunables_, random);
        show_estimates(cycles[i].perturbed.weights, tunables_, games_ + static_cast<int>(i) * GAMES_PER_CYCLE);
    }
    std::size_t handed_out = 0;
    const auto next_game = [&](GameJob &job) {
        if (handed_out == count * GAMES_PER_CYCLE) return false;
        job.cycle = &cycles[handed_out / GAMES_PER_CYCLE];
        job.number = static_cast<int>(handed_out % GAMES_PER_CYCLE) + 1;
        job.has_seed = crew.size() > 1;
        if (job.has_seed) {
            const auto high = static_cast<std::uint64_t>(random.next());
            job.seed = high << 32 | static_cast<std::uint64_t>(random.next());
        }
        ++handed_out;
        return true;
    };
    const auto play = [this](Worker &worker, const GameJob &job) {
        return play_game(worker, job, reference_, run_.limits);
    };
    const auto take = [this](const GameJob &job, const FinishedGame &game) { take_game(job, game); };
    crew.run_in_order<GameJob, FinishedGame>(next_game, play, take);
    if (run_.stopped) return;
    for (const Cycle &cycle : cycles) follow_winner(tunables_, cycle.perturbed.weights, cycle.surplus);
    games_ += static_cast<int>(count) * GAMES_PER_CYCLE;
}

void Match::save_state() {
    Checkpoint state;
    state.set_integer("games", games_);
    state.set_integer("seed", static_cast<std::int64_t>(run_.engine.random.state()));
    state.set_integer("file size", file_->size());
    put_estimates(state, tunables_);
    run_.failed = !state.save(STATE_FILE);
}

// False, after a line, when there is nothing to go on from.
bool Match::resume() {
    Checkpoint state;
    if (!state.load(STATE_FILE)) {
        print_format("cannot read %s", STATE_FILE);
    } else if (!take_estimates(state, tunables_)) {
        print_format("%s is of other weights", STATE_FILE);
    } else {
        games_ = played_ = static_cast<int>(state.integer("games"));
        run_.engine.random = RandomGenerator(static_cast<std::uint64_t>(state.integer("seed")));
        file_ = std::make_unique<OutputFile>(GAME_FILE, state.integer("file size"));
        if (!file_->is_open()) print_format("cannot go on with %s", GAME_FILE);
    }
    run_.failed = file_ == nullptr || !file_->is_open();
    return !run_.failed;
}

bool Match::open_file() {
    if (run_.resume) return resume();
    remove_file(STATE_FILE);
    file_ = std::make_unique<OutputFile>(GAME_FILE);
    if (!file_->is_open()) say(format_line("can't open %s\n", GAME_FILE));
    return file_->is_open();
}

void Match::play() {
    if (!select_weights(run_, tunables_, {std::begin(TUNED_WEIGHTS), std::end(TUNED_WEIGHTS)}) || !open_file()) return;
    set_match_conditions(run_);
    say("Starting match...\n");
    reference_ = run_.engine.settings;
    Crew crew(run_, run_.parallel);
    const auto at_once = static_cast<std::size_t>((crew.size() + GAMES_PER_CYCLE - 1) / GAMES_PER_CYCLE);
    while (games_ < GAMES && !run_.stopped && !run_.failed) {
        play_cycles(crew, at_once);
        if (!run_.stopped) save_state();
    }
    run_.engine.settings = reference_;
    if (games_ >= GAMES) remove_file(STATE_FILE);
    if (games_ > 0 && !run_.failed)
        write_tuned_weights(run_, tunables_, format_line("Play against itself, %d games\n", games_));
}

}  // namespace

void run_selfplay_tuning(ToolRun &run) { Match(run).play(); }
