#include <glib.h>
#include <gtest/gtest.h>

#include "platform/GLibMainQueue.h"
#include "support/MainLoop.h"

using namespace std::chrono_literals;
using Ran = std::vector<std::string>;

namespace lxhf {
namespace {

TEST(GLibMainQueue, WorkRunsLaterInPostingThenDueOrderAndNotBeforeItsDelay) {
    GLibMainQueue queue;
    Ran ran;
    queue.post([&] { ran.push_back("a"); });
    queue.post([&] {
        ran.push_back("b");
        queue.post([&] { ran.push_back("d"); });
    });
    queue.post([&] { ran.push_back("c"); });
    EXPECT_TRUE(ran.empty());
    ASSERT_TRUE(test::runMainLoopUntil([&] { return ran.size() == 4; }));
    EXPECT_EQ(ran, (Ran{"a", "b", "c", "d"}));

    ran.clear();
    auto late = queue.postAfter(30ms, [&] { ran.push_back("late"); });
    auto early = queue.postAfter(10ms, [&] { ran.push_back("early"); });
    queue.post([&] { ran.push_back("now"); });
    g_usleep(50'000);  // the loop was busy past every deadline
    ASSERT_TRUE(test::runMainLoopUntil([&] { return ran.size() == 3; }));
    EXPECT_EQ(ran, (Ran{"now", "early", "late"}));

    gint64 start = g_get_monotonic_time(), ranAt = 0;
    auto timed = queue.postAfter(120ms, [&] { ranAt = g_get_monotonic_time(); });
    ASSERT_TRUE(test::runMainLoopUntil([&] { return ranAt != 0; }));
    EXPECT_GE(ranAt - start, 120'000);
    EXPECT_LT(ranAt - start, 1'000'000);
}

TEST(GLibMainQueue, CancelledDestroyedOrOrphanedWorkNeverRuns) {
    auto queue = std::make_unique<GLibMainQueue>();
    Ran ran;
    auto cancelled = queue->postAfter(0s, [&] { ran.push_back("cancelled"); });
    auto dropped = queue->postAfter(0s, [&] { ran.push_back("dropped"); });
    std::unique_ptr<WorkItem> cancelledByEarlierWork;
    queue->post([&] {
        ran.push_back("first");
        cancelledByEarlierWork->cancel();
    });
    cancelledByEarlierWork = queue->postAfter(0s, [&] { ran.push_back("due together"); });
    cancelled->cancel();
    dropped.reset();
    test::runMainLoopFor(0.05);
    EXPECT_EQ(ran, (Ran{"first"}));

    cancelled->cancel();  // after the fact: harmless
    auto outlives = queue->postAfter(10ms, [&] { ran.push_back("pending at destruction"); });
    queue->post([&] { ran.push_back("posted at destruction"); });
    queue.reset();
    test::runMainLoopFor(0.05);
    outlives->cancel();  // the queue is gone; must not touch it
    outlives.reset();
    EXPECT_EQ(ran, (Ran{"first"}));

    // Work may destroy its own queue; what follows it never runs.
    queue = std::make_unique<GLibMainQueue>();
    queue->post([&] { queue.reset(); });
    queue->post([&] { ran.push_back("after"); });
    test::runMainLoopFor(0.05);
    EXPECT_EQ(ran, (Ran{"first"}));
}

}  // namespace
}  // namespace lxhf
