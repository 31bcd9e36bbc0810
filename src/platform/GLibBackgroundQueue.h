#pragma once

#include <glib.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "platform/BackgroundQueue.h"

namespace lxhf {

// One worker thread from GLib's shared pool at a time, so items run in
// order; continuations go back to the GMainContext that was thread-default at
// construction. Only the work closure crosses threads; the continuations stay
// in a map the main context alone touches. Destroying the queue waits for the
// work already submitted (a pending file write is never dropped), at most
// the stop limit, after which the work finishes on its own and an error is
// logged; the continuations not yet run are dropped.
//
// The work touches no GObject type (plain GLib, files and our own code), so
// the worker registers none; work that needs one must have it made first
// (see ensureNetworkTypes()).
class GLibBackgroundQueue final : public BackgroundQueue {
public:
    static constexpr std::chrono::milliseconds kDefaultStopLimit{5000};
    explicit GLibBackgroundQueue(std::chrono::milliseconds stopLimit = kDefaultStopLimit);
    ~GLibBackgroundQueue() override;
    GLibBackgroundQueue(const GLibBackgroundQueue&) = delete;
    GLibBackgroundQueue& operator=(const GLibBackgroundQueue&) = delete;

    void submit(std::function<void()> work, std::function<void()> then) override;

    // Main context only.
    struct Continuations {
        std::map<std::uint64_t, std::function<void()>> waiting;
        std::uint64_t nextId = 0;
    };

    // Jobs submitted and not yet finished; shared with the worker.
    struct Outstanding {
        std::mutex mutex;
        std::condition_variable drained;
        std::uint64_t count = 0;
        void addOne();
        void finishOne();
        bool waitFor(std::chrono::milliseconds limit);
    };

private:
    GThreadPool* newPool();

    GMainContext* context_;
    std::shared_ptr<Continuations> continuations_;
    std::shared_ptr<std::atomic<std::uint64_t>> finishedJobs_ = std::make_shared<std::atomic<std::uint64_t>>(0);
    std::shared_ptr<Outstanding> outstanding_ = std::make_shared<Outstanding>();
    GThreadPool* pool_;
    std::chrono::milliseconds stopLimit_;
};

}  // namespace lxhf
