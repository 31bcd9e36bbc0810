#include "ModelTestHelpers.h"
#include "model/OfferRecords.h"

namespace lxhf::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const json::Decoder kWireDecoder(KeyDecoding::convertFromSnakeCase);
const json::Encoder kWireEncoder(KeyEncoding::convertToSnakeCase);

CodableValue flag(auto value) { return CodableValue{value}; }

TEST(OfferResponseJson, FullWireAnswerDecodesAndEncodesBack) {
    const std::string wire = golden("offer_response_snake.json");
    auto response = kWireDecoder.decode<LXOfferResponse>(wire);
    ASSERT_TRUE(response.ok()) << why(response);
    EXPECT_EQ(response->type, LXOfferResponseType::signedFullOffer);
    EXPECT_EQ(response->clientRegion, "EU");
    EXPECT_EQ(response->offer.merchantRoomId, "MR1");
    EXPECT_EQ(response->offer.conditions.freezeExpiry, "2024-05-27T10:00:00Z");
    EXPECT_EQ(response->offer.booking.stayDates.checkOut, "2024-06-04");
    EXPECT_EQ(response->offer.room.isRefundable, false);
    EXPECT_EQ(response->featureFlags, (FeatureFlags{{"maxRooms", flag(std::int64_t(3))},
                                                    {"newCheckout", flag(true)},
                                                    {"ratio", flag(2.5)},
                                                    {"variant_name", flag(std::string("true"))}}));
    EXPECT_EQ(kWireEncoder.encode(*response), wire);

    Json bare = goldenJson("offer_response_snake.json");
    bare.erase("feature_flags");
    bare["client_region"] = nullptr;
    auto withoutHeaders = kWireDecoder.fromJson<LXOfferResponse>(bare);
    ASSERT_TRUE(withoutHeaders.ok()) << why(withoutHeaders);
    EXPECT_FALSE(withoutHeaders->clientRegion.has_value());
    EXPECT_FALSE(withoutHeaders->featureFlags.has_value());
    EXPECT_THAT(kWireEncoder.encode(*withoutHeaders), Not(HasSubstr("client_region")));
}

TEST(OfferResponseJson, BadAnswersFailWholly) {
    const std::string notConvertible = "Value not convertible to any supported type";
    expectEachBreakageFails(
        goldenJson("offer_response_snake.json"),
        {
            {"upper-case type", [](Json& j) { j["type"] = "SIGNED_FULL_OFFER"; }, Kind::dataCorrupted, {"type"},
             "Cannot initialize LXOfferResponseType from invalid String value SIGNED_FULL_OFFER"},
            {"offer without merchant room", [](Json& j) { j["offer"].erase("merchant_room_id"); },
             Kind::keyNotFound, {"offer"},
             R"(No value associated with key CodingKeys(stringValue: "merchantRoomId", intValue: nil) ("merchantRoomId").)"},
            {"null flag", [](Json& j) { j["feature_flags"]["ratio"] = nullptr; }, Kind::typeMismatch,
             {"featureFlags", "ratio"}, notConvertible},
            {"object flag", [](Json& j) { j["feature_flags"]["ratio"] = Json::object(); }, Kind::typeMismatch,
             {"featureFlags", "ratio"}, notConvertible},
            {"array flag", [](Json& j) { j["feature_flags"]["ratio"] = Json::array(); }, Kind::typeMismatch,
             {"featureFlags", "ratio"}, notConvertible},
            {"fractional beds", [](Json& j) { j["offer"]["room"]["beds"] = 2.5; }, Kind::dataCorrupted,
             {"offer", "room", "beds"}, "Parsed JSON number <2.5> does not fit in Int."},
        },
        [](const Json& j) { return kWireDecoder.fromJson<LXOfferResponse>(j); });
}

TEST(CodableValueJson, ReadsStringThenIntThenDoubleThenBoolAndWritesBareValues) {
    const std::pair<const char*, CodableValue> reads[] = {
        {R"("true")", flag(std::string("true"))}, {"true", flag(true)},     {"3", flag(std::int64_t(3))},
        {"2.5", flag(2.5)},                         {"1.0", flag(std::int64_t(1))}, {"1e300", flag(1e300)},
    };
    for (const auto& [text, expected] : reads) {
        auto value = json::Decoder().decode<CodableValue>(text);
        ASSERT_TRUE(value.ok()) << text << ": " << why(value);
        EXPECT_EQ(value->value.index(), expected.value.index()) << text;
        EXPECT_TRUE(*value == expected) << text;
    }
    expectFailure(json::Decoder().decode<CodableValue>("null"), Kind::typeMismatch, {},
                  "Value not convertible to any supported type");

    const std::pair<CodableValue, const char*> writes[] = {
        {flag(std::string("a/b")), R"("a/b")"}, {flag(std::int64_t(7)), "7"}, {flag(false), "false"},
        {flag(2.0), "2"}, {flag(-3.0), "-3"}, {flag(0.1), "0.1"},
    };
    for (const auto& [value, text] : writes) EXPECT_EQ(json::Encoder().encode(value), text);
}

TEST(OfferRequest, CarriesTheThirteenSharedRoomFieldsAndOnlyPresentOptionals) {
    auto minimal = json::Decoder().fromJson<LXRoomDetailsData>(goldenJson("room_details_minimal.json"));
    ASSERT_TRUE(minimal.ok()) << why(minimal);
    const LXOfferRequest request{minimal->hotel, minimal->booking, {LXOfferRequestRoom::from(minimal->room)},
                                 "create_rooms_deposit_offer"};
    EXPECT_EQ(kWireEncoder.encode(request), golden("offer_request_snake.json"));

    LXRoom room = minimal->room;
    room.merchantRoomId = "MR1";
    room.promotion = LXPromotion{"P1", "2024-05-31"};
    room.addons = std::vector<std::string>{"breakfast"};
    room.isRefundable = true;
    const LXOfferRequestRoom sent = LXOfferRequestRoom::from(room);
    EXPECT_THAT(kWireEncoder.encode(sent),
                HasSubstr(R"("merchant_room_id":"MR1","name":"Double","beds":2,"price":"120.00","room_type":"double",)"
                          R"("promotion":{"id":"P1","expiry":"2024-05-31"},"cancellation_code":"FLEX",)"
                          R"("rate_category_id":"RC1","addons":["breakfast"],"availability":3,"is_refundable":true})"));

    LXRoom presentationOnly = room;  // fields the service never sees do not count
    presentationOnly.imageUrl = "other";
    presentationOnly.extAttributes["k"] = "v";
    EXPECT_TRUE(sent.matches(presentationOnly));

    const std::function<void(LXRoom&)> changes[] = {
        [](LXRoom& r) { r.isRefundable.reset(); },      [](LXRoom& r) { r.isRefundable = false; },
        [](LXRoom& r) { r.promotion->expiry.reset(); }, [](LXRoom& r) { r.addons->push_back("parking"); },
        [](LXRoom& r) { r.price = "120.01"; },
    };
    for (const auto& change : changes) {
        LXRoom changed = room;
        change(changed);
        EXPECT_FALSE(sent.matches(changed));
        EXPECT_FALSE(sent == LXOfferRequestRoom::from(changed));
    }
}

}  // namespace
}  // namespace lxhf::test
