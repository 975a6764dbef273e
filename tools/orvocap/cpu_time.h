// Processor time of this process, and what a copy of memory costs.
#pragma once

#include <cstddef>

namespace orvocap {

// So far, in seconds.
double ownCpuSeconds();

// Copies so many bytes again and again for a fifth of a second. Result: the best rate in bytes a second.
double copyRate(size_t bytes);

}  // namespace orvocap
