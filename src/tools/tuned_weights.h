// What tuners share: the choice of weights, the file that takes what was found, and what their checkpoints hold of it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "eval/tunables.h"
#include "tools/checkpoint.h"
#include "tools/tools.h"

// Selects the weights that the run names, or those of `usual` when it names none. False, after a line, when a name is none;
// the run has failed then.
bool select_weights(ToolRun &run, std::vector<TunableParam> &tunables, const std::vector<std::string_view> &usual);

// Writes the configuration file "tuned.cfg": the selected weights with the values of their estimates, kept within their
// ranges, and whatever else of the evaluation is not as the program came. `what` tells, in lines that need not begin with
// '#', where they come from. False, after a line, when the file could not be written; the run has failed then.
bool write_tuned_weights(ToolRun &run, const std::vector<TunableParam> &tunables, std::string_view what);

// The selected weights' estimates, and a number that stands for the values of all weights.
void put_estimates(Checkpoint &checkpoint, const std::vector<TunableParam> &tunables);
// False when the checkpoint has other weights; nothing has changed then.
bool take_estimates(const Checkpoint &checkpoint, std::vector<TunableParam> &tunables);
