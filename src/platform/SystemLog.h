#pragma once

#include <string_view>

namespace lxhf {

// The machine's own log (journald through GLib on Linux).
class SystemLog {
public:
    enum class Type { info, error };
    virtual ~SystemLog() = default;
    virtual void write(Type type, std::string_view line) = 0;
};

}  // namespace lxhf
