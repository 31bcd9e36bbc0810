#include "core/BatchRetries.h"

#include <algorithm>

namespace lxhf {

BatchRetries::BatchRetries(MainQueue& queue, FetchSettings settings) : queue_(queue), settings_(std::move(settings)) {}

BatchRetries::Next BatchRetries::failed(std::uint64_t arrival, std::optional<Seconds> serviceAsked, bool online,
                                        std::function<void()> fetchAgain) {
    const LXFetchRetry& retry = *settings_.policy.retry;
    Batch& batch = batches_[arrival];
    // Two fetches held the batch and both failed: one failure, one retry.
    if (batch.timer) return Next::wait;
    ++batch.failures;
    ++batch.sinceTrigger;
    if (retry.maxAttempts && batch.failures >= *retry.maxAttempts) {
        batches_.erase(arrival);
        return Next::giveUp;
    }
    // Offline, the path coming back fetches the queue, this batch with it.
    if (!online) return Next::wait;
    const Seconds delay = retryDelay(retry, batch.sinceTrigger, serviceAsked, settings_.random);
    batch.timer = queue_.postAfter(delay, [this, arrival, fetchAgain = std::move(fetchAgain)] {
        // The count stays: a failure of this retry doubles the wait.
        if (auto found = batches_.find(arrival); found != batches_.end()) found->second.timer.reset();
        fetchAgain();
    });
    return Next::wait;
}

void BatchRetries::reset() {
    for (auto& [arrival, batch] : batches_) {
        batch.timer.reset();
        batch.sinceTrigger = 0;
    }
}

std::size_t BatchRetries::waiting() const {
    return std::ranges::count_if(batches_, [](const auto& entry) { return entry.second.timer != nullptr; });
}

}  // namespace lxhf
