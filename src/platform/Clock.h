#pragma once

#include <chrono>

namespace lxhf {

using WallTime = std::chrono::system_clock::time_point;

// The wall date, for expiry and timestamps.
class Clock {
public:
    virtual ~Clock() = default;
    virtual WallTime now() const = 0;
};

class SystemClock final : public Clock {
public:
    WallTime now() const override { return std::chrono::system_clock::now(); }
};

}  // namespace lxhf
