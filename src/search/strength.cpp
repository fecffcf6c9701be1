#include "search/strength.h"

#include <algorithm>
#include <cmath>

#include "base/control.h"
#include "base/output.h"
#include "base/settings.h"

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

}  // namespace

double elo_model(double nodes_per_second) {
    const double n = nodes_per_second > 10.0 ? nodes_per_second : LOWEST_RATE;
    return 126.0 * std::log(n) + 1183.0 - 4500.0 / (n - 10.0);
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
