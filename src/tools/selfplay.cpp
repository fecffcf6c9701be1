// Tuning by play: a perturbed copy of the weights against a fixed one, and estimates that follow the winner.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/control.h"
#include "base/output.h"
#include "base/progress.h"
#include "base/settings.h"
#include "board/fen.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/notation.h"
#include "board/repetition.h"
#include "book/probe.h"
#include "eval/parameters.h"
#include "search/params.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/timing.h"
#include "search/tt.h"
#include "tools/workbench.h"

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
constexpr double LEAST_PERTURBATION = 1.5;

struct PlayedMove {
    std::string text;
    int score;  // centipawns, from the mover's view
    int depth;
};

enum class Outcome { OPEN, WHITE_WINS, BLACK_WINS, DRAW };

Outcome win_of(Colour side) { return side == WHITE ? Outcome::WHITE_WINS : Outcome::BLACK_WINS; }

struct FinishedGame {
    std::vector<PlayedMove> moves;
    Outcome outcome;
    bool perturbed_is_white;
};

// Whether the position has occurred twice before. At the end of the fifty-move clock the game must not be over otherwise.
bool drawn_before_search(const Position &pos) {
    if (pos.fifty < 4) return false;
    if (pos.fifty >= 100 && no_legal_moves(pos)) return true;
    return count_repetitions(pos) >= 2;
}

// One move of the side to move, with its score and depth; no move at the end of the game.
PlayedMove choose_move(Move &move, PollInput poll_input) {
    Position &pos = game->position;
    derive_search_params();
    derive_eval_tables();
    begin_search();
    move = NO_MOVE;
    if (game->history.undo_count < settings.OwnBook_Depth) move = probe_book(pos);
    if (move != NO_MOVE) return {squares_of(move), 0, 0};
    if (drawn_before_search(pos)) return {"", 0, 0};
    search_with_all_threads(poll_input, 1);
    move = root_result.pv[1];
    return {squares_of(move), root_result.score, root_result.depth};
}

Outcome adjudicate(const Position &pos, Move move, int score) {
    if (score < -DECIDED_SCORE) return win_of(opponent(pos.side));
    if (score > DECIDED_SCORE) return win_of(pos.side);
    return pos.fifty >= 100 || move == NO_MOVE ? Outcome::DRAW : Outcome::OPEN;
}

void prepare_hash() {
    constexpr int SHALLOW = 7;
    constexpr int FEW_NODES = 100'000;
    constexpr double SHORT_TIME = 0.1;
    if (max_depth <= SHALLOW || (node_limit >= 1 && node_limit <= FEW_NODES) || time_per_move <= SHORT_TIME)
        hash_enabled = 0;
    else
        tt_clear_if_idle();
}

// One game from the initial position between two copies of the settings.
FinishedGame play_game(const Settings &perturbed, const Settings &reference, PollInput poll_input) {
    Position &pos = game->position;
    set_fen(pos, START_FEN);
    FinishedGame finished{{}, Outcome::OPEN, std::rand() % 2 == 0};
    prepare_hash();
    while (finished.outcome == Outcome::OPEN && !quit_flag && game->history.undo_count < MAX_GAME_MOVES) {
        const bool perturbed_moves = (pos.side == WHITE) == finished.perturbed_is_white;
        settings = perturbed_moves ? perturbed : reference;
        Move move = NO_MOVE;
        const PlayedMove played = choose_move(move, poll_input);
        if (quit_flag) break;
        finished.outcome = adjudicate(pos, move, played.score);
        if (move == NO_MOVE) continue;
        finished.moves.push_back(played);
        if (finished.outcome == Outcome::OPEN) make_move(pos, move);
    }
    return finished;
}

void write_game(OutputFile &file, const FinishedGame &finished, int number) {
    const char *result = finished.outcome == Outcome::WHITE_WINS   ? "1-0"
                         : finished.outcome == Outcome::BLACK_WINS ? "0-1"
                                                                   : "1/2-1/2";
    const char *white = finished.perturbed_is_white ? "Player1" : "Player2";
    const char *black = finished.perturbed_is_white ? "Player2" : "Player1";
    std::string text = "[Event selfplay]\n";
    text += format_line("[Game %d]\n[White \"%s\"]\n[Black \"%s\"]\n[Result \"%s\"]\n", number, white, black, result);
    for (std::size_t i = 0; i < finished.moves.size(); ++i) {
        const PlayedMove &move = finished.moves[i];
        const std::string shown = format_line("%s {%0.2f/%d}", move.text.c_str(), move.score / 100.0, move.depth);
        text += i % 2 == 0 ? shown : "   " + shown + "\n";
    }
    if (finished.moves.size() % 2 != 0) text += "\n";
    file.write(text + "\n");
    file.flush();
}

// Gives every selected weight of `settings` a random distance from its estimate, up to a fifth of it.
void perturb_weights() {
    for (TunableParam &param : tunables) {
        *param.target = nearest_weight(param.estimate);
        if (param.selected == 0) continue;
        const int r = std::rand() % 400;
        double distance = (0.001 * r - 0.2) * param.estimate;
        if (distance > 0.0 && distance < LEAST_PERTURBATION) distance = LEAST_PERTURBATION;
        if (distance < 0.0 && distance > -LEAST_PERTURBATION) distance = -LEAST_PERTURBATION;
        *param.target = nearest_weight(param.estimate + distance);
    }
}

void show_estimates(int games) {
    std::printf("ngames= %d\n", games);
    for (const TunableParam &param : tunables)
        if (param.selected != 0)
            std::printf(" * %-24s : %6.1f  %4d\n", param.name.data(), param.estimate, *param.target);
    std::fflush(stdout);
}

// Moves the estimates towards the perturbed weights when these have won more games, and away when they have lost more.
// The perturbed weights are those of `settings`.
void follow_winner(int surplus) {
    for (TunableParam &param : tunables)
        if (param.selected != 0)
            param.estimate += surplus * STEP_RATE * (*param.target - nearest_weight(param.estimate));
}

// Games that the perturbed copy won more than it lost.
int play_cycle(const Settings &perturbed, const Settings &reference, int games_before, OutputFile &file,
               Progress &progress, PollInput poll_input) {
    int surplus = 0;
    for (int number = 1; number <= GAMES_PER_CYCLE && !quit_flag; ++number) {
        const FinishedGame finished = play_game(perturbed, reference, poll_input);
        if (finished.outcome == Outcome::OPEN) break;  // stopped by the user
        const Outcome perturbed_win = win_of(finished.perturbed_is_white ? WHITE : BLACK);
        if (finished.outcome != Outcome::DRAW) surplus += finished.outcome == perturbed_win ? 1 : -1;
        write_game(file, finished, number);
        progress.update(games_before + number, games_before + number, GAMES);
    }
    return surplus;
}

}  // namespace

void run_selfplay_tuning(PollInput poll_input) {
    register_eval_tunables();
    for (const char *name : TUNED_WEIGHTS) select_tunable(name);
    OutputFile file(GAME_FILE);
    if (!file.is_open()) {
        std::printf("can't open %s\n", GAME_FILE);
        return;
    }
    settings.OwnBook_Depth = 6;
    settings.OwnBook_Variety = 50;
    settings.Hash = 2;
    noise = NO_PROGRESS_LINES;
    tc_mode = 1;
    time_per_move = 0.03;
    clock_white = clock_black = 1.0;
    default_settings = settings;
    print_line("Starting match...");

    Progress progress("games");
    for (int games = 0; games < GAMES && !quit_flag; games += GAMES_PER_CYCLE) {
        settings = default_settings;
        const Settings reference = default_settings;
        perturb_weights();
        const Settings perturbed = settings;
        progress.finish();
        show_estimates(games);
        const int surplus = play_cycle(perturbed, reference, games, file, progress, poll_input);
        settings = perturbed;  // the registry points into the live record
        if (!quit_flag) follow_winner(surplus);
    }
    settings = default_settings;
}
