// The fetch policy with the real GLib and libsoup services against the local
// HTTPS service: batches really overlap, and failures injected on the wire
// are retried while answers are decoded on the worker.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "CoreTestSupport.h"
#include "platform/LibsoupHttpClient.h"
#include "support/MainLoop.h"
#include "testservice/FermoTestService.h"

namespace lxhf::test {
namespace {

using lxhf::testing::FermoTestService;
using lxhf::testing::Fault;
using ::testing::IsEmpty;

constexpr double kPatience = 20.0;

class FetchPolicyAgainstService : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(service.start(&error)) << error;
    }

    std::unique_ptr<LXHotelsFermoSDK> makeSdk(const LXFetchPolicy& policy) {
        FacadeParts parts = systemParts();
        parts.overrides.apiBase = service.apiBase();
        parts.overrides.caFile = service.caFile();
        parts.overrides.intakeUrl = service.intakeUrl();
        parts.overrides.cacheDirectory = dir.path().string();
        parts.makeHttp = [this](const EndpointOverrides& o) {
            client = std::make_shared<LibsoupHttpClient>(std::filesystem::path(*o.caFile));
            return client;
        };
        auto sdk = FacadeAccess::make(std::move(parts));
        sdk->configure("partner-token", LXEnvironmentType::staging);
        EXPECT_TRUE(sdk->setFetchPolicy(policy));
        return sdk;
    }

    void settle(const LXHotelsFermoSDK& sdk) {
        const auto settled = [&] { return std::ranges::count(states(sdk), State::loading) == 0; };
        ASSERT_TRUE(runMainLoopUntil(settled, kPatience)) << ::testing::PrintToString(states(sdk));
    }

    static std::vector<LXRoomDetails> rooms(int hotels, int perHotel) {
        std::vector<LXRoomDetails> out;
        for (int r = 0; r < perHotel; ++r)
            for (int h = 0; h < hotels; ++h)
                out.push_back(makeRoom("R" + std::to_string(h) + "-" + std::to_string(r), "hotel-" + std::to_string(h)));
        return out;
    }

    int peakOffersInFlight() const {
        int peak = 0;
        for (const auto& r : service.requests("fermo_offers")) peak = std::max(peak, r.concurrent);
        return peak;
    }

    FermoTestService service;
    TempDir dir;
    std::shared_ptr<LibsoupHttpClient> client;
};

TEST_F(FetchPolicyAgainstService, TenBatchesOverlapOnTenConnectionsWithOneSessionOnlyWhenAsked) {
    for (std::uint32_t width : {1u, 10u}) {
        SCOPED_TRACE(width);
        service.clear();
        Fault slow;
        slow.delaySeconds = 0.1;
        service.setFault("sessions", slow);
        // Ten batches at once need ten TLS handshakes first, which on a
        // loaded machine (or under a sanitizer) take a good part of a second.
        slow.delaySeconds = width > 1 ? 2.0 : 0.05;
        service.setFault("fermo_offers", slow);
        LXFetchPolicy policy;
        policy.maxConcurrentBatches = width;
        auto sdk = makeSdk(policy);
        sdk->cacheOffers(rooms(10, 10));
        settle(*sdk);

        EXPECT_THAT(states(*sdk), ::testing::Each(State::available));
        EXPECT_EQ(service.count("sessions"), 1);
        EXPECT_EQ(service.count("fermo_offers"), 10);
        EXPECT_EQ(peakOffersInFlight(), int(width));
        std::set<std::string> peers;
        for (const auto& r : service.requests()) {
            peers.insert(r.peer);
            EXPECT_EQ(r.httpVersion, "HTTP/1.1");  // SoupServer 3.2 offers no HTTP/2
        }
        // One after another is one connection; the policy opens up to its width, no more.
        if (width == 1) {
            EXPECT_EQ(client->connectionCount(), 1);
        }
        EXPECT_LE(client->connectionCount(), int(width));
        EXPECT_LE(int(peers.size()), client->connectionCount());
        EXPECT_EQ(client->tlsHandshakeCount(), client->connectionCount());
        EXPECT_THAT(service.rejected(), IsEmpty());
        sdk->applicationWillTerminate();  // the next round starts without a session
        sdk.reset();
        client.reset();
    }
}

// Also the concurrent path's run under ThreadSanitizer (./dev test --tsan).
TEST_F(FetchPolicyAgainstService, InjectedFailuresAreRetriedUntilEveryRoomSettles) {
    Fault slow;
    slow.delaySeconds = 0.05;
    service.setFault("sessions", slow);
    Fault busy;
    busy.status = 503;
    busy.headers["Retry-After"] = "0";
    busy.count = 3;
    Fault cut;
    cut.drop = true;
    cut.count = 2;
    Fault failing;
    failing.status = 500;
    failing.delaySeconds = 0.05;
    failing.count = 2;
    service.setFault("fermo_offers", busy);
    service.addFault("fermo_offers", cut);
    service.addFault("fermo_offers", failing);
    service.addFault("fermo_offers", slow);

    LXFetchPolicy policy;
    policy.maxConcurrentBatches = 10;
    policy.retry = LXFetchRetry{0.02, 0.2, std::nullopt};
    policy.requeueLateRooms = true;
    auto sdk = makeSdk(policy);
    const auto all = rooms(10, 3);
    sdk->cacheOffers(all);
    ASSERT_TRUE(service.waitForCount("fermo_offers", 1, kPatience));
    const auto late = makeRoom("late", "hotel-0");  // joins a batch in flight
    sdk->cacheOffers({late});
    settle(*sdk);

    EXPECT_THAT(states(*sdk), ::testing::Each(State::available));
    EXPECT_EQ(service.count("sessions"), 1);
    // Seven failed requests, each retried once it failed.
    EXPECT_GE(service.count("fermo_offers"), 10 + 7);
    EXPECT_GT(peakOffersInFlight(), 1);
    EXPECT_THAT(service.rejected(), IsEmpty());
}

}  // namespace
}  // namespace lxhf::test
