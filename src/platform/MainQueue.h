#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace lxhf {

using Seconds = std::chrono::duration<double>;

// A scheduled piece of work. Cancelling it, or destroying it before it ran,
// keeps it from running; cancelling after it ran has no effect.
class WorkItem {
public:
    virtual ~WorkItem() = default;
    virtual void cancel() = 0;
};

// Runs work on the thread that owns the library's state. Never blocks.
class MainQueue {
public:
    virtual ~MainQueue() = default;
    virtual void post(std::function<void()> work) = 0;
    virtual std::unique_ptr<WorkItem> postAfter(Seconds delay, std::function<void()> work) = 0;
};

}  // namespace lxhf
