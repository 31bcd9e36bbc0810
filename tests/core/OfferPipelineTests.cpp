#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CoreTestSupport.h"
#include "support/HostileJson.h"
#include "support/ManualBackgroundQueue.h"

namespace lxhf::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const LXRoomDetails a1 = makeRoom("A1", "hotel-a");
const LXRoomDetails a2 = makeRoom("A2", "hotel-a");
const LXRoomDetails b1 = makeRoom("B1", "hotel-b");
const LXRoomDetails a1Later = makeRoom("A1", "hotel-a", "2024-07-01");  // same room, another stay

TEST(OfferPipeline, NewRoomsListAsLoadingOnceEachAndAnswerTypesMapToStates) {
    CoreHarness h;
    const auto c1 = makeRoom("C1", "hotel-a");
    h.sdk->cacheOffers({b1, a1, b1, a2, c1});
    EXPECT_THAT(roomIds(*h.sdk), ElementsAre("B1", "A1", "A2", "C1"));
    EXPECT_THAT(states(*h.sdk), ::testing::Each(State::loading));

    h.queue->advance(Seconds{0.2});
    h.serveOffers({{"A2", std::nullopt}, {"C1", LXOfferResponseType::unavailableOffer}});  // A2 omitted
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available, State::error, State::unavailable));
    const LXErrorInfo* error = h.sdk->fermoOffers()[2].state.errorInfo();
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->message(), "Error fetching offer");
    EXPECT_FALSE(error->code().has_value());
    auto& board = FacadeAccess::board(*h.sdk);
    EXPECT_EQ(board.responseCount(), 3u);
    EXPECT_EQ(board.response(a2), nullptr);
    ASSERT_NE(board.response(a1), nullptr);
    EXPECT_EQ(board.response(a1)->offer.id, "fo-A1");
    // No region or experiments headers: no region, and an empty flag map.
    EXPECT_FALSE(board.response(a1)->clientRegion.has_value());
    EXPECT_EQ(board.response(a1)->featureFlags, FeatureFlags{});

    // Known rooms, whatever their state, are neither listed again nor fetched.
    const auto d1 = makeRoom("D1", "hotel-d");
    h.sdk->cacheOffers({a2, b1, a1Later, d1});
    EXPECT_EQ(states(*h.sdk).size(), 6u);
    h.queue->advance(Seconds{0.2});
    EXPECT_THAT(requestedRoomIds(h.http->requestsTo("fermo_offers").back()), ElementsAre("A1"));
    h.serveOffers({{"D1", LXOfferResponseType::signedBaseOffer}},
                  {{"x-client-region", "EU"}, {"lx-experiments", R"({"newButton":true,"variant":"b"})"}});
    EXPECT_EQ(states(*h.sdk)[5], State::unavailable);
    ASSERT_NE(board.response(d1), nullptr);
    EXPECT_EQ(board.response(d1)->type, LXOfferResponseType::signedBaseOffer);
    EXPECT_EQ(board.response(d1)->clientRegion, "EU");
    ASSERT_TRUE(board.response(d1)->featureFlags.has_value());
    EXPECT_EQ(board.response(d1)->featureFlags->at("newButton"), CodableValue{true});
    EXPECT_EQ(board.response(d1)->featureFlags->at("variant"), CodableValue{std::string("b")});

    const auto offersBefore = h.http->count("fermo_offers");
    h.sdk->cacheOffers({});
    h.sdk->cacheOffers({a1, b1, d1});
    h.queue->advance(Seconds{1});
    EXPECT_EQ(h.http->count("fermo_offers"), offersBefore);
}

TEST(OfferPipeline, RoomsOfOneBookingAndHotelShareOneRequestAfterTheQuietPeriod) {
    CoreHarness h;
    h.sdk->cacheOffers({a1});
    h.queue->advance(Seconds{0.1});
    h.sdk->cacheOffers({b1});  // restarts the wait
    h.queue->advance(Seconds{0.1});
    h.sdk->cacheOffers({a2});
    h.queue->advance(Seconds{0.19});
    EXPECT_THAT(h.apiRequests(), IsEmpty());

    h.queue->advance(Seconds{0.02});
    EXPECT_EQ(h.http->count("sessions"), 1u);
    ASSERT_EQ(h.http->count("fermo_offers"), 1u);  // batches go one after another
    EXPECT_THAT(requestedRoomIds(h.http->requestsTo("fermo_offers")[0]), ElementsAre("A1", "A2"));

    h.serveOffers();
    ASSERT_EQ(h.http->count("fermo_offers"), 2u);
    EXPECT_THAT(requestedRoomIds(h.http->requestsTo("fermo_offers")[1]), ElementsAre("B1"));
    EXPECT_EQ(h.http->count("sessions"), 1u);
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available, State::available));
    EXPECT_THAT(h.engine().offers().queued(), IsEmpty());

    h.queue->advance(Seconds{5});
    EXPECT_EQ(h.http->count("fermo_offers"), 2u);  // exactly once per burst
}

// The real service's checks (CoreAgainstService.*) hold bodies to the wire
// form; here the values themselves are pinned.
TEST(OfferPipeline, RequestsCarryTheBearerTokenTheSessionAndTheRoomsAsGiven) {
    CoreHarness h;
    h.sdk->cacheOffers({a1});
    h.queue->advance(Seconds{0.2});
    ASSERT_EQ(h.apiRequests().size(), 2u);
    const HttpRequest session = h.apiRequests()[0], offers = h.apiRequests()[1];
    EXPECT_EQ(session.url, LXEnvironment::staging().apiUrl + "sessions");
    EXPECT_EQ(session.headers, (HttpHeaders{{"Authorization", "Bearer tok-1"}}));
    const auto device = json::parse(session.body).value()["device"];
    EXPECT_EQ(device["type"], "mobile");  // FakeDeviceInfo: a phone on version 12
    EXPECT_EQ(device["platform"]["operating_system"]["version"], "12");
    EXPECT_EQ(offers.url, LXEnvironment::staging().apiUrl + "fermo_offers");
    EXPECT_EQ(headerValue(offers, "Authorization"), "Bearer tok-1");
    EXPECT_EQ(headerValue(offers, "LX-Session-ID"), "S1");
    EXPECT_EQ(offers.headers.size(), 2u);
    EXPECT_DOUBLE_EQ(offers.timeout.count(), 60.0);
    const LXOfferRequest sent{a1.hotel(), a1.booking(), {LXOfferRequestRoom::from(a1.room())}, "create_rooms_deposit_offer"};
    EXPECT_EQ(offers.body, h.encoder.encode(sent));
}

TEST(OfferPipeline, OfflineRoomsWaitForASatisfiedPath) {
    CoreHarness h(/*online=*/false);
    h.sdk->cacheOffers({a1, b1});
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading, State::loading));
    h.queue->advance(Seconds{10});
    EXPECT_THAT(h.apiRequests(), IsEmpty());

    h.monitor->setSatisfied(true);
    h.queue->advance(Seconds{0.19});
    EXPECT_THAT(h.apiRequests(), IsEmpty());
    h.queue->advance(Seconds{0.02});
    h.serveOffers();
    EXPECT_EQ(h.http->count("fermo_offers"), 2u);
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available));

    // A satisfied path with nothing queued schedules nothing.
    h.monitor->setSatisfied(false);
    h.monitor->setSatisfied(true);
    h.queue->advance(Seconds{1});
    EXPECT_EQ(h.apiRequests().size(), 3u);
}

TEST(OfferPipeline, RefreshAllReloadsEveryRoomWhileErrorsOnlyOnlyRetriesWhatIsQueued) {
    CoreHarness h;
    h.sdk->cacheOffers({a1, a2, b1});
    h.queue->advance(Seconds{0.2});
    h.serveOffers({{"A2", std::nullopt}});
    ASSERT_THAT(states(*h.sdk), ElementsAre(State::available, State::error, State::available));

    h.sdk->refreshCachedOffers(LXRefresh::errorsOnly);
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::error, State::available));
    h.queue->advance(Seconds{1});
    EXPECT_EQ(h.http->count("fermo_offers"), 2u);  // nothing queued, nothing sent

    h.sdk->refreshCachedOffers(LXRefresh::all);
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading, State::loading, State::loading));
    h.queue->advance(Seconds{0.2});
    h.serveOffers();
    EXPECT_EQ(h.http->count("fermo_offers"), 4u);
    EXPECT_EQ(h.http->count("sessions"), 1u);
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available, State::available));

    // A failed batch stays queued; errorsOnly retries it without touching states.
    h.sdk->refreshCachedOffers(LXRefresh::all);
    h.queue->advance(Seconds{0.2});
    h.failNext(FakeHttpClient::reply(500));
    h.serveOffers();
    ASSERT_THAT(states(*h.sdk), ElementsAre(State::loading, State::loading, State::available));
    h.sdk->refreshCachedOffers(LXRefresh::errorsOnly);
    h.queue->advance(Seconds{0.2});
    ASSERT_EQ(h.http->count("fermo_offers"), 7u);
    EXPECT_THAT(requestedRoomIds(h.http->requestsTo("fermo_offers").back()), ElementsAre("A1", "A2"));
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading, State::loading, State::available));

    // Reloading everything while A's batch waits lists A's rooms twice in one
    // request; one answer then serves both listings of a room.
    h.failNext(FakeHttpClient::reply(500));
    h.sdk->refreshCachedOffers(LXRefresh::all);
    h.queue->advance(Seconds{0.2});
    h.systemLog->clear();
    h.serveOffers();
    EXPECT_THAT(h.systemLog->lines(), IsEmpty());
    EXPECT_THAT(requestedRoomIds(h.http->requestsTo("fermo_offers")[7]), ElementsAre("A1", "A2", "A1", "A2"));
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available, State::available));
    ASSERT_NE(FacadeAccess::board(*h.sdk).response(a1), nullptr);
    EXPECT_EQ(FacadeAccess::board(*h.sdk).response(a1)->offer.id, "fo-A1");
    EXPECT_THAT(h.engine().offers().queued(), IsEmpty());
}

TEST(OfferPipeline, AFailedBatchStaysLoadingAndQueuedWhileOthersGoOn) {
    const std::vector<std::pair<std::string, HttpResult>> failures = {
        {"transport", FakeHttpClient::failure("Could not connect to the server.")},
        {"status 200", FakeHttpClient::reply(200, "[]")},
        {"status 500", FakeHttpClient::reply(500)},
        {"undecodable", FakeHttpClient::reply(201, R"([{"offer":{}}])")},
        {"nested 200,000 deep", FakeHttpClient::reply(201, deepObject())},
    };
    for (const auto& [name, failure] : failures) {
        SCOPED_TRACE(name);
        CoreHarness h;
        h.sdk->cacheOffers({a1, b1});
        h.queue->advance(Seconds{0.2});
        h.failNext(failure);
        h.serveOffers();  // the B batch is still fetched
        EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading, State::available));
        ASSERT_EQ(h.engine().offers().queued().size(), 1u);
        EXPECT_EQ(h.engine().offers().queued()[0].hotel.id, "hotel-a");
        EXPECT_EQ(FacadeAccess::board(*h.sdk).response(a1), nullptr);

        h.queue->advance(Seconds{5});
        EXPECT_EQ(h.http->count("fermo_offers"), 2u);  // no retry timer

        h.sdk->cacheOffers({a2});  // the next trigger retries, A2 joining A's batch
        h.queue->advance(Seconds{0.2});
        ASSERT_EQ(h.http->count("fermo_offers"), 3u);
        EXPECT_THAT(requestedRoomIds(h.http->requestsTo("fermo_offers").back()), ElementsAre("A1", "A2"));
        h.serveOffers();
        EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available, State::available));
    }
}

TEST(OfferPipeline, SessionCreationFailureKeepsTheBatchForTheNextTrigger) {
    CoreHarness h;
    h.http->respondOnceTo("sessions", FakeHttpClient::reply(200, R"({"id":"nope"})"));
    h.sdk->cacheOffers({a1, b1});
    h.queue->advance(Seconds{0.2});
    h.serveOffers();
    // A's batch lost its session; B's asked again and went on.
    EXPECT_EQ(h.http->count("sessions"), 2u);
    EXPECT_THAT(requestedRoomIds(h.http->requestsTo("fermo_offers")[0]), ElementsAre("B1"));
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading, State::available));

    h.monitor->setSatisfied(true);  // a roam, satisfied again, is a trigger too
    h.queue->advance(Seconds{0.2});
    h.serveOffers();
    EXPECT_EQ(h.http->count("sessions"), 2u);
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available));
}

// Padded with offers for another hotel's rooms past 32 KiB, so the answer is
// decoded on the worker.
std::string largeAnswer(std::vector<LXOfferResponse> answer) {
    for (int i = 0; i < 60; ++i) answer.push_back(responseFor(makeRoom("P" + std::to_string(i), "hotel-p")));
    auto body = json::Encoder(json::KeyEncoding::convertToSnakeCase).encode(answer);
    EXPECT_GT(body.size(), 32u * 1024);
    return body;
}

TEST(OfferPipeline, AnswersTakeEffectInArrivalOrderWhateverTheirSizeAndBeforeLaterHostCalls) {
    auto worker = std::make_shared<ManualBackgroundQueue>();
    CoreHarness h(true, true, worker);
    const auto fetch = [&] {
        h.queue->advance(Seconds{0.2});
        worker->runAll();
        h.queue->runPending();
    };
    h.sdk->cacheOffers({a1});
    fetch();
    h.sdk->refreshCachedOffers(LXRefresh::all);
    fetch();
    ASSERT_EQ(h.http->pendingCount(), 2u);

    // The older answer is still decoding when A2 joins A's batch, the newer
    // answer arrives and the wait A2 started ends.
    const auto old = makeResponse(LXOfferRequestRoom::from(a1.room()), LXOfferResponseType::unavailableOffer, "old");
    h.http->completeNext(FakeHttpClient::reply(201, largeAnswer({old})));
    h.queue->runPending();
    h.sdk->cacheOffers({a2});
    h.http->completeNext(FakeHttpClient::reply(201, h.encoder.encode(std::vector{responseFor(a1)})));
    fetch();
    auto& board = FacadeAccess::board(*h.sdk);
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::loading));
    EXPECT_EQ(board.response(a1)->offer.id, "fo-A1");
    ASSERT_EQ(h.http->pendingCount(), 1u);
    EXPECT_THAT(requestedRoomIds(h.http->pendingRequest(0)), ElementsAre("A2"));
    h.serveOffers();

    // A reload of everything and a new room while an answer decodes: both
    // come after it, each room once.
    h.sdk->refreshCachedOffers(LXRefresh::all);
    fetch();
    h.http->completeNext(FakeHttpClient::reply(201, largeAnswer({responseFor(a1), responseFor(a2)})));
    h.queue->runPending();
    const auto a3 = makeRoom("A3", "hotel-a");
    h.sdk->refreshCachedOffers(LXRefresh::all);
    h.sdk->cacheOffers({a3});
    EXPECT_THAT(states(*h.sdk), ::testing::Each(State::loading));
    bool staleShown = false;
    auto watching = h.sdk->subscribeFermoOffers([&](const auto& offers) {
        for (const auto& offer : offers) staleShown |= offer.state.kind() != State::loading;
    });
    fetch();
    EXPECT_FALSE(staleShown) << "the old answer was published before the reload";
    EXPECT_THAT(states(*h.sdk), ::testing::Each(State::loading));
    ASSERT_EQ(h.http->pendingCount(), 1u);
    EXPECT_THAT(requestedRoomIds(h.http->pendingRequest(0)), ElementsAre("A1", "A2", "A3"));
    h.serveOffers();
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available, State::available));
}

}  // namespace
}  // namespace lxhf::test
