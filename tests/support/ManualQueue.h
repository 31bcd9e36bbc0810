#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "platform/MainQueue.h"

namespace lxhf::test {

// A MainQueue on virtual time: nothing runs until the test says so. Single
// threaded; work items may outlive the queue.
class ManualQueue final : public MainQueue {
public:
    ManualQueue();
    ~ManualQueue() override;

    void post(std::function<void()> work) override;
    std::unique_ptr<WorkItem> postAfter(Seconds delay, std::function<void()> work) override;

    // Moves virtual time forward by `step`, running everything that falls due
    // on the way in due order, including work posted by that work. Returns the
    // number of pieces of work run.
    std::size_t advance(Seconds step);
    // Runs what is due now, including work that work posts for now.
    std::size_t runPending();

    Seconds now() const { return state_->now; }
    std::size_t pendingCount() const { return state_->due.size(); }

    using Key = std::pair<double, std::uint64_t>;
    struct State {
        Seconds now{0.0};
        std::map<Key, std::function<void()>> due;
        std::uint64_t nextSequence = 0;
    };

private:
    Key schedule(Seconds at, std::function<void()> work);
    std::size_t runUntil(Seconds limit);

    std::shared_ptr<State> state_;
};

}  // namespace lxhf::test
