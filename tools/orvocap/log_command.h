// orvocap log: scrambled log files as plain text.
#pragma once

#include <string>
#include <vector>

#include "failure.h"

namespace orvocap {

// Prints the files one after the other; "-" and an empty list stand for standard input. With `follow` it goes on to
// print what is added to them, until the user stops it.
// Result: exitFailure when one of the files could not be read; the others are printed all the same.
ExitCode printLogs(const std::vector<std::string>& files, bool follow, bool asJson);

}  // namespace orvocap
