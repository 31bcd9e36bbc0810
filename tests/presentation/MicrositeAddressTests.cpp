#include <algorithm>
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXHotelsFermo/LXRoomDetails.h"
#include "model/OfferRecords.h"
#include "page/MicrositeAddress.h"
#include "support/TempDir.h"

namespace lxhf::test {
namespace {

using ::testing::HasSubstr;

LXRoomDetails room(const std::string& hotelName = "Hotel Citt\u00e0 di Fermo",
                   const std::string& imageUrl = "https://img.example.com/r1.jpg") {
    auto decoded = LXRoomDetails::fromJSON(R"({
      "booking": {"stayDates": {"checkIn": "2024-06-01", "checkOut": "2024-06-04"},
                  "guests": {"adults": 2, "children": 0}, "locale": "en_US", "currency": "EUR", "numberOfRooms": 1},
      "hotel": {"id": "H1", "name": )" + json::Json(hotelName).dump() + R"(, "starRating": "4",
                "address": {"line": "Via Roma 1", "city": "Fermo", "countryCode": "IT"}},
      "room": {"id": "R1", "merchantId": "M1", "merchantRoomId": "MR1", "name": "Double", "beds": 2,
               "price": "120.00", "roomType": "double", "cancellationCode": "FLEX", "rateCategoryId": "RC1",
               "availability": 3, "isRefundable": false, "imageUrl": )" + json::Json(imageUrl).dump() + R"(,
               "priceInclusive": "132.00", "extAttributes": {"boardType": "BB", "view": "sea & park"}}})");
    if (!decoded) ADD_FAILURE() << decoded.error().description();
    return std::move(decoded).value();
}

LXOfferResponse signedFullOffer() {
    LXOfferResponse response;
    auto& o = response.offer;
    o.hotelId = "H1";
    o.roomId = "R1";
    o.id = "OF-1";
    o.merchantId = "M1";
    o.merchantRoomId = "MR1";
    o.conditions = {"EUR", "120.00", "360.00", "9.99", "9.99", "40.00", "120.00", "2024-05-20T10:00:00Z",
                    "2024-05-27T10:00:00Z"};
    o.booking = {{"2024-06-01", "2024-06-04"}, {2, 0}, "en_US", "EUR", 1};
    o.room = {"R1", "M1", "MR1", "Double", 2, "120.00", "double", std::nullopt, "FLEX", "RC1", std::nullopt, 3, false};
    o.type = "rooms_deposit_offer";
    response.signature = "c2lnbmVk/+==";
    response.type = LXOfferResponseType::signedFullOffer;
    response.clientRegion = "EU";
    response.featureFlags = FeatureFlags{{"newCheckout", CodableValue{true}}};
    return response;
}

MicrositeAddressInputs inputs(std::optional<LXOfferResponse> response = signedFullOffer()) {
    return {{"https", "fermo.example.com", "/cloud/hotels/purchase"}, "tok-123", "S-1", std::move(response)};
}

std::string addressOf(const MicrositeAddressInputs& in, const LXRoomDetails& details = room()) {
    auto url = micrositeAddress(in, details);
    if (!url) ADD_FAILURE() << "no address: " << (url.error().log ? url.error().log->message : "(no log line)");
    return url ? url.value() : "";
}

TEST(MicrositeAddress, SignedFullOfferGivesTheNineItemsInOrder) {
    // The golden file holds one query item a line.
    std::string expected = fileText(std::string(LXHF_PRESENTATION_GOLDEN_DIR) + "/microsite_address.txt");
    if (expected.ends_with('\n')) expected.pop_back();
    std::replace(expected.begin(), expected.end(), '\n', '&');
    EXPECT_EQ(addressOf(inputs()), expected);
}

TEST(MicrositeAddress, AbsentValuesGiveBareNamesAndNullFlags) {
    auto in = inputs();
    in.sessionId.reset();
    in.offerResponse->clientRegion.reset();
    in.offerResponse->featureFlags.reset();
    const auto url = addressOf(in, room("H", ""));
    EXPECT_THAT(url, HasSubstr("&imageUrl=&hotel="));
    EXPECT_THAT(url, HasSubstr("&sessionId&offer="));
    EXPECT_THAT(url, ::testing::EndsWith("&clientRegion&featureFlags=null"));
    EXPECT_THAT(url, ::testing::Not(HasSubstr("client_region")));  // left out of the offer, not null
}

TEST(MicrositeAddress, NoAddressWithoutASignedFullOfferOrAUsableEndpoint) {
    const LogLine notFull{LogLine::Level::info, "offerResponse is not a signedFullOffer"};
    for (auto type : {LXOfferResponseType::loading, LXOfferResponseType::signedBaseOffer,
                      LXOfferResponseType::unavailableOffer}) {
        auto response = signedFullOffer();
        response.type = type;
        const auto url = micrositeAddress(inputs(response), room());
        ASSERT_FALSE(url.ok());
        EXPECT_EQ(url.error().log, notFull);
    }
    const auto none = micrositeAddress(inputs(std::nullopt), room());
    ASSERT_FALSE(none.ok());
    EXPECT_EQ(none.error().log, notFull);

    auto in = inputs();
    in.endpoint.scheme = "1https";
    const auto url = micrositeAddress(in, room());
    ASSERT_FALSE(url.ok());
    EXPECT_FALSE(url.error().log.has_value());

    auto flagged = inputs();  // JSON has no form for infinity
    flagged.offerResponse->featureFlags = FeatureFlags{{"ratio", CodableValue{HUGE_VAL}}};
    const auto unencodable = micrositeAddress(flagged, room());
    ASSERT_FALSE(unencodable.ok());
    EXPECT_EQ(unencodable.error().log,
              (LogLine{LogLine::Level::warn,
                       "Error encoding microsite URL:\ninvalidValue at featureFlags.ratio: infinity has no JSON form"}));
}

TEST(MicrositeEscaping, EscapesExactlyTheEighteenCharacters) {
    EXPECT_EQ(escapeForMicrosite(",\"#%/<>[]?@\\^:`{|}"),
              "%2C%22%23%25%2F%3C%3E%5B%5D%3F%40%5C%5E%3A%60%7B%7C%7D");
    EXPECT_EQ(escapeForMicrosite("a&b=c+d e;!$'()*~-._Citt\u00e0 \u6771\u4eac"),
              "a&b=c+d e;!$'()*~-._Citt\u00e0 \u6771\u4eac");
    EXPECT_FALSE(escapeForMicrosite("bad \xC3").has_value());
    EXPECT_FALSE(escapeForMicrosite(std::string("a\0\xC3", 3)).has_value());
    // NUL is text like any other: it passes through, and the URL builder encodes it.
    EXPECT_EQ(escapeForMicrosite(std::string("a\0/b", 4)), std::string("a\0%2Fb", 6));
    EXPECT_THAT(addressOf(inputs(), room("H", std::string("x\0y", 3))), HasSubstr("&imageUrl=x%00y&hotel="));
}

}  // namespace
}  // namespace lxhf::test
