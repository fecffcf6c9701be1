// Tuning by play: a perturbed copy of the weights against a fixed one, and estimates that follow the winner.
#include <cmath>
#include <string>
#include <vector>

#include "base/output.h"
#include "base/progress.h"
#include "board/makemove.h"
#include "board/repetition.h"
#include "book/probe.h"
#include "eval/tunables.h"
#include "games/results.h"
#include "search/threads.h"
#include "tools/output_file.h"
#include "tools/screen.h"
#include "tools/tool_search.h"
#include "tools/tools.h"

namespace {

constexpr const char *TUNED_WEIGHTS[] = {
    "knight_value_op",    "knight_value_en",    "bishop_value_op",    "bishop_value_en",    "rook_value_op",
    "rook_value_en",      "queen_value_op",     "queen_value_en",     "bishop_pair_op",     "bishop_pair_en",
    "knight_mobility_op", "knight_mobility_en", "bishop_mobility_op", "bishop_mobility_en", "rook_mobility_op",
    "rook_mobility_en",   "queen_mobility_op",  "queen_mobility_en",  "pawn_connected_op",  "pawn_candidate_en",
    "pawn_shield",        "pawn_storm",         "hung_pawn_op",       "hung_pawn_en",       "hung_piece_op",
    "hung_piece_en",
};
constexpr const char *GAME_FILE = "self.pgn";
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
    GameResult result;  // UNKNOWN: stopped by the user, or longer than a game may be
    bool perturbed_is_white;
};

// One move of the side to move, with its score and depth; no move at the end of the game.
PlayedMove choose_move(ToolRun &run, Move &move) {
    Engine &engine = run.engine;
    const Settings &settings = engine.settings;
    const Position &pos = engine.game.position;
    derive_tables(engine);
    begin_search(engine, run.limits, REQUEST_ANALYSIS);
    move = NO_MOVE;
    if (engine.game.plies() < settings.OwnBook_Depth)
        move = probe_book(pos, {settings.OwnBook_File.view(), settings.OwnBook_Variety}, engine.random).move;
    if (move != NO_MOVE || drawn_before_search(pos)) {
        finish_search(engine);
        return {move != NO_MOVE ? squares_of(move) : "", 0, 0};
    }
    const SearchResult result = complete_search(run, 1);
    move = result.best;
    return {squares_of(move), result.score, result.depth};
}

GameResult adjudicate(const Position &pos, Move move, int score) {
    if (score < -DECIDED_SCORE) return win_of(opponent(pos.side));
    if (score > DECIDED_SCORE) return win_of(pos.side);
    return pos.fifty >= FIFTY_MOVES || move == NO_MOVE ? GameResult::DRAW : GameResult::UNKNOWN;
}

void prepare_hash(ToolRun &run) {
    constexpr int SHALLOW = 7;
    constexpr int FEW_NODES = 100'000;
    constexpr double SHORT_TIME = 0.1;
    const SearchLimits &limits = run.limits;
    if (limits.max_depth <= SHALLOW || (limits.node_limit >= 1 && limits.node_limit <= FEW_NODES) ||
        limits.time_per_move <= SHORT_TIME)
        run.engine.shared.table.enabled = 0;
    else
        clear_table_if_idle(run.engine.shared);
}

// One game from the initial position between two copies of the settings.
FinishedGame play_game(ToolRun &run, const Settings &perturbed, const Settings &reference) {
    Engine &engine = run.engine;
    Position &pos = engine.game.position;
    set_fen(pos, START_FEN);
    FinishedGame finished{{}, GameResult::UNKNOWN, engine.random.next() % 2 == 0};
    prepare_hash(run);
    while (finished.result == GameResult::UNKNOWN && !run.stopped && engine.game.plies() < MAX_GAME_MOVES) {
        const bool perturbed_moves = (pos.side == WHITE) == finished.perturbed_is_white;
        engine.settings = perturbed_moves ? perturbed : reference;
        Move move = NO_MOVE;
        const PlayedMove played = choose_move(run, move);
        if (run.stopped) break;
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

// Games that the perturbed copy won more than it lost.
int play_cycle(ToolRun &run, const Settings &perturbed, const Settings &reference, int games_before, OutputFile &file,
               Progress &progress) {
    int surplus = 0;
    for (int number = 1; number <= GAMES_PER_CYCLE && !run.stopped; ++number) {
        const FinishedGame finished = play_game(run, perturbed, reference);
        if (finished.result == GameResult::UNKNOWN) break;
        const GameResult perturbed_win = win_of(finished.perturbed_is_white ? WHITE : BLACK);
        if (finished.result != GameResult::DRAW) surplus += finished.result == perturbed_win ? 1 : -1;
        write_game(file, finished, number);
        progress.update(games_before + number, games_before + number, GAMES);
    }
    return surplus;
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

}  // namespace

void run_selfplay_tuning(ToolRun &run) {
    Engine &engine = run.engine;
    std::vector<TunableParam> tunables = eval_tunables(engine.settings.weights);
    for (const char *name : TUNED_WEIGHTS) select_tunable(tunables, name);
    OutputFile file(GAME_FILE);
    if (!file.is_open()) {
        say(format_line("can't open %s\n", GAME_FILE));
        return;
    }
    set_match_conditions(run);
    say("Starting match...\n");

    Progress progress("games");
    const Settings reference = engine.settings;
    for (int games = 0; games < GAMES && !run.stopped; games += GAMES_PER_CYCLE) {
        Settings perturbed = reference;
        perturb_weights(perturbed.weights, tunables, engine.random);
        progress.finish();
        show_estimates(perturbed.weights, tunables, games);
        const int surplus = play_cycle(run, perturbed, reference, games, file, progress);
        if (!run.stopped) follow_winner(tunables, perturbed.weights, surplus);
    }
    engine.settings = reference;
}
