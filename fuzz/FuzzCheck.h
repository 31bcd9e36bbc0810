#pragma once

// A broken property must crash, so that the fuzzer keeps the input and the
// regression run fails on it.

#include <cstdio>
#include <cstdlib>

#define LXHF_FUZZ_CHECK(condition)                                                                  \
    do {                                                                                            \
        if (!(condition)) {                                                                         \
            std::fprintf(stderr, "fuzz check failed: %s (%s:%d)\n", #condition, __FILE__, __LINE__); \
            std::abort();                                                                           \
        }                                                                                           \
    } while (false)
