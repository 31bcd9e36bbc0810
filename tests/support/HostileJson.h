#pragma once

// The worst inputs we know how to make, for every reader's test.

#include <cstddef>
#include <string>

namespace lxhf::test {

// {"k":{"k":…1…}} with `levels` objects.
inline std::string nestedValue(std::size_t levels) {
    std::string text;
    text.reserve(levels * 6 + 1);
    for (std::size_t i = 0; i < levels; ++i) text += R"({"k":)";
    text += '1';
    text.append(levels, '}');
    return text;
}

// A member nested `levels` deep followed by another member. Building the
// tree copies the deep member once the next one arrives, recursively: 60,000
// to 100,000 levels overflowed an 8 MB stack, depending on the build.
inline std::string deepObject(std::size_t levels = 200'000) {
    return R"({"x":)" + nestedValue(levels) + R"(,"y":1})";
}

}  // namespace lxhf::test
