#include "base/control.h"

Relaxed<std::uint16_t> uci_mode(1);

Relaxed<double> noise(0.0);
double time_per_move = 5.0;
double clock_white = 5.0;
double clock_black = 5.0;
double increment = 0.0;
std::uint8_t tc_mode = 1;
int moves_to_go = 0;
Relaxed<std::uint8_t> max_depth(MAX_DEPTH);
bool endless_search = false;
std::int64_t node_limit = 0;
Relaxed<double> target_nps(UNLIMITED_NPS);

double calibrated_nps = 0.0;
double calibrated_elo = 0.0;

std::uint8_t search_request = REQUEST_NONE;
Relaxed<std::uint8_t> search_state(REQUEST_NONE);
Relaxed<std::uint8_t> stop_flag(STOP_NONE);
bool quit_flag = false;
bool ready_flag = true;
