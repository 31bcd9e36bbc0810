#include <gtest/gtest.h>

#include <memory>

#include "infra/Debouncer.h"
#include "support/ManualQueue.h"

namespace lxhf {
namespace {

using namespace std::chrono_literals;

TEST(DebouncerTest, BurstRunsOnceAfterTheLastCallAndALaterCallSchedulesAgain) {
    test::ManualQueue queue;
    int runs = 0;
    Debouncer debouncer(queue, 0.2s, [&runs] { ++runs; });
    for (int i = 0; i < 10; ++i) {
        debouncer.call();
        queue.advance(0.1s);
    }
    queue.advance(0.09s);
    EXPECT_EQ(runs, 0);
    queue.advance(0.02s);  // 0.2 s after the tenth call
    EXPECT_EQ(runs, 1);
    queue.advance(10s);
    EXPECT_EQ(runs, 1);

    debouncer.call();
    queue.advance(0.1s);
    EXPECT_EQ(runs, 1);
    queue.advance(0.2s);
    EXPECT_EQ(runs, 2);
}

TEST(DebouncerTest, ReplacedOrDestroyedDebouncerNeverRunsAndAnActionMayReplaceItsOwn) {
    test::ManualQueue queue;
    int oldRuns = 0, newRuns = 0;
    auto debouncer = std::make_unique<Debouncer>(queue, 0.2s, [&] { ++oldRuns; });
    debouncer->call();
    queue.advance(0.1s);
    debouncer = std::make_unique<Debouncer>(queue, 0.2s, [&] { ++newRuns; });
    debouncer->call();
    queue.advance(1s);
    EXPECT_EQ(oldRuns, 0);
    EXPECT_EQ(newRuns, 1);
    debouncer->call();
    debouncer.reset();
    queue.advance(1s);
    EXPECT_EQ(newRuns, 1);
    EXPECT_EQ(queue.pendingCount(), 0u);

    // Swapping in a new debouncer while the old one's run is on the stack.
    int firstRuns = 0, secondRuns = 0;
    debouncer = std::make_unique<Debouncer>(queue, 0.2s, [&] {
        ++firstRuns;
        debouncer = std::make_unique<Debouncer>(queue, 0.2s, [&] { ++secondRuns; });
        debouncer->call();
    });
    debouncer->call();
    queue.advance(0.25s);
    EXPECT_EQ(firstRuns, 1);
    EXPECT_EQ(secondRuns, 0);
    queue.advance(0.2s);
    EXPECT_EQ(secondRuns, 1);
}

}  // namespace
}  // namespace lxhf
