#pragma once

#include <glib.h>

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "platform/MainQueue.h"

namespace lxhf {

// Runs work on the GMainContext that was thread-default at construction; used
// on that context's thread only. Destroying the queue cancels all pending work.
class GLibMainQueue final : public MainQueue {
public:
    GLibMainQueue();
    explicit GLibMainQueue(GMainContext* context);
    ~GLibMainQueue() override;
    GLibMainQueue(const GLibMainQueue&) = delete;
    GLibMainQueue& operator=(const GLibMainQueue&) = delete;

    void post(std::function<void()> work) override;
    std::unique_ptr<WorkItem> postAfter(Seconds delay, std::function<void()> work) override;

    // Ordered by due time (monotonic microseconds), then by submission.
    using Key = std::pair<gint64, std::uint64_t>;
    struct State {
        std::map<Key, std::function<void()>> due;
        std::uint64_t nextSequence = 0;
        GSource* source = nullptr;
    };

private:
    Key schedule(gint64 dueTime, std::function<void()> work);

    std::shared_ptr<State> state_;
};

}  // namespace lxhf
