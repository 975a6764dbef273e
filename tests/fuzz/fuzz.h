// What the fuzzers share: a check that stops them, and the bytes of an input read as values.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

// Ends the process, which is how a fuzzer tells of a fault.
#define REQUIRE(condition)                                                               \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            std::fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                \
        }                                                                                \
    } while (0)

using Input = FuzzedDataProvider;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);
