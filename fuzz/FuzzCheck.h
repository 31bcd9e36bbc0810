#pragma once

// A broken property must crash, so that the fuzzer keeps the input and the
// regression run fails on it.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#define LXHF_FUZZ_CHECK(condition)                                                                  \
    do {                                                                                            \
        if (!(condition)) {                                                                         \
            std::fprintf(stderr, "fuzz check failed: %s (%s:%d)\n", #condition, __FILE__, __LINE__); \
            std::abort();                                                                           \
        }                                                                                           \
    } while (false)

// The fuzzer's bytes as text, as every harness reads them.
inline std::string_view fuzzText(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}
