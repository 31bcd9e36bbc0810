#include "infra/Debouncer.h"

#include <utility>

namespace lxhf {

Debouncer::Debouncer(MainQueue& queue, Seconds delay, std::function<void()> action)
    : queue_(queue), delay_(delay), action_(std::make_shared<const std::function<void()>>(std::move(action))) {}

// Dropping the work item cancels it; the weak hold below covers a queue that
// has already taken the work out to run it.
Debouncer::~Debouncer() = default;

void Debouncer::call() {
    if (workItem_) workItem_->cancel();
    std::weak_ptr<const std::function<void()>> weak = action_;
    workItem_ = queue_.postAfter(delay_, [weak] {
        auto action = weak.lock();
        if (action && *action) (*action)();
    });
}

}  // namespace lxhf
