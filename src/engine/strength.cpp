#include "engine/strength.h"

#include <algorithm>
#include <cmath>

#include "base/output.h"
#include "board/checks.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "engine/life.h"
#include "platform/clock.h"
#include "search/search.h"

namespace {

constexpr double UNKNOWN_RATE = 10.0;  // the model has a pole here
constexpr double LOWEST_RATE = 30.0;
constexpr double HIGHEST_RATE = 10'000'000.0;
constexpr double ELO_TOLERANCE = 0.5;
constexpr double RATE_TOLERANCE = 1e-6;

constexpr double CALIBRATION_SECONDS = 0.3;
constexpr double ROUNDS_TO_NODES = 1.17;  // a search visits so many nodes in the time of a calibration round
constexpr int MOVES_PER_ROUND = 10;
constexpr double NEVER_ZERO = 0.001;  // seconds

// About the work of one node: checkers, evaluation, move generation, a few moves made and taken back.
void calibration_round(SearchThread &thread) {
    Position &pos = thread.position;
    const Colour side = pos.side;
    PlyRecord &root = thread.plies[ROOT_PLY];
    ++thread.nodes;
    root.checker = checker_of(pos, side);
    evaluate(pos, thread.eval, ROOT_PLY, root.in_check(), root.eval);
    gen_all(pos, root.list);
    int played = 0;
    for (const MoveEntry *entry = root.list; entry->move != END_OF_LIST && played < MOVES_PER_ROUND; ++entry) {
        if (!is_legal(pos, side, entry->move)) continue;
        make_move(pos, entry->move);
        unmake_move(pos);
        ++played;
    }
}

// Node rate whose model strength comes within ELO_TOLERANCE of `elo`, by bisection; an end of the interval when it lies
// outside.
double rate_for_elo(int elo) {
    double low = LOWEST_RATE;
    double high = HIGHEST_RATE;
    double middle = (low + high) / 2;
    while (high - low > RATE_TOLERANCE) {
        const double model = elo_model(middle);
        if (std::fabs(model - elo) < ELO_TOLERANCE) break;
        if (elo > model)
            low = middle;
        else
            high = middle;
        middle = (low + high) / 2;
    }
    return middle;
}

}  // namespace

double usable_rate(double nodes_per_second) { return nodes_per_second > UNKNOWN_RATE ? nodes_per_second : LOWEST_RATE; }

double elo_model(double nodes_per_second) {
    const double n = usable_rate(nodes_per_second);
    return 126.0 * std::log(n) + 1183.0 - 4500.0 / (n - UNKNOWN_RATE);
}

double calibrate_speed(Engine &engine) {
    set_fen(engine.game.position, START_FEN);
    SearchThread &thread = prepare_thread(engine);
    const double start = monotonic_seconds();
    while (monotonic_seconds() - start < CALIBRATION_SECONDS) calibration_round(thread);
    const double seconds = monotonic_seconds() - start;
    engine.calibrated_nps = static_cast<double>(thread.nodes) * ROUNDS_TO_NODES / (seconds + NEVER_ZERO);
    engine.calibrated_elo = elo_model(engine.calibrated_nps);
    engine.settings.UCI_Elo = static_cast<std::int16_t>(engine.calibrated_elo);
    derive_search_params(engine.settings.search, engine.settings.UCI_Elo, engine.shared.target_nps,
                         engine.shared.params);
    return seconds;
}

void limit_rate(Engine &engine, double nodes_per_second) {
    engine.shared.target_nps = usable_rate(nodes_per_second);
    engine.settings.UCI_LimitStrength = 1;
}

void apply_target_elo(Engine &engine) {
    const int full = static_cast<int>(engine.calibrated_elo);
    const int wanted = engine.settings.UCI_Elo;
    if (wanted < 1 || wanted >= full - FULL_STRENGTH_MARGIN) {
        engine.shared.target_nps = engine.calibrated_nps;
        engine.settings.UCI_LimitStrength = 0;
        engine.settings.UCI_Elo = static_cast<std::int16_t>(full);
    } else {
        const int elo = std::max(wanted, LOWEST_ELO);
        engine.shared.target_nps = rate_for_elo(elo);
        engine.settings.UCI_Elo = static_cast<std::int16_t>(elo);
    }
    engine.shared.reporter.say(format_line("info string target nps = %.0f", engine.shared.target_nps.load()));
}
