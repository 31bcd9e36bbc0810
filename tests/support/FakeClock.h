#pragma once

#include <chrono>

#include "platform/Clock.h"
#include "platform/MainQueue.h"

namespace lxhf::test {

// A wall clock that moves only when the test moves it. Single threaded.
class FakeClock final : public Clock {
public:
    // 2024-01-01 00:00:00 UTC unless told otherwise: fixed, so dates in
    // expected texts never depend on the day the test runs.
    explicit FakeClock(WallTime start = WallTime{std::chrono::seconds{1704067200}}) : now_(start) {}

    WallTime now() const override { return now_; }
    void advance(Seconds step) { now_ += std::chrono::duration_cast<WallTime::duration>(step); }

private:
    WallTime now_;
};

}  // namespace lxhf::test
