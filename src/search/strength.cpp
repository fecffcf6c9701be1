#include "search/strength.h"

#include <algorithm>
#include <cmath>

#include "base/control.h"
#include "base/output.h"
#include "base/settings.h"
#include "board/checks.h"
#include "board/fen.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/movegen.h"
#include "platform/clock.h"
#include "search/params.h"
#include "search/threads.h"

namespace {

constexpr double LOWEST_RATE = 30.0;
constexpr double HIGHEST_RATE = 10'000'000.0;
constexpr int LOWEST_ELO = 1500;
constexpr double ELO_TOLERANCE = 0.5;

// Node rate whose model strength comes within ELO_TOLERANCE of `elo`, by bisection; an end of the interval when it lies
// outside.
double rate_for_elo(int elo) {
    double low = LOWEST_RATE;
    double high = HIGHEST_RATE;
    double middle = (low + high) / 2;
    while (high - low > 1e-6) {
        const double model = elo_model(middle);
        if (std::fabs(model - elo) < ELO_TOLERANCE) break;
        (elo > model ? low : high) = middle;
        middle = (low + high) / 2;
    }
    return middle;
}

constexpr double CALIBRATION_SECONDS = 0.3;
constexpr double ROUNDS_TO_NODES = 1.17;  // a search visits so many nodes in the time of a calibration round
constexpr int MOVES_PER_ROUND = 10;

// About the work of one node: checkers, evaluation, move generation, a few moves made and taken back.
void calibration_round(SearchThread &thread) {
    Position &pos = thread.position;
    const Colour side = pos.side;
    PlyRecord &root = thread.plies[1];
    ++thread.nodes;
    root.checker = static_cast<std::uint8_t>(checker_of(pos, side));
    evaluate(pos, thread.eval, side, 1, root.checker != NO_SQUARE, root.eval);
    gen_all(pos, root.list);
    int played = 0;
    for (const MoveEntry *entry = root.list; entry->move != END_OF_LIST && played < MOVES_PER_ROUND; ++entry) {
        if (!is_legal(pos, side, entry->move)) continue;
        make_move(pos, entry->move);
        unmake_move(pos);
        ++played;
    }
}

}  // namespace

double usable_rate(double nodes_per_second) { return nodes_per_second > 10.0 ? nodes_per_second : LOWEST_RATE; }

double elo_model(double nodes_per_second) {
    const double n = usable_rate(nodes_per_second);
    return 126.0 * std::log(n) + 1183.0 - 4500.0 / (n - 10.0);
}

void calibrate_speed() {
    set_fen(game->position, START_FEN);
    prepare_threads();
    SearchThread &thread = search_thread_at(0);
    const double start = monotonic_seconds();
    double elapsed = 0.0;
    while (elapsed < CALIBRATION_SECONDS) {
        calibration_round(thread);
        elapsed = monotonic_seconds() - start;
    }
    elapsed = monotonic_seconds() - start;
    calibrated_nps = static_cast<double>(thread.nodes) * ROUNDS_TO_NODES / (elapsed + 0.001);
    calibrated_elo = elo_model(calibrated_nps);
    settings.UCI_Elo = static_cast<std::int16_t>(calibrated_elo);
    print_format("info string et= %.3f, calibration nps= %0.0f", elapsed, calibrated_nps);
    derive_search_params();
}

void apply_target_elo() {
    const int full = static_cast<int>(calibrated_elo);
    const int wanted = settings.UCI_Elo;
    if (wanted < 1 || wanted >= full - 10) {
        target_nps = calibrated_nps;
        settings.UCI_LimitStrength = 0;
        settings.UCI_Elo = static_cast<std::int16_t>(full);
    } else {
        const int elo = std::max(wanted, LOWEST_ELO);
        target_nps = rate_for_elo(elo);
        settings.UCI_Elo = static_cast<std::int16_t>(elo);
    }
    print_format("info string target nps = %.0f", target_nps.load());
}
