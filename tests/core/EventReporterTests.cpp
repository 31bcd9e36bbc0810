#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CoreTestSupport.h"

namespace lxhf::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> postedOfferIds(const HttpRequest& request) {
    std::vector<std::string> ids;
    const auto events = json::parse(request.body).value();
    for (const auto& event : events) ids.push_back(event["fermo_offer_id"]);
    return ids;
}

// A facade whose session "S1" exists, so shown offers can be queued.
class EventReporting : public ::testing::Test {
protected:
    void SetUp() override {
        h.sdk->cacheOffers({makeRoom("A1", "hotel-a")});
        h.queue->advance(Seconds{0.2});
        h.serveOffers();
        ASSERT_EQ(h.engine().sessions().inMemorySessionId(), "S1");
    }

    void show(const std::string& offerId) {
        const LXRoomDetails room = makeRoom("R-" + offerId, "hotel-a");
        FacadeAccess::board(*h.sdk).setResponse(room, std::make_shared<LXOfferResponse>(responseFor(room, offerId)));
        h.sdk->reportShown(room);
        h.queue->runPending();
    }
    void wait(double seconds) {
        h.clock->advance(Seconds{seconds});
        h.queue->advance(Seconds{seconds});
    }
    std::size_t posts() const { return h.http->count("events/batch"); }
    const std::vector<LXEvent>& queued() { return h.engine().events().queued(); }

    CoreHarness h;
};

TEST_F(EventReporting, AnOfferShownRepeatedlyIsPostedOnceTwoSecondsAfterTheFirstShowing) {
    show("fo-1");
    for (int i = 0; i < 4; ++i) {
        wait(0.2);
        show("fo-1");
    }
    EXPECT_EQ(queued().size(), 1u);
    wait(1.1);
    EXPECT_EQ(posts(), 0u);
    wait(0.15);  // 2.05 s after the first: repeats did not restart the wait
    ASSERT_EQ(posts(), 1u);

    const HttpRequest post = h.http->requestsTo("events/batch")[0];
    EXPECT_EQ(post.url, LXEnvironment::staging().apiUrl + "events/batch");
    EXPECT_EQ(post.headers, (HttpHeaders{{"Authorization", "Bearer tok-1"}}));
    EXPECT_EQ(post.body, R"([{"session_id":"S1","occurred_date_time":"2024-01-01T00:00:00Z",)"
                         R"("fermo_offer_id":"fo-1","type":"offer_shown"}])");

    h.failNext(FakeHttpClient::reply(204));
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(h.engine().events().processed(), ElementsAre("fo-1"));
    show("fo-1");  // already reported
    EXPECT_THAT(queued(), IsEmpty());
    wait(5);
    EXPECT_EQ(posts(), 1u);
}

TEST_F(EventReporting, OffersShownASecondApartGoOutAsOneBatchAfterTheLast) {
    show("fo-1");
    wait(1);
    show("fo-2");
    wait(1);
    show("fo-3");
    wait(1.95);
    EXPECT_EQ(posts(), 0u);
    wait(0.1);
    ASSERT_EQ(posts(), 1u);
    const HttpRequest post = h.http->requestsTo("events/batch")[0];
    EXPECT_THAT(postedOfferIds(post), ElementsAre("fo-1", "fo-2", "fo-3"));
    EXPECT_EQ(json::parse(post.body).value()[2]["occurred_date_time"], "2024-01-01T00:00:02Z");

    // Shown while the post is in flight: marked sent by the same 204.
    show("fo-4");
    h.failNext(FakeHttpClient::reply(204));
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(h.engine().events().processed(), ElementsAre("fo-1", "fo-2", "fo-3", "fo-4"));
}

TEST_F(EventReporting, OnlyNoContentCountsAsSentAndFailuresKeepTheNewestHundred) {
    show("fo-1");
    wait(2.05);
    h.failNext(FakeHttpClient::reply(500));
    EXPECT_THAT(queued(), ::testing::SizeIs(1));

    show("fo-2");
    wait(2.05);
    ASSERT_EQ(posts(), 2u);
    EXPECT_THAT(postedOfferIds(h.http->requestsTo("events/batch")[1]), ElementsAre("fo-1", "fo-2"));
    h.failNext(FakeHttpClient::reply(201));  // only 204 is success here
    EXPECT_THAT(queued(), ::testing::SizeIs(2));
    EXPECT_THAT(h.engine().events().processed(), IsEmpty());

    show("fo-3");
    wait(2.05);
    h.failNext(FakeHttpClient::failure("The network connection was lost."));
    EXPECT_THAT(queued(), ::testing::SizeIs(3));

    for (int i = 4; i <= 150; ++i) show("fo-" + std::to_string(i));
    wait(2.05);
    ASSERT_EQ(posts(), 4u);
    EXPECT_EQ(postedOfferIds(h.http->requestsTo("events/batch")[3]).size(), 150u);
    h.failNext(FakeHttpClient::reply(500));
    ASSERT_EQ(queued().size(), 100u);
    EXPECT_EQ(queued().front().fermoOfferId, "fo-51");
    EXPECT_EQ(queued().back().fermoOfferId, "fo-150");
}

TEST_F(EventReporting, OfflineEventsWaitForTheNetworkThenTwoSeconds) {
    h.monitor->setSatisfied(false);
    show("fo-1");
    wait(10);
    EXPECT_EQ(posts(), 0u);
    h.monitor->setSatisfied(true);
    wait(1.95);
    EXPECT_EQ(posts(), 0u);
    wait(0.1);
    EXPECT_EQ(posts(), 1u);

    // A flap while that post is in flight re-arms the timer; its 204 then
    // empties the queue, and the timer finds nothing to post.
    h.monitor->setSatisfied(true);
    h.failNext(FakeHttpClient::reply(204));
    EXPECT_THAT(queued(), IsEmpty());
    wait(2.05);
    EXPECT_EQ(posts(), 1u);
}

TEST_F(EventReporting, AHundredAndOneReportsLetTheFirstBeReportedAgain) {
    for (int i = 1; i <= 101; ++i) show("fo-" + std::to_string(i));
    wait(2.05);
    h.failNext(FakeHttpClient::reply(204));
    ASSERT_EQ(h.engine().events().processed().size(), 100u);
    EXPECT_EQ(h.engine().events().processed().front(), "fo-2");
    show("fo-2");
    EXPECT_THAT(queued(), IsEmpty());
    show("fo-1");
    EXPECT_THAT(queued(), ::testing::SizeIs(1));
}

TEST(EventReportingWithoutSession, ShownOffersAreDroppedUntilASessionExists) {
    CoreHarness h;
    const LXRoomDetails room = makeRoom("A1", "hotel-a");
    FacadeAccess::board(*h.sdk).setResponse(room, std::make_shared<LXOfferResponse>(responseFor(room)));
    h.sdk->reportShown(room);
    h.queue->runPending();
    EXPECT_THAT(h.engine().events().queued(), IsEmpty());
    EXPECT_FALSE(h.engine().sessions().sessionIfMade().has_value());  // not asked for either
    h.queue->advance(Seconds{5});
    EXPECT_THAT(h.apiRequests(), IsEmpty());
}

}  // namespace
}  // namespace lxhf::test
