#include <glib.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/GLibMainQueue.h"
#include "support/MainLoop.h"
#include "support/ManualQueue.h"

using namespace std::chrono_literals;

namespace lxhf {
namespace {

TEST(GLibMainQueue, PostedWorkRunsLaterInPostingOrder) {
    GLibMainQueue queue;
    std::vector<std::string> ran;
    queue.post([&] { ran.push_back("a"); });
    queue.post([&] {
        ran.push_back("b");
        queue.post([&] { ran.push_back("d"); });
    });
    queue.post([&] { ran.push_back("c"); });
    EXPECT_TRUE(ran.empty());
    ASSERT_TRUE(test::runMainLoopUntil([&] { return ran.size() == 4; }));
    EXPECT_EQ(ran, (std::vector<std::string>{"a", "b", "c", "d"}));
}

TEST(GLibMainQueue, DelayedWorkRunsInDueOrderAndNotBeforeItsDelay) {
    GLibMainQueue queue;
    std::vector<std::string> ran;
    auto late = queue.postAfter(30ms, [&] { ran.push_back("late"); });
    auto early = queue.postAfter(10ms, [&] { ran.push_back("early"); });
    queue.post([&] { ran.push_back("now"); });
    g_usleep(50'000);  // the loop was busy past every deadline
    ASSERT_TRUE(test::runMainLoopUntil([&] { return ran.size() == 3; }));
    EXPECT_EQ(ran, (std::vector<std::string>{"now", "early", "late"}));

    gint64 start = g_get_monotonic_time();
    gint64 ranAt = 0;
    auto timed = queue.postAfter(120ms, [&] { ranAt = g_get_monotonic_time(); });
    ASSERT_TRUE(test::runMainLoopUntil([&] { return ranAt != 0; }));
    EXPECT_GE(ranAt - start, 120'000);
    EXPECT_LT(ranAt - start, 1'000'000);
}

TEST(GLibMainQueue, CancelledDestroyedOrOrphanedWorkNeverRuns) {
    auto queue = std::make_unique<GLibMainQueue>();
    std::vector<std::string> ran;
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
    EXPECT_EQ(ran, (std::vector<std::string>{"first"}));

    cancelled->cancel();  // after the fact: harmless
    auto outlives = queue->postAfter(10ms, [&] { ran.push_back("pending at destruction"); });
    queue->post([&] { ran.push_back("posted at destruction"); });
    queue.reset();
    test::runMainLoopFor(0.05);
    outlives->cancel();  // the queue is gone; must not touch it
    outlives.reset();
    EXPECT_EQ(ran, (std::vector<std::string>{"first"}));
}

TEST(GLibMainQueue, WorkMayDestroyItsOwnQueue) {
    auto queue = std::make_unique<GLibMainQueue>();
    std::vector<std::string> ran;
    queue->post([&] {
        ran.push_back("destroyer");
        queue.reset();
    });
    queue->post([&] { ran.push_back("after"); });
    test::runMainLoopFor(0.05);
    EXPECT_EQ(ran, (std::vector<std::string>{"destroyer"}));
}

TEST(ManualQueue, AdvanceRunsDueWorkInTimeOrderIncludingWorkItPosts) {
    test::ManualQueue queue;
    std::vector<std::string> ran;
    std::unique_ptr<WorkItem> postedByWork;
    auto at3 = queue.postAfter(3s, [&] { ran.push_back("3s"); });
    auto at1 = queue.postAfter(1s, [&] {
        ran.push_back("1s at " + std::to_string(queue.now().count()));
        // Falls inside the same window: must run before the 3s item.
        postedByWork = queue.postAfter(1s, [&] { ran.push_back("2s at " + std::to_string(queue.now().count())); });
    });
    auto at10 = queue.postAfter(10s, [&] { ran.push_back("10s"); });
    queue.post([&] { ran.push_back("now"); });

    EXPECT_EQ(queue.advance(3s), 4u);
    EXPECT_EQ(ran, (std::vector<std::string>{"now", "1s at 1.000000", "2s at 2.000000", "3s"}));
    EXPECT_EQ(queue.now(), 3s);
    EXPECT_EQ(queue.pendingCount(), 1u);

    queue.advance(6.5s);
    EXPECT_EQ(queue.now(), 9.5s);
    EXPECT_EQ(ran.size(), 4u);
    at10->cancel();
    queue.advance(1s);
    EXPECT_EQ(ran.size(), 4u);
    EXPECT_EQ(queue.pendingCount(), 0u);
}

TEST(ManualQueue, RunPendingRunsOnlyWhatIsDueNow) {
    test::ManualQueue queue;
    std::vector<std::string> ran;
    auto later = queue.postAfter(0.2s, [&] { ran.push_back("later"); });
    auto dropped = queue.postAfter(0s, [&] { ran.push_back("dropped"); });
    queue.post([&] {
        ran.push_back("a");
        queue.post([&] { ran.push_back("b"); });
    });
    dropped.reset();
    EXPECT_EQ(queue.runPending(), 2u);
    EXPECT_EQ(ran, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(queue.now(), 0s);
    EXPECT_EQ(queue.pendingCount(), 1u);
}

}  // namespace
}  // namespace lxhf
