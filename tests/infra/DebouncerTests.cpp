#include <gtest/gtest.h>

#include <memory>

#include "infra/Debouncer.h"
#include "support/ManualQueue.h"

namespace lxhf {
namespace {

using namespace std::chrono_literals;

class DebouncerTest : public ::testing::Test {
protected:
    std::unique_ptr<Debouncer> counting(int& runs, Seconds delay = 0.2s) {
        return std::make_unique<Debouncer>(queue, delay, [&runs] { ++runs; });
    }

    test::ManualQueue queue;
};

TEST_F(DebouncerTest, BurstRunsOnceAfterTheLastCall) {
    int runs = 0;
    auto debouncer = counting(runs);
    for (int i = 0; i < 10; ++i) {
        debouncer->call();
        queue.advance(0.1s);
    }
    EXPECT_EQ(runs, 0);  // 0.1 s after the tenth call
    queue.advance(0.09s);
    EXPECT_EQ(runs, 0);
    queue.advance(0.02s);  // 0.2 s after the tenth call
    EXPECT_EQ(runs, 1);
    queue.advance(10s);
    EXPECT_EQ(runs, 1);
}

TEST_F(DebouncerTest, CallAfterARunSchedulesAgain) {
    int runs = 0;
    auto debouncer = counting(runs);
    debouncer->call();
    queue.advance(0.3s);
    ASSERT_EQ(runs, 1);
    debouncer->call();
    queue.advance(0.1s);
    EXPECT_EQ(runs, 1);
    queue.advance(0.2s);
    EXPECT_EQ(runs, 2);
}

TEST_F(DebouncerTest, ReplacedOrDestroyedDebouncerNeverRuns) {
    int oldRuns = 0;
    int newRuns = 0;
    auto debouncer = counting(oldRuns);
    debouncer->call();
    queue.advance(0.1s);
    // Replacing it is how new work is queued; the old pending run is void.
    debouncer = counting(newRuns);
    debouncer->call();
    queue.advance(1s);
    EXPECT_EQ(oldRuns, 0);
    EXPECT_EQ(newRuns, 1);

    debouncer->call();
    debouncer.reset();
    queue.advance(1s);
    EXPECT_EQ(newRuns, 1);
    EXPECT_EQ(queue.pendingCount(), 0u);
}

TEST_F(DebouncerTest, ActionMayReplaceItsOwnDebouncer) {
    // The engine's action queues follow-up work by swapping in a new debouncer
    // while the old one's run is still on the stack.
    std::unique_ptr<Debouncer> slot;
    int firstRuns = 0;
    int secondRuns = 0;
    slot = std::make_unique<Debouncer>(queue, 0.2s, [&] {
        ++firstRuns;
        slot = std::make_unique<Debouncer>(queue, 0.2s, [&] { ++secondRuns; });
        slot->call();
    });
    slot->call();
    queue.advance(0.25s);
    EXPECT_EQ(firstRuns, 1);
    EXPECT_EQ(secondRuns, 0);
    queue.advance(0.2s);
    EXPECT_EQ(secondRuns, 1);
}

}  // namespace
}  // namespace lxhf
