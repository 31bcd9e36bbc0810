// The offer's terms a host shows on its button: read from the latest
// answer alone, field for field, and only for a signed full offer.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CoreTestSupport.h"

namespace lxhf::test {
namespace {

// Answers the pending batch: each room listed gets the type given and
// conditions whose every field differs, so a field read from the wrong
// place shows.
void answer(CoreHarness& h, const std::map<std::string, LXOfferResponseType>& types, const std::string& tag) {
    h.queue->runPending();
    ASSERT_EQ(h.http->pendingCount(), 1u);
    auto request = json::Decoder(json::KeyDecoding::convertFromSnakeCase)
                       .decode<LXOfferRequest>(h.http->pendingRequest(0).body);
    ASSERT_TRUE(request.ok());
    std::vector<LXOfferResponse> responses;
    for (const auto& room : request.value().rooms) {
        if (!types.contains(room.id)) continue;
        LXOfferResponse r = makeResponse(room, types.at(room.id), "fo-" + room.id + tag);
        r.offer.conditions = {"EUR", "1.890,00" + tag, "5670.000", " 18.9 ", "56.70", "2e2", "600", "tomorrow",
                              "2026-12-31T23:59:59+01:00" + tag};
        r.offer.booking = request.value().booking;
        r.offer.booking.currency = "CHF";  // the booking's currency wins over the conditions'
        responses.push_back(std::move(r));
    }
    h.http->completeNext(FakeHttpClient::reply(201, h.encoder.encode(responses)));
    h.queue->runPending();
}

TEST(OfferTerms, OnlyTheLatestSignedFullOfferGivesTermsExactlyAsSent) {
    CoreHarness h;
    const LXRoomDetails full = makeRoom("A1", "hotel-a"), base = makeRoom("A2", "hotel-a"),
                        gone = makeRoom("A3", "hotel-a"), unavailable = makeRoom("A4", "hotel-a");
    EXPECT_EQ(h.sdk->offerTerms(full), std::nullopt);  // before any engine or answer
    h.sdk->cacheOffers({full, base, gone, unavailable});
    h.queue->advance(Seconds{0.2});
    h.queue->runPending();
    EXPECT_EQ(h.sdk->offerTerms(full), std::nullopt);  // asked, not answered
    answer(h,
           {{"A1", LXOfferResponseType::signedFullOffer}, {"A2", LXOfferResponseType::signedBaseOffer},
            {"A4", LXOfferResponseType::unavailableOffer}},
           "");

    const auto terms = h.sdk->offerTerms(full);
    ASSERT_TRUE(terms.has_value());
    EXPECT_EQ(terms->frozenPrice, "1.890,00");
    EXPECT_EQ(terms->frozenPriceTotal, "5670.000");
    EXPECT_EQ(terms->deposit, " 18.9 ");
    EXPECT_EQ(terms->depositTotal, "56.70");
    EXPECT_EQ(terms->cap, "2e2");
    EXPECT_EQ(terms->currency, "CHF");
    EXPECT_EQ(terms->offerExpiry, "tomorrow");
    EXPECT_EQ(terms->freezeExpiry, "2026-12-31T23:59:59+01:00");
    for (const auto& room : {base, gone, unavailable, makeRoom("B1", "hotel-b")})
        EXPECT_EQ(h.sdk->offerTerms(room), std::nullopt) << roomId(room);

    // Reading changes nothing: no request, no publication, same answer.
    const auto requests = h.http->requests().size();
    const auto revision = h.sdk->offerResponseRevision(full);
    int published = 0;
    auto subscription = h.sdk->subscribeFermoOffers([&](const auto&) { ++published; });
    for (int i = 0; i < 3; ++i) h.sdk->offerTerms(full);
    h.queue->runPending();
    EXPECT_EQ(h.http->requests().size(), requests);
    EXPECT_EQ(h.sdk->offerResponseRevision(full), revision);
    EXPECT_EQ(published, 1);  // the delivery on subscribing

    // A newer answer replaces the terms, whatever it says.
    h.sdk->refreshCachedOffers(LXRefresh::all);
    h.queue->advance(Seconds{0.2});
    answer(h, {{"A1", LXOfferResponseType::signedFullOffer}, {"A2", LXOfferResponseType::signedFullOffer}}, "-2");
    EXPECT_EQ(h.sdk->offerTerms(full)->frozenPrice, "1.890,00-2");
    EXPECT_EQ(h.sdk->offerTerms(base)->freezeExpiry, "2026-12-31T23:59:59+01:00-2");
    h.sdk->refreshCachedOffers(LXRefresh::all);
    h.queue->advance(Seconds{0.2});
    answer(h, {{"A1", LXOfferResponseType::unavailableOffer}, {"A2", LXOfferResponseType::loading}}, "-3");
    EXPECT_EQ(h.sdk->offerTerms(full), std::nullopt);
    EXPECT_EQ(h.sdk->offerTerms(base), std::nullopt);
}

}  // namespace
}  // namespace lxhf::test
