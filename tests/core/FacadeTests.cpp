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

}  // namespace
}  // namespace lxhf::test
