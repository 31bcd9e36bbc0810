#pragma once

#include <deque>
#include <functional>
#include <utility>

#include "platform/BackgroundQueue.h"

namespace lxhf::test {

// Keeps submitted work until the test runs it, as a worker that has not got
// to it yet would. Single threaded.
class ManualBackgroundQueue final : public BackgroundQueue {
public:
    void submit(std::function<void()> work, std::function<void()> then) override {
        items_.push_back({std::move(work), std::move(then)});
    }

    std::size_t pending() const { return items_.size(); }
    // The oldest item's work, then its continuation.
    void runNext() {
        auto item = std::move(items_.front());
        items_.pop_front();
        item.first();
        if (item.second) item.second();
    }
    void runAll() {
        while (!items_.empty()) runNext();
    }

private:
    std::deque<std::pair<std::function<void()>, std::function<void()>>> items_;
};

}  // namespace lxhf::test
