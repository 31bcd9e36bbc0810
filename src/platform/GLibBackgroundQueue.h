#pragma once

#include <glib.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "platform/BackgroundQueue.h"

namespace lxhf {

// One worker thread from GLib's shared pool at a time, so items run in
// order; continuations go back to the GMainContext that was thread-default at
// construction. Only the work closure crosses threads; the continuations stay
// in a map the main context alone touches. Destroying the queue waits for the
// work already submitted (a pending file write is never dropped) and drops
// the continuations not yet run.
class GLibBackgroundQueue final : public BackgroundQueue {
public:
    GLibBackgroundQueue();
    ~GLibBackgroundQueue() override;
    GLibBackgroundQueue(const GLibBackgroundQueue&) = delete;
    GLibBackgroundQueue& operator=(const GLibBackgroundQueue&) = delete;

    void submit(std::function<void()> work, std::function<void()> then) override;

    // Main context only.
    struct Continuations {
        std::map<std::uint64_t, std::function<void()>> waiting;
        std::uint64_t nextId = 0;
    };

private:
    GThreadPool* newPool();

    GMainContext* context_;
    std::shared_ptr<Continuations> continuations_;
    std::shared_ptr<std::atomic<std::uint64_t>> finishedJobs_ = std::make_shared<std::atomic<std::uint64_t>>(0);
    GThreadPool* pool_;
};

}  // namespace lxhf
