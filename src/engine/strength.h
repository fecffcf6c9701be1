// Playing strength as a function of the node rate, and the measurement of this machine's own rate.
#pragma once

#include "engine/engine.h"

constexpr int LOWEST_ELO = 1500;
constexpr int FULL_STRENGTH_MARGIN = 10;  // a wanted strength so near the machine's own is no limit

// A wanted node rate as it is used: rates of 10 or less, which the model does not know, become 30.
double usable_rate(double nodes_per_second);

// Elo estimate for a node rate in nodes per second; rates of 10 or less count as 30.
double elo_model(double nodes_per_second);

// Measures for 0.3 seconds how fast this machine searches and sets the calibrated rate and strength, and UCI_Elo, from it.
// Sets up the start position. No search running. Returns the seconds that it took.
double calibrate_speed(Engine &engine);

// Limits the node rate of all searches, one that runs included. Nodes per second and thread.
void limit_rate(Engine &engine, double nodes_per_second);

// Takes the strength that the UCI_Elo option has stored (already clamped) and sets the target node rate for it; full
// strength when it is within 10 of the calibrated one. Tells the rate.
void apply_target_elo(Engine &engine);
