#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace lxhf {

// Runs work away from the main context, one item at a time in submission
// order, and then runs the item's continuation on the main context. The work
// gets only what it owns: it must not touch anything the main context owns.
// Used on the main context only.
class BackgroundQueue {
public:
    virtual ~BackgroundQueue() = default;
    virtual void submit(std::function<void()> work, std::function<void()> then) = 0;
};

// Runs both halves at once on the caller: what tests and tools without a
// worker use, and how the library behaved before it had one.
class InlineBackgroundQueue final : public BackgroundQueue {
public:
    void submit(std::function<void()> work, std::function<void()> then) override {
        work();
        then();
    }
};

// Computes `work()` in the background and hands its result to `done` on the
// main context.
template <class Work, class Done>
void computeInBackground(BackgroundQueue& queue, Work work, Done done) {
    using Result = decltype(work());
    auto slot = std::make_shared<std::optional<Result>>();
    queue.submit([slot, work = std::move(work)]() mutable { slot->emplace(work()); },
                 [slot, done = std::move(done)]() mutable { done(std::move(**slot)); });
}

}  // namespace lxhf
