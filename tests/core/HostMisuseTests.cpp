// What a host can do wrong through the public API: call back in from inside
// a delivery, call from another thread. Neither may crash or race.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "CoreTestSupport.h"

namespace lxhf::test {
namespace {

using ::testing::ElementsAre;

// Counts the criticals the library logs while it lives; any thread may log.
class CriticalCounter {
public:
    CriticalCounter()
        : handler_(g_log_set_handler("LXHotelsFermo", GLogLevelFlags(G_LOG_LEVEL_CRITICAL | G_LOG_FLAG_FATAL),
                                     &CriticalCounter::count, this)) {}
    ~CriticalCounter() { g_log_remove_handler("LXHotelsFermo", handler_); }
    int total() const { return total_.load(); }
    std::string last() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return last_;
    }

private:
    static void count(const gchar*, GLogLevelFlags, const gchar* message, gpointer data) {
        auto* self = static_cast<CriticalCounter*>(data);
        std::lock_guard<std::mutex> lock(self->mutex_);
        self->last_ = message;
        ++self->total_;
    }
    guint handler_;
    std::atomic<int> total_{0};
    mutable std::mutex mutex_;
    std::string last_;
};

TEST(HostMisuse, CallsFromInsideTheOffersCallbackSeeAStableListAndNeverRecurse) {
    CoreHarness h;
    const LXRoomDetails first = makeRoom("R0", "hotel-a");
    h.sdk->cacheOffers({first});
    h.queue->advance(Seconds{0.2});
    h.serveOffers();

    // A list that loads its next rows as it walks the rows it was handed:
    // every room it adds grows the live list under its feet.
    int depth = 0, deepest = 0, added = 1;
    std::vector<std::size_t> sizesSeen;
    LXSubscription inner;
    auto walker = h.sdk->subscribeFermoOffers([&](const LXHotelsFermoSDK::Offers& offers) {
        deepest = std::max(deepest, ++depth);
        sizesSeen.push_back(offers.size());
        for (const auto& offer : offers) {
            EXPECT_FALSE(roomId(offer.roomDetails()).empty());
            if (added < 40) h.sdk->cacheOffers({makeRoom("R" + std::to_string(added++), "hotel-b")});
        }
        h.sdk->reportShown(first);
        (void)h.sdk->purchaseAddress(first);
        // Subscribing and ending a subscription from inside a delivery.
        inner = h.sdk->subscribeFermoOffers([](const LXHotelsFermoSDK::Offers&) {});
        inner.reset();
        --depth;
    });
    EXPECT_EQ(deepest, 1);
    EXPECT_EQ(added, 40);
    EXPECT_EQ(h.sdk->fermoOffers().size(), 40u);
    // Each publication reached the walker once, in order, ending at the current list.
    ASSERT_GT(sizesSeen.size(), 2u);
    EXPECT_TRUE(std::is_sorted(sizesSeen.begin(), sizesSeen.end()));
    EXPECT_EQ(sizesSeen.back(), 40u);
    walker.reset();

    // Every other call the API offers, from inside a delivery to two
    // subscribers, one of which ends the other's subscription.
    std::vector<std::vector<State>> seenBySecond;
    LXSubscription second;
    bool once = false;
    auto busy = h.sdk->subscribeFermoOffers([&](const LXHotelsFermoSDK::Offers& offers) {
        if (!once || offers.empty()) return;
        once = false;
        auto replaced = offers;
        replaced.erase(replaced.begin() + 2, replaced.end());
        h.sdk->setFermoOffers(replaced);
        h.sdk->refreshCachedOffers(LXRefresh::all);
        h.sdk->updateUser("traveller-2");
        second.reset();
    });
    second = h.sdk->subscribeFermoOffers([&](const LXHotelsFermoSDK::Offers& offers) {
        seenBySecond.emplace_back();
        for (const auto& offer : offers) seenBySecond.back().push_back(offer.state.kind());
    });
    EXPECT_EQ(seenBySecond.size(), 1u);
    once = true;
    h.sdk->cacheOffers({makeRoom("R99", "hotel-c")});
    EXPECT_EQ(seenBySecond.size(), 1u) << "ended from inside the delivery, it heard nothing more";
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading, State::loading));
    h.queue->advance(Seconds{0.2});
    h.serveOffers();
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available));
}

TEST(HostMisuse, CallsFromAnotherThreadAreRefusedWithOneCriticalEachAndChangeNothing) {
    CoreHarness h;
    CriticalCounter criticals;
    const LXRoomDetails room = makeRoom("A1", "hotel-a");
    h.sdk->cacheOffers({room});  // the library's thread is this one from now on
    const auto before = h.http->requests().size();

    constexpr int kRounds = 200;
    auto hammer = [&] {
        for (int i = 0; i < kRounds; ++i) {
            h.sdk->cacheOffers({makeRoom("X" + std::to_string(i), "hotel-x")});
            h.sdk->configure("stolen", LXEnvironmentType::production);
            EXPECT_FALSE(h.sdk->setEndpoints({}));
            h.sdk->updateUser("intruder");
            h.sdk->refreshCachedOffers(LXRefresh::all);
            EXPECT_TRUE(h.sdk->fermoOffers().empty());
            EXPECT_FALSE(h.sdk->offerIndex(room).has_value());
            h.sdk->setFermoOffers({});
            auto subscription = h.sdk->subscribeFermoOffers([](const auto&) { ADD_FAILURE() << "delivered"; });
            EXPECT_FALSE(h.sdk->purchaseAddress(room).ok());
            h.sdk->reportShown(room);
            EXPECT_FALSE(h.sdk->pageMessage(R"({"eventName":"close","data":{}})").dismiss);
            h.sdk->applicationWillTerminate();
        }
    };
    std::thread one(hammer), two(hammer);
    one.join();
    two.join();

    constexpr int kRefusedPerRound = 13;
    EXPECT_EQ(criticals.total(), 2 * kRounds * kRefusedPerRound);
    EXPECT_THAT(criticals.last(), ::testing::HasSubstr("assertion 'called on the library's own thread' failed"));
    EXPECT_EQ(FacadeAccess::token(*h.sdk), "tok-1");
    EXPECT_THAT(roomIds(*h.sdk), ElementsAre("A1"));
    h.queue->runPending();
    EXPECT_EQ(h.http->requests().size(), before);
    h.queue->advance(Seconds{0.2});
    h.serveOffers();
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available));
}

}  // namespace
}  // namespace lxhf::test
