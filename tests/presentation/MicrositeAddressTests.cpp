#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXHotelsFermo/LXRoomDetails.h"
#include "model/OfferRecords.h"
#include "presentation/MicrositeAddress.h"

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
    EXPECT_EQ(addressOf(inputs()),
        "https://fermo.example.com/cloud/hotels/purchase?token=tok-123"
        "&priceInclusive=132.00"
        "&imageUrl=https%253A%252F%252Fimg.example.com%252Fr1.jpg"
        "&hotel=%257B%2522name%2522%253A%2522Hotel%20Citt%C3%A0%20di%20Fermo%2522%252C%2522address_city%2522%"
        "253A%2522Fermo%2522%257D"
        "&extAttributes=%257B%2522boardType%2522%253A%2522BB%2522%252C%2522view%2522%253A%2522sea%20%26%20par"
        "k%2522%257D"
        "&sessionId=S-1"
        "&offer=%257B%2522offer%2522%253A%257B%2522hotel_id%2522%253A%2522H1%2522%252C%2522room_id%2522%253A%"
        "2522R1%2522%252C%2522id%2522%253A%2522OF-1%2522%252C%2522merchant_id%2522%253A%2522M1%2522%252C%2522"
        "merchant_room_id%2522%253A%2522MR1%2522%252C%2522conditions%2522%253A%257B%2522currency%2522%253A%25"
        "22EUR%2522%252C%2522frozen_price%2522%253A%2522120.00%2522%252C%2522frozen_price_total%2522%253A%252"
        "2360.00%2522%252C%2522deposit%2522%253A%25229.99%2522%252C%2522deposit_total%2522%253A%25229.99%2522"
        "%252C%2522cap%2522%253A%252240.00%2522%252C%2522cap_total%2522%253A%2522120.00%2522%252C%2522offer_e"
        "xpiry%2522%253A%25222024-05-20T10%253A00%253A00Z%2522%252C%2522freeze_expiry%2522%253A%25222024-05-2"
        "7T10%253A00%253A00Z%2522%257D%252C%2522booking%2522%253A%257B%2522stay_dates%2522%253A%257B%2522chec"
        "k_in%2522%253A%25222024-06-01%2522%252C%2522check_out%2522%253A%25222024-06-04%2522%257D%252C%2522gu"
        "ests%2522%253A%257B%2522adults%2522%253A2%252C%2522children%2522%253A0%257D%252C%2522locale%2522%253"
        "A%2522en_US%2522%252C%2522currency%2522%253A%2522EUR%2522%252C%2522number_of_rooms%2522%253A1%257D%2"
        "52C%2522room%2522%253A%257B%2522id%2522%253A%2522R1%2522%252C%2522merchant_id%2522%253A%2522M1%2522%"
        "252C%2522merchant_room_id%2522%253A%2522MR1%2522%252C%2522name%2522%253A%2522Double%2522%252C%2522be"
        "ds%2522%253A2%252C%2522price%2522%253A%2522120.00%2522%252C%2522room_type%2522%253A%2522double%2522%"
        "252C%2522cancellation_code%2522%253A%2522FLEX%2522%252C%2522rate_category_id%2522%253A%2522RC1%2522%"
        "252C%2522availability%2522%253A3%252C%2522is_refundable%2522%253Afalse%257D%252C%2522type%2522%253A%"
        "2522rooms_deposit_offer%2522%257D%252C%2522signature%2522%253A%2522c2lnbmVk%252F+%3D%3D%2522%252C%25"
        "22type%2522%253A%2522signed_full_offer%2522%252C%2522client_region%2522%253A%2522EU%2522%252C%2522fe"
        "ature_flags%2522%253A%257B%2522newCheckout%2522%253Atrue%257D%257D"
        "&clientRegion=EU"
        "&featureFlags=%257B%2522newCheckout%2522%253Atrue%257D");
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
              (LogLine{LogLine::Level::warn, "Error encoding microsite URL:\ninvalidValue at featureFlags.ratio: "
                                             "Unable to encode Double.infinity directly in JSON."}));
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
