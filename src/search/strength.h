// Playing strength as a function of the node rate.
#pragma once

// Elo estimate for a node rate in nodes per second; rates of 10 or less count as 30.
double elo_model(double nodes_per_second);

// Takes the strength that the UCI_Elo option has stored (already clamped) and sets the target node rate for it; full
// strength when it is within 10 of the calibrated one. Prints the rate. Main thread.
void apply_target_elo();
