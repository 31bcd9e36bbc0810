#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CoreTestSupport.h"

namespace lxhf::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Facade, TheEngineTakesTokenAndEnvironmentOnceWhenFirstUsed) {
    CoreHarness early(/*online=*/true, /*configure=*/false);
    EXPECT_EQ(FacadeAccess::environment(*early.sdk).type, LXEnvironmentType::staging);
    early.sdk->cacheOffers({makeRoom("A1", "hotel-a")});
    early.sdk->configure("tok-late", LXEnvironmentType::production);
    EXPECT_EQ(FacadeAccess::token(*early.sdk), "tok-late");
    EXPECT_EQ(early.engine().environment().type, LXEnvironmentType::staging);
    early.sdk->refreshCachedOffers(LXRefresh::all);
    early.queue->advance(Seconds{0.2});
    ASSERT_EQ(early.apiRequests().size(), 2u);
    for (const auto& request : early.apiRequests()) {
        EXPECT_EQ(request.url.rfind(LXEnvironment::staging().apiUrl, 0), 0u) << request.url;
        EXPECT_EQ(headerValue(request, "Authorization"), "Bearer ");
    }

    CoreHarness twice(/*online=*/true, /*configure=*/false);
    twice.sdk->configure("first", LXEnvironmentType::staging);
    twice.sdk->configure("second", LXEnvironmentType::production);
    EXPECT_EQ(FacadeAccess::engineIfMade(*twice.sdk), nullptr);
    twice.sdk->cacheOffers({makeRoom("A1", "hotel-a")});
    twice.queue->advance(Seconds{0.2});
    ASSERT_EQ(twice.apiRequests().size(), 2u);
    EXPECT_EQ(twice.apiRequests()[1].url, LXEnvironment::production().apiUrl + "fermo_offers");
    EXPECT_EQ(headerValue(twice.apiRequests()[1], "Authorization"), "Bearer second");
    EXPECT_NE(LXEnvironment::staging().apiUrl, LXEnvironment::production().apiUrl);
}

TEST(Facade, PublisherDeliversOnSubscribeAndOnEveryChange) {
    CoreHarness h;
    std::vector<std::vector<State>> seen;
    auto subscription = h.sdk->subscribeFermoOffers([&](const LXHotelsFermoSDK::Offers& offers) {
        seen.emplace_back();
        for (const auto& offer : offers) seen.back().push_back(offer.state.kind());
    });
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_THAT(seen[0], IsEmpty());

    h.sdk->cacheOffers({makeRoom("A1", "hotel-a"), makeRoom("A2", "hotel-a")});
    ASSERT_EQ(seen.size(), 2u);  // one change for the whole call
    h.queue->advance(Seconds{0.2});
    h.serveOffers({{"A2", LXOfferResponseType::unavailableOffer}});
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_THAT(seen[2], ElementsAre(State::available, State::unavailable));

    auto offers = h.sdk->fermoOffers();
    offers[0].state = LXFermoOfferState::unavailable();
    h.sdk->setFermoOffers(offers);
    ASSERT_EQ(seen.size(), 4u);
    EXPECT_THAT(seen[3], ElementsAre(State::unavailable, State::unavailable));

    subscription.reset();
    h.sdk->refreshCachedOffers(LXRefresh::all);
    EXPECT_EQ(seen.size(), 4u);
    EXPECT_THAT(states(*h.sdk), ElementsAre(State::loading, State::loading));
}

TEST(Facade, AHostViewGetsTheAddressShownReportAndPageActionsThroughPublicCalls) {
    CoreHarness h;
    for (const char* unusable : {"page.test", "ftp://page.test", "https://", "https://h:99999"})
        EXPECT_FALSE(h.sdk->setEndpoints({.micrositeBase = unusable})) << unusable;
    EXPECT_TRUE(h.sdk->setEndpoints({.apiBase = "https://api.test/v9", .micrositeBase = "https://u@page.test:8443/x?y#z"}));
    const LXRoomDetails full = makeRoom("A1", "hotel-a"), base = makeRoom("A2", "hotel-a");
    h.sdk->cacheOffers({full, base});
    EXPECT_FALSE(h.sdk->setEndpoints({}));
    EXPECT_EQ(h.sdk->endpoints().apiBase, "https://api.test/v9");
    const auto before = h.sdk->purchaseAddress(full);
    ASSERT_FALSE(before.ok());
    EXPECT_EQ(before.error().reason, LXNoPurchaseAddress::Reason::noResponse);
    EXPECT_EQ(before.error().message, "offerResponse is not a signedFullOffer");
    EXPECT_EQ(h.sdk->offerResponseRevision(full), 0u);

    h.queue->advance(Seconds{0.2});
    h.serveOffers({{"A2", LXOfferResponseType::signedBaseOffer}});
    EXPECT_EQ(h.apiRequests().back().url, "https://api.test/v9/fermo_offers");
    const auto address = h.sdk->purchaseAddress(full);
    ASSERT_TRUE(address.ok());
    EXPECT_EQ(address->rfind("https://page.test:8443/cloud/hotels/purchase?token=tok-1&", 0), 0u) << *address;
    EXPECT_NE(address->find("&sessionId=S1&"), std::string::npos);
    EXPECT_EQ(h.sdk->purchaseAddress(base).error().reason, LXNoPurchaseAddress::Reason::notSignedFullOffer);
    const auto revision = h.sdk->offerResponseRevision(full);
    h.sdk->refreshCachedOffers(LXRefresh::all);
    h.queue->advance(Seconds{0.2});
    h.serveOffers();
    EXPECT_GT(h.sdk->offerResponseRevision(full), revision);

    h.sdk->reportShown(full);
    h.sdk->reportShown(makeRoom("B1", "hotel-b"));
    h.queue->runPending();
    EXPECT_THAT(h.engine().events().queued(), ::testing::SizeIs(1));

    using Kind = LXPurchasePageAction::Kind;
    const std::pair<std::string, Kind> messages[] = {
        {R"({"eventName":"close","data":{}})", Kind::cancelled},
        {R"({"eventName":"error","data":{"message":"Card declined"}})", Kind::error},
        {R"({"eventName":"ready","data":{}})", Kind::ready},
        {R"({"eventName":"Close","data":{}})", Kind::unknown},
        {R"({"eventName":"close"})", Kind::malformed},
        {std::string(100000, '['), Kind::malformed},
    };
    for (const auto& [body, kind] : messages) EXPECT_EQ(h.sdk->pageMessage(body).kind, kind) << body;
    const auto error = h.sdk->pageMessage(R"({"eventName":"error","data":{}})");
    EXPECT_TRUE(error.dismiss);
    EXPECT_EQ(error.result->errorInfo()->message(), "Unable to access microsite error message");
    EXPECT_EQ(h.sdk->pageMessage(R"({"eventName":"close","data":{}})", "Other").kind, Kind::malformed);
    const auto lines = h.systemLog->entries();
    const auto count = [&](const std::string& text) {
        return std::count_if(lines.begin(), lines.end(), [&](const auto& e) { return e.second == "[LXHotelsFermoSDK] : " + text; });
    };
    EXPECT_EQ(count("offerResponse is not a signedFullOffer"), 1);  // the one before a session logged nowhere
    EXPECT_EQ(count("Error accessing available offerResponse in onAppear"), 1);
    EXPECT_EQ(count("Microsite event: unknown"), 1);
    EXPECT_EQ(count("error getting userContentController message"), 3);
}

}  // namespace
}  // namespace lxhf::test
