// The whole of orvocap's options: what main reads, and what its pages are made from.
#pragma once

#include "command.h"

namespace orvocap {

// Adds every command to the options. action: set by the command that is chosen; outlives app.
void describe(CLI::App& app, Action& action);

}  // namespace orvocap
