// Playing strength as a function of the node rate, and the measurement of this machine's own rate.
#pragma once

// A wanted node rate as it is used: rates of 10 or less, which the model does not know, become 30.
double usable_rate(double nodes_per_second);

// Elo estimate for a node rate in nodes per second; rates of 10 or less count as 30.
double elo_model(double nodes_per_second);

// Measures for 0.3 seconds how fast this machine searches and sets calibrated_nps, calibrated_elo and the strength in
// `settings` from it. Sets up the start position in the game record. Main thread, threads idle.
void calibrate_speed();

// Takes the strength that the UCI_Elo option has stored (already clamped) and sets the target node rate for it; full
// strength when it is within 10 of the calibrated one. Prints the rate. Main thread.
void apply_target_elo();
