#include "support/ManualQueue.h"

#include <algorithm>

namespace lxhf::test {

namespace {

class ManualWork final : public WorkItem {
public:
    ManualWork(std::weak_ptr<ManualQueue::State> state, ManualQueue::Key key) : state_(std::move(state)), key_(key) {}
    ~ManualWork() override { cancel(); }
    void cancel() override {
        if (auto state = state_.lock()) state->due.erase(key_);
        state_.reset();
    }

private:
    std::weak_ptr<ManualQueue::State> state_;
    ManualQueue::Key key_;
};

}  // namespace

ManualQueue::ManualQueue() : state_(std::make_shared<State>()) {}
ManualQueue::~ManualQueue() = default;

ManualQueue::Key ManualQueue::schedule(Seconds at, std::function<void()> work) {
    Key key{at.count(), state_->nextSequence++};
    state_->due.emplace(key, std::move(work));
    return key;
}

void ManualQueue::post(std::function<void()> work) { schedule(state_->now, std::move(work)); }

std::unique_ptr<WorkItem> ManualQueue::postAfter(Seconds delay, std::function<void()> work) {
    Seconds at = state_->now + std::max(delay, Seconds{0.0});
    return std::make_unique<ManualWork>(state_, schedule(at, std::move(work)));
}

std::size_t ManualQueue::runUntil(Seconds limit) {
    // Holds the state so work that destroys the queue does not pull it away.
    auto state = state_;
    std::size_t ran = 0;
    while (!state->due.empty() && state->due.begin()->first.first <= limit.count()) {
        auto first = state->due.begin();
        state->now = std::max(state->now, Seconds{first->first.first});
        auto work = std::move(first->second);
        state->due.erase(first);
        ++ran;
        if (work) work();
    }
    state->now = std::max(state->now, limit);
    return ran;
}

std::size_t ManualQueue::advance(Seconds step) { return runUntil(state_->now + std::max(step, Seconds{0.0})); }

std::size_t ManualQueue::runPending() { return runUntil(state_->now); }

}  // namespace lxhf::test
