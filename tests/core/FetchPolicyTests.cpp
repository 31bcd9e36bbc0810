// The host's fetch policy: concurrent batches, retries, late rooms.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CoreTestSupport.h"
#include "core/FetchPolicy.h"

namespace lxhf::test {
namespace {

using ::testing::ElementsAre;

const LXRoomDetails a1 = makeRoom("A1", "hotel-a");
const LXRoomDetails a2 = makeRoom("A2", "hotel-a");
const LXRoomDetails b1 = makeRoom("B1", "hotel-b");
const LXRoomDetails c1 = makeRoom("C1", "hotel-c");
const LXRoomDetails d1 = makeRoom("D1", "hotel-d");

LXFetchPolicy retrying(std::optional<std::uint32_t> maxAttempts = std::nullopt) {
    LXFetchPolicy policy;
    policy.retry = LXFetchRetry{1.0, 60.0, maxAttempts};
    return policy;
}

HttpResult answerFor(const HttpRequest& request, const std::vector<std::string>& only = {}) {
    auto decoded = json::Decoder(json::KeyDecoding::convertFromSnakeCase).decode<LXOfferRequest>(request.body);
    std::vector<LXOfferResponse> answer;
    for (const auto& room : decoded.value().rooms)
        if (only.empty() || std::ranges::count(only, room.id))
            answer.push_back(makeResponse(room, LXOfferResponseType::signedFullOffer, "fo-" + room.id));
    return FakeHttpClient::reply(201, json::Encoder(json::KeyEncoding::convertToSnakeCase).encode(answer));
}

TEST(FetchPolicy, IsSetBeforeTheEngineOnlyAndRefusesFieldsOutOfRange) {
    CoreHarness h;
    EXPECT_EQ(h.sdk->fetchPolicy(), LXFetchPolicy{});
    LXFetchPolicy none;
    none.maxConcurrentBatches = 0;
    LXFetchPolicy tooMany;
    tooMany.maxConcurrentBatches = 65;
    auto backwards = retrying();
    backwards.retry->maxDelay = 0.5;
    auto notANumber = retrying();
    notANumber.retry->initialDelay = std::nan("");
    auto noAttempts = retrying(0);
    auto busyLoop = retrying();
    busyLoop.retry->initialDelay = 1e-300;
    for (const auto& bad : {none, tooMany, backwards, notANumber, noAttempts, busyLoop})
        EXPECT_FALSE(h.sdk->setFetchPolicy(bad));
    EXPECT_EQ(h.sdk->fetchPolicy(), LXFetchPolicy{});

    EXPECT_TRUE(h.sdk->setFetchPolicy(retrying(3)));
    h.sdk->cacheOffers({a1});  // makes the engine
    EXPECT_FALSE(h.sdk->setFetchPolicy(LXFetchPolicy{}));
    EXPECT_EQ(h.sdk->fetchPolicy(), retrying(3));
}

TEST(FetchPolicy, ConcurrentBatchesShareOneSessionAndTakeEffectAsTheyArrive) {
    CoreHarness h;
    LXFetchPolicy policy;
    policy.maxConcurrentBatches = 3;
    ASSERT_TRUE(h.sdk->setFetchPolicy(policy));
    h.http->hold(true);  // the session answer too waits, so all three batches ask for it
    h.sdk->cacheOffers({a1, b1, a2, c1, d1});
    h.queue->advance(Seconds{0.2});
    ASSERT_EQ(h.http->pendingCount(), 1u);
    EXPECT_EQ(h.http->count("sessions"), 1u);
    h.http->hold(false);
    h.http->completeNext(FakeHttpClient::reply(201, R"({"id":"S1"})"));
    h.queue->runPending();

    ASSERT_EQ(h.http->pendingCount(), 3u);  // A, B and C in flight, D waits
    EXPECT_EQ(h.http->count("sessions"), 1u);
    EXPECT_EQ(headerValue(h.http->pendingRequest(2), "LX-Session-ID"), "S1");
    // C answers first and shows first; its place goes to D.
    h.http->completePending(2, answerFor(h.http->pendingRequest(2)));
    h.queue->runPending();
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading, State::loading, State::loading, State::available,
                                            State::loading));
    ASSERT_EQ(h.http->pendingCount(), 3u);
    EXPECT_THAT(requestedRoomIds(h.http->pendingRequest(2)), ElementsAre("D1"));
    h.http->completePending(1, answerFor(h.http->pendingRequest(1)));
    h.queue->runPending();
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading, State::available, State::loading, State::available,
                                            State::loading));
    h.serveOffers();
    EXPECT_THAT(states(*h.sdk), ::testing::Each(State::available));
    EXPECT_EQ(h.http->count("fermo_offers"), 4u);
    EXPECT_TRUE(h.engine().offers().queued().empty());
}

TEST(FetchPolicy, TransientFailuresAreRetriedAloneWithDoublingWaitsAndATriggerStartsOver) {
    CoreHarness h;
    ASSERT_TRUE(h.sdk->setFetchPolicy(retrying()));
    h.http->respondOnceTo("fermo_offers", FakeHttpClient::reply(503));
    h.sdk->cacheOffers({a1, b1});
    h.queue->advance(Seconds{0.2});
    h.serveOffers();  // A: 503, B: answered
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading, State::available));

    h.http->respondOnceTo("fermo_offers", FakeHttpClient::failure("The network connection was lost."));
    h.http->respondOnceTo("fermo_offers", FakeHttpClient::reply(500));
    const auto offersAfter = [&](double seconds) {
        h.queue->advance(Seconds{seconds});
        return h.http->count("fermo_offers");
    };
    // Half of each ceiling (the fixed jitter): 1 s, then 2 s, then 4 s.
    EXPECT_EQ(offersAfter(0.49), 2u);
    EXPECT_EQ(offersAfter(0.02), 3u);
    EXPECT_THAT(requestedRoomIds(h.http->requestsTo("fermo_offers").back()), ElementsAre("A1"));
    EXPECT_EQ(offersAfter(0.97), 3u);
    EXPECT_EQ(offersAfter(0.02), 4u);
    EXPECT_EQ(h.engine().offers().retriesWaiting(), 1u);

    // A trigger takes the failed batch along and drops the 2 s wait.
    h.sdk->refreshCachedOffers(LXRefresh::errorsOnly);
    EXPECT_EQ(h.engine().offers().retriesWaiting(), 0u);
    h.http->respondOnceTo("fermo_offers", FakeHttpClient::reply(502));
    EXPECT_EQ(offersAfter(0.2), 5u);
    EXPECT_EQ(offersAfter(0.49), 5u);
    EXPECT_EQ(offersAfter(0.02), 6u);
    h.serveOffers();
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available));
    EXPECT_EQ(offersAfter(60), 6u);
    EXPECT_EQ(h.http->count("sessions"), 1u);
}

TEST(FetchPolicy, RefusalsAndUndecodableAnswersAreNotRetriedButASessionFailureIs) {
    const std::vector<std::pair<std::string, HttpResult>> refusals = {
        {"400", FakeHttpClient::reply(400)},
        {"404", FakeHttpClient::reply(404)},
        {"200", FakeHttpClient::reply(200, "[]")},
        {"undecodable", FakeHttpClient::reply(201, R"([{"offer":{}}])")},
        {"unsendable", HttpResult(TransportError{"Invalid header: Authorization", true})},
    };
    for (const auto& [name, refusal] : refusals) {
        SCOPED_TRACE(name);
        CoreHarness h;
        ASSERT_TRUE(h.sdk->setFetchPolicy(retrying()));
        h.http->respondOnceTo("fermo_offers", refusal);
        h.sdk->cacheOffers({a1});
        h.queue->advance(Seconds{120});
        EXPECT_EQ(h.http->count("fermo_offers"), 1u);
        EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading));  // as without the policy
    }

    CoreHarness h;
    ASSERT_TRUE(h.sdk->setFetchPolicy(retrying()));
    h.http->respondOnceTo("sessions", FakeHttpClient::reply(503));
    h.sdk->cacheOffers({a1});
    h.queue->advance(Seconds{0.2});
    EXPECT_EQ(h.http->count("fermo_offers"), 0u);
    h.queue->advance(Seconds{0.5});
    EXPECT_EQ(h.http->count("sessions"), 2u);
    h.serveOffers();
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available));
}

TEST(FetchPolicy, RetryAfterIsWaitedForWithinTheLongestDelay) {
    CoreHarness h;
    ASSERT_TRUE(h.sdk->setFetchPolicy(retrying()));
    h.http->respondOnceTo("fermo_offers", FakeHttpClient::reply(429, "", {{"Retry-After", "2"}}));
    h.http->respondOnceTo("fermo_offers", FakeHttpClient::reply(503, "", {{"retry-after", " 600 "}}));
    h.sdk->cacheOffers({a1});
    h.queue->advance(Seconds{0.2});
    h.queue->advance(Seconds{1.99});
    EXPECT_EQ(h.http->count("fermo_offers"), 1u);
    h.queue->advance(Seconds{0.02});
    EXPECT_EQ(h.http->count("fermo_offers"), 2u);
    h.queue->advance(Seconds{59.98});
    EXPECT_EQ(h.http->count("fermo_offers"), 2u);
    h.queue->advance(Seconds{0.02});
    EXPECT_EQ(h.http->count("fermo_offers"), 3u);
    h.serveOffers();
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available));

    // The session request's Retry-After holds back the batches waiting on it.
    CoreHarness s;
    ASSERT_TRUE(s.sdk->setFetchPolicy(retrying()));
    s.http->respondOnceTo("sessions", FakeHttpClient::reply(503, "", {{"Retry-After", "5"}}));
    s.sdk->cacheOffers({a1});
    s.queue->advance(Seconds{0.2 + 4.9});
    EXPECT_EQ(s.http->count("sessions"), 1u);
    s.queue->advance(Seconds{0.2});
    EXPECT_EQ(s.http->count("sessions"), 2u);
}

TEST(FetchPolicy, OddRetryAfterValuesAndRandomDrawsStayWithinBounds) {
    const auto asked = [](int status, std::string value) {
        HttpResponse response;
        response.status = status;
        response.headers = {{"Retry-After", std::move(value)}};
        return retryAfter(response);
    };
    EXPECT_EQ(asked(503, "7"), Seconds{7});
    EXPECT_EQ(asked(429, std::string(5000, '9')), Seconds{1e12});
    for (const std::string& odd : std::vector<std::string>{"", "-1", "1.5", "2s", "Wed, 21 Oct 2026 07:28:00 GMT",
                                                           std::string("1\0", 2)})
        EXPECT_EQ(asked(503, odd), std::nullopt) << odd;
    EXPECT_EQ(asked(500, "7"), std::nullopt);  // only a 429 or 503 says when to come back

    const LXFetchRetry retry{1.0, 60.0, std::nullopt};
    EXPECT_EQ(retryDelay(retry, 1, Seconds{1e12}, [] { return 0.5; }), Seconds{60});
    EXPECT_EQ(retryDelay(retry, 4, std::nullopt, [] { return 0.5; }), Seconds{4});
    EXPECT_EQ(retryDelay(retry, 4000, std::nullopt, [] { return 0.5; }), Seconds{30});
    // Never sooner than a tenth of the first delay: no spinning on a zero.
    for (double draw : {0.0, 1.0, -0.1, std::nan("")})
        EXPECT_EQ(retryDelay(retry, 3, std::nullopt, [draw] { return draw; }), Seconds{0.1}) << draw;
    EXPECT_EQ(retryDelay(retry, 1, Seconds{0}, nullptr), Seconds{0.1});
    const Seconds drawn = retryDelay(retry, 3, std::nullopt, nullptr);
    EXPECT_GE(drawn.count(), 0.1);
    EXPECT_LT(drawn.count(), 4.0);
}

// Connections for batches side by side are opened while the debounce runs,
// also when the path is first reported after the rooms came, as in a fresh
// process; one batch at a time needs no more than the one libsoup opens.
TEST(FetchPolicy, ConcurrentBatchesOpenTheirConnectionsDuringTheWait) {
    for (const bool onlineAtFirst : {true, false}) {
        for (const std::uint32_t width : {1u, 3u}) {
            SCOPED_TRACE(testing::Message() << "online " << onlineAtFirst << ", width " << width);
            CoreHarness h(onlineAtFirst);
            LXFetchPolicy policy;
            policy.maxConcurrentBatches = width;
            ASSERT_TRUE(h.sdk->setFetchPolicy(policy));
            h.sdk->cacheOffers({a1, b1});
            h.sdk->cacheOffers({a2});  // joins A's batch: no third connection
            h.sdk->refreshCachedOffers(LXRefresh::errorsOnly);
            if (!onlineAtFirst) {
                EXPECT_TRUE(h.http->preconnects().empty());
                h.monitor->setSatisfied(true);
            }
            EXPECT_TRUE(h.http->requests().empty());
            if (width == 1) {
                EXPECT_TRUE(h.http->preconnects().empty());
            } else {
                ASSERT_EQ(h.http->preconnects().size(), 1u);
                EXPECT_TRUE(h.http->preconnects()[0].first.ends_with("/fermo_offers"));
                EXPECT_EQ(h.http->preconnects()[0].second, 2u);  // two hotels, two batches
            }
            h.queue->advance(Seconds{0.2});
            h.serveOffers();
            EXPECT_THAT(states(*h.sdk), ::testing::Each(State::available));
        }
    }
}

// For the sanitized run's leak check: batches waiting for the session's
// answer must not keep each other alive once the engine is gone.
TEST(FetchPolicy, BatchesWaitingForTheSessionGoWithTheEngine) {
    CoreHarness h;
    LXFetchPolicy policy;
    policy.maxConcurrentBatches = 3;
    ASSERT_TRUE(h.sdk->setFetchPolicy(policy));
    h.http->hold(true);
    h.sdk->cacheOffers({a1, b1});
    h.queue->advance(Seconds{0.2});
    EXPECT_EQ(h.http->count("sessions"), 1u);
    EXPECT_EQ(h.http->count("fermo_offers"), 0u);
}

TEST(FetchPolicy, RetriesWaitWhileOfflineAndTheReturningPathFetchesAtOnce) {
    CoreHarness h;
    ASSERT_TRUE(h.sdk->setFetchPolicy(retrying()));
    h.http->respondOnceTo("fermo_offers", FakeHttpClient::failure("The Internet connection appears to be offline."));
    h.sdk->cacheOffers({a1});
    h.queue->advance(Seconds{0.2});
    h.monitor->setSatisfied(false);
    h.queue->advance(Seconds{300});
    EXPECT_EQ(h.http->count("fermo_offers"), 1u);

    h.monitor->setSatisfied(true);
    h.queue->advance(Seconds{0.2});
    EXPECT_EQ(h.http->count("fermo_offers"), 2u);
    h.serveOffers();
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available));
}

// Attempts made by triggers count too: a host that refreshes more often than
// the backoff waits still sees the error in the end.
TEST(FetchPolicy, SpentAttemptsShowTheFetchingError) {
    CoreHarness h;
    ASSERT_TRUE(h.sdk->setFetchPolicy(retrying(3)));
    for (int i = 0; i < 3; ++i) h.http->respondOnceTo("fermo_offers", FakeHttpClient::reply(503));
    h.sdk->cacheOffers({a1});
    h.queue->advance(Seconds{0.2});
    h.sdk->refreshCachedOffers(LXRefresh::errorsOnly);
    h.queue->advance(Seconds{0.2 + 0.51});
    EXPECT_EQ(h.http->count("fermo_offers"), 3u);
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::error));
    const LXErrorInfo* error = h.sdk->fermoOffers()[0].state.errorInfo();
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->message(), "Error fetching offer");
    EXPECT_FALSE(error->code().has_value());
    EXPECT_TRUE(h.engine().offers().queued().empty());
    h.queue->advance(Seconds{300});
    EXPECT_EQ(h.http->count("fermo_offers"), 3u);
}

// A1's batch with two requests out: the first fetch's and a refresh's.
void sendTwiceForOneBatch(CoreHarness& h, const LXFetchPolicy& policy) {
    ASSERT_TRUE(h.sdk->setFetchPolicy(policy));
    h.sdk->cacheOffers({a1});
    h.queue->advance(Seconds{0.2});
    h.sdk->refreshCachedOffers(LXRefresh::all);
    h.queue->advance(Seconds{0.2});
    ASSERT_EQ(h.http->pendingCount(), 2u);
}

TEST(FetchPolicy, TwoRequestsOutForOneBatchFailOnceAndARetryWaitsForTheOther) {
    CoreHarness both;
    sendTwiceForOneBatch(both, retrying(2));
    both.http->completeNext(FakeHttpClient::reply(503));
    both.http->completeNext(FakeHttpClient::reply(503));
    EXPECT_THAT(states(*both.sdk), ElementsAre(State::loading));
    both.http->respondOnceTo("fermo_offers", FakeHttpClient::reply(503));
    both.queue->advance(Seconds{0.5});
    EXPECT_EQ(both.http->count("fermo_offers"), 3u);
    EXPECT_THAT(states(*both.sdk), ElementsAre(State::error));

    CoreHarness one;
    sendTwiceForOneBatch(one, retrying());
    one.http->completeNext(FakeHttpClient::reply(503));
    one.queue->advance(Seconds{2});
    EXPECT_EQ(one.http->count("fermo_offers"), 2u);
    one.http->completeNext(answerFor(one.http->pendingRequest(0)));
    one.queue->advance(Seconds{0.1});
    EXPECT_THAT(states(*one.sdk), ElementsAre(State::available));
}

// A1's request out, with or without requeued late rooms.
void sendA1(CoreHarness& h, bool requeue) {
    LXFetchPolicy policy;
    policy.requeueLateRooms = requeue;
    ASSERT_TRUE(h.sdk->setFetchPolicy(policy));
    h.sdk->cacheOffers({a1});
    h.queue->advance(Seconds{0.2});
    ASSERT_EQ(h.http->pendingCount(), 1u);
}

// Then A2 queued into its batch.
void queueLateRoom(CoreHarness& h, bool requeue) {
    sendA1(h, requeue);
    h.sdk->cacheOffers({a2});
}

TEST(FetchPolicy, RoomsQueuedWhileTheirBatchIsInFlightAreFetchedNextOnlyWhenAsked) {
    for (bool requeue : {false, true}) {
        SCOPED_TRACE(requeue ? "requeued" : "plain");
        CoreHarness h;
        queueLateRoom(h, requeue);
        h.http->completeNext(answerFor(h.http->pendingRequest(0)));
        h.queue->advance(Seconds{0.2});
        h.serveOffers();
        EXPECT_EQ(h.http->count("fermo_offers"), requeue ? 2u : 1u);
        EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, requeue ? State::available : State::loading));
    }

    // Its own debounced fetch already carries the late room: nothing more is sent.
    CoreHarness h;
    queueLateRoom(h, true);
    h.queue->advance(Seconds{0.2});
    ASSERT_EQ(h.http->pendingCount(), 2u);
    h.http->completeNext(answerFor(h.http->pendingRequest(0)));
    h.queue->advance(Seconds{0.2});
    EXPECT_EQ(h.http->pendingCount(), 1u);
    h.http->completeNext(answerFor(h.http->pendingRequest(0)));
    h.queue->advance(Seconds{0.2});
    EXPECT_EQ(h.http->count("fermo_offers"), 2u);
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::available, State::available));
}

TEST(FetchPolicy, AUserChangeWhileAnOldRequestIsInFlightGetsTheNewUsersSessionWhenAsked) {
    for (bool requeue : {false, true}) {
        SCOPED_TRACE(requeue ? "requeued" : "plain");
        CoreHarness h;
        sendA1(h, requeue);
        h.http->respondOnceTo("sessions", FakeHttpClient::reply(201, R"({"id":"S2"})"));
        h.sdk->updateUser("traveller-2");
        h.http->completeNext(answerFor(h.http->pendingRequest(0)));  // the old user's answer
        h.queue->advance(Seconds{0.2});
        EXPECT_EQ(h.http->count("sessions"), requeue ? 2u : 1u);
        ASSERT_EQ(h.http->pendingCount(), requeue ? 1u : 0u);
        if (requeue) {
            EXPECT_EQ(headerValue(h.http->pendingRequest(0), "LX-Session-ID"), "S2");
        }
        h.serveOffers();
        EXPECT_THAT(states(*h.sdk), ElementsAre(State::available));
        EXPECT_EQ(h.engine().sessions().inMemorySessionId(),
                  requeue ? std::optional<std::string>("S2") : std::nullopt);
    }
}

}  // namespace
}  // namespace lxhf::test
