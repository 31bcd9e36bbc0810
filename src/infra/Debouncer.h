#pragma once

#include <functional>
#include <memory>

#include "platform/MainQueue.h"

namespace lxhf {

// Trailing-edge timer: each call() cancels the pending run and schedules a new
// one `delay` later, so a burst of calls runs the action once, after the last.
// Owned by the engine, which replaces a debouncer rather than changing its
// action; a replaced or destroyed debouncer's pending run never happens.
// Main context only; `queue` must outlive it.
class Debouncer {
public:
    Debouncer(MainQueue& queue, Seconds delay, std::function<void()> action);
    ~Debouncer();
    Debouncer(const Debouncer&) = delete;
    Debouncer& operator=(const Debouncer&) = delete;

    void call();

private:
    MainQueue& queue_;
    Seconds delay_;
    // Shared only so a run in progress keeps the action alive even if the
    // action itself replaces this debouncer.
    std::shared_ptr<const std::function<void()>> action_;
    std::unique_ptr<WorkItem> workItem_;
};

}  // namespace lxhf
