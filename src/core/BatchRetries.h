#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "core/FetchPolicy.h"
#include "platform/MainQueue.h"

namespace lxhf {

// The retry timers of failed offer batches, keyed by each batch's place in
// the queue, with each batch's failures: all of them count towards the most
// attempts, and those since the last trigger set the wait. Owned by the
// offer pipeline; main context only. Destroying it cancels every timer.
class BatchRetries {
public:
    BatchRetries(MainQueue& queue, FetchSettings settings);

    bool enabled() const noexcept { return settings_.policy.retry.has_value(); }

    enum class Next { wait, giveUp };
    // A transient failure of the batch at `arrival`. Schedules `fetchAgain`
    // after the backoff when online and none is waiting for that batch yet;
    // says giveUp, forgetting the batch, once its attempts are spent.
    Next failed(std::uint64_t arrival, std::optional<Seconds> serviceAsked, bool online,
                std::function<void()> fetchAgain);
    // The batch left the queue or was answered: its count starts over.
    void forget(std::uint64_t arrival) { batches_.erase(arrival); }
    // A new trigger fetches the whole queue: pending retries go and the waits
    // start over, but a host that triggers often must not keep a failing
    // batch loading for ever, so the attempts stay counted.
    void reset();

    std::size_t waiting() const;

private:
    struct Batch {
        unsigned failures = 0;
        unsigned sinceTrigger = 0;
        std::unique_ptr<WorkItem> timer;
    };

    MainQueue& queue_;
    FetchSettings settings_;
    std::map<std::uint64_t, Batch> batches_;
};

}  // namespace lxhf
