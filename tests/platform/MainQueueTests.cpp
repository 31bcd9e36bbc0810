#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "platform/GLibBackgroundQueue.h"
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

TEST(GLibBackgroundQueue, WorkRunsOffTheMainThreadInOrderAndOnlyTheContinuationsComeBack) {
    GThread* const mainThread = g_thread_self();
    GLibBackgroundQueue queue;
    std::vector<int> worked;  // touched by one worker at a time, read once `finished` says all are done
    std::atomic<int> offMain{0}, finished{0};
    Ran continued;
    for (int i = 0; i < 20; ++i) {
        queue.submit(
            [&, i] {
                if (i == 0) g_usleep(20'000);  // a slow first item must still finish first
                if (g_thread_self() != mainThread) ++offMain;
                worked.push_back(i);
                finished.fetch_add(1, std::memory_order_release);
            },
            [&, i] {
                EXPECT_EQ(g_thread_self(), mainThread);
                continued.push_back(std::to_string(i));
            });
    }
    for (int waited = 0; finished.load(std::memory_order_acquire) < 20 && waited < 10'000; ++waited) g_usleep(1000);
    ASSERT_EQ(finished.load(std::memory_order_acquire), 20);
    EXPECT_EQ(offMain.load(), 20);
    ASSERT_EQ(worked.size(), 20u);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(worked[std::size_t(i)], i);
    EXPECT_TRUE(continued.empty()) << "continuations wait for the main loop";

    std::string result;
    computeInBackground(queue, [] { return std::string(1000, 'x'); }, [&](std::string r) { result = std::move(r); });
    ASSERT_TRUE(test::runMainLoopUntil([&] { return result.size() == 1000; }));
    ASSERT_EQ(continued.size(), 20u);
    EXPECT_EQ(continued.front(), "0");
    EXPECT_EQ(continued.back(), "19");
}

TEST(GLibBackgroundQueue, DestructionFinishesSubmittedWorkAndDropsItsContinuations) {
    std::atomic<int> finished{0};
    bool continued = false;
    auto queue = std::make_unique<GLibBackgroundQueue>();
    for (int i = 0; i < 3; ++i)
        queue->submit(
            [&] {
                g_usleep(10'000);
                ++finished;
            },
            [&] { continued = true; });
    queue.reset();
    EXPECT_EQ(finished.load(), 3);
    test::runMainLoopFor(0.05);
    EXPECT_FALSE(continued);

    // Work that never ends holds the destruction up only as long as the
    // limit: the release below comes after it, so waiting for ever would
    // hang here.
    std::atomic<bool> release{false}, stuckDone{false};
    auto stuck = std::make_unique<GLibBackgroundQueue>(std::chrono::milliseconds(50));
    stuck->submit(
        [&] {
            while (!release) g_usleep(1000);
            stuckDone = true;
        },
        [&] { continued = true; });
    stuck.reset();
    release = true;
    ASSERT_TRUE(test::runMainLoopUntil([&] { return stuckDone.load(); }));
    test::runMainLoopFor(0.05);
    EXPECT_FALSE(continued);
}

}  // namespace
}  // namespace lxhf
