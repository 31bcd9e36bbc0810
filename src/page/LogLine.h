#pragma once

#include <string>

namespace lxhf {

// A line the presentation code wants written through the shared logger. The
// presentation pieces return these instead of logging themselves, so they
// stay free of the logger and the caller decides where the line goes.
struct LogLine {
    enum class Level { info, warn, error };
    Level level;
    std::string message;
    bool operator==(const LogLine&) const = default;
};

}  // namespace lxhf
