#include <glib.h>
#include <gtest/gtest.h>

#include "platform/GLibMainQueue.h"
#include "support/MainLoop.h"
#include "support/ManualQueue.h"

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

TEST(ManualQueue, VirtualTimeRunsDueWorkInTimeOrderIncludingWorkItPosts) {
    test::ManualQueue queue;
    Ran ran;
    std::unique_ptr<WorkItem> postedByWork;
    auto dropped = queue.postAfter(0s, [&] { ran.push_back("dropped"); });
    auto at3 = queue.postAfter(3s, [&] { ran.push_back("3s"); });
    auto at1 = queue.postAfter(1s, [&] {
        ran.push_back("1s at " + std::to_string(queue.now().count()));
        // Falls inside the same window: must run before the 3s item.
        postedByWork = queue.postAfter(1s, [&] { ran.push_back("2s at " + std::to_string(queue.now().count())); });
    });
    auto at10 = queue.postAfter(10s, [&] { ran.push_back("10s"); });
    queue.post([&] {
        ran.push_back("a");
        queue.post([&] { ran.push_back("b"); });
    });
    dropped.reset();
    EXPECT_EQ(queue.runPending(), 2u);  // only what is due now
    EXPECT_EQ(queue.now(), 0s);
    EXPECT_EQ(queue.advance(3s), 3u);
    EXPECT_EQ(ran, (Ran{"a", "b", "1s at 1.000000", "2s at 2.000000", "3s"}));
    EXPECT_EQ(queue.now(), 3s);
    EXPECT_EQ(queue.pendingCount(), 1u);

    queue.advance(6.5s);
    EXPECT_EQ(queue.now(), 9.5s);
    at10->cancel();
    queue.advance(1s);
    EXPECT_EQ(ran.size(), 5u);
    EXPECT_EQ(queue.pendingCount(), 0u);
}

}  // namespace
}  // namespace lxhf
