#include <unordered_set>

#include "LXHotelsFermo/LXRoomDetails.h"
#include "ModelTestHelpers.h"
#include "model/RoomDetailsRecords.h"

namespace lxhf::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

LXRoomDetails decode(const Json& j) {
    auto room = LXRoomDetails::fromJSON(j.dump());
    EXPECT_TRUE(room.ok()) << why(room);
    return room.ok() ? *room : *LXRoomDetails::fromJSON(golden("room_details_minimal.json"));
}

TEST(RoomDetailsJson, GoldenFormsInBothKeyStyles) {
    const std::string camel = golden("room_details.json");
    const std::string snake = golden("room_details_snake.json");
    auto fromCamel = LXRoomDetails::fromJSON(camel, LXJSONKeyStyle::fieldNames);
    auto fromSnake = LXRoomDetails::fromJSON(snake, LXJSONKeyStyle::snakeCase);
    ASSERT_TRUE(fromCamel.ok()) << why(fromCamel);
    ASSERT_TRUE(fromSnake.ok()) << why(fromSnake);
    EXPECT_TRUE(*fromCamel == *fromSnake);
    EXPECT_EQ(fromCamel->toJSON(LXJSONKeyStyle::fieldNames), camel);
    EXPECT_EQ(fromCamel->toJSON(LXJSONKeyStyle::snakeCase), snake);
    EXPECT_EQ(json::Encoder(KeyEncoding::convertToSnakeCase).encode(*fromCamel), snake);
    EXPECT_TRUE(*json::Decoder(KeyDecoding::convertFromSnakeCase).decode<LXRoomDetails>(snake) == *fromCamel);

    EXPECT_EQ(details(*fromSnake).room.extAttributes.count("someKey_x"), 1u);  // map keys are data
    EXPECT_THAT(snake, HasSubstr(R"("https://img.example.com/rooms/r1.jpg")"));  // "/" unescaped
    EXPECT_THAT(snake, HasSubstr("Hotel Citt\xC3\xA0 di Fermo"));                  // UTF-8 as it stands
}

TEST(RoomDetailsJson, OptionalsAreLeftOutWhenAbsentAndReadAbsentWhenMissingOrNull) {
    const std::string minimal = golden("room_details_minimal.json");
    EXPECT_EQ(decode(Json::parse(minimal)).toJSON(), minimal);

    Json nulls = Json::parse(minimal);
    nulls["userId"] = nullptr;
    nulls["hotel"]["partnerRating"] = nullptr;
    nulls["hotel"]["checkInTime"] = nullptr;
    for (const char* key : {"merchantRoomId", "promotion", "addons", "isRefundable"}) nulls["room"][key] = nullptr;
    nulls["room"]["beds"] = 2.0;  // a whole number with a fraction part still reads as an integer
    EXPECT_EQ(decode(nulls).toJSON(), minimal);

    Json promotion = Json::parse(minimal);
    promotion["room"]["promotion"] = {{"id", "P1"}, {"unknown", 1}};
    const LXRoomDetails promoted = decode(promotion);
    ASSERT_TRUE(details(promoted).room.promotion.has_value());
    EXPECT_FALSE(details(promoted).room.promotion->expiry.has_value());
}

TEST(RoomDetailsJson, EqualityAndHashCoverEveryFieldButNotMapOrder) {
    Json reordered = goldenJson("room_details.json");
    reordered["room"]["extAttributes"] = Json::parse(R"({"someKey_x":"v","boardType":"BB"})");
    const LXRoomDetails full = decode(goldenJson("room_details.json"));
    EXPECT_TRUE(full == decode(reordered));
    EXPECT_EQ(std::hash<LXRoomDetails>{}(full), std::hash<LXRoomDetails>{}(decode(reordered)));

    const Json minimal = goldenJson("room_details_minimal.json");
    Json withUser = minimal, refundableFalse = minimal, moreChildren = minimal;
    withUser["userId"] = "u1";
    refundableFalse["room"]["isRefundable"] = false;
    moreChildren["booking"]["guests"]["children"] = 1;
    const LXRoomDetails bare = decode(minimal);
    const std::unordered_set<LXRoomDetails> keys{bare, decode(withUser), decode(refundableFalse),
                                                 decode(moreChildren), decode(minimal)};
    EXPECT_EQ(keys.size(), 4u);
    EXPECT_FALSE(bare == decode(withUser));
    EXPECT_FALSE(bare == decode(refundableFalse));
    EXPECT_THAT(decode(refundableFalse).toJSON(), HasSubstr(R"("availability":3,"isRefundable":false,)"));
    EXPECT_THAT(bare.toJSON(), Not(HasSubstr("isRefundable")));
}

TEST(RoomDetailsJson, DecodingFailuresNameTheKindAndPath) {
    expectEachBreakageFails(
        goldenJson("room_details_minimal.json"),
        {
            {"no booking", [](Json& j) { j.erase("booking"); }, Kind::keyNotFound, {},
             R"(No value associated with key CodingKeys(stringValue: "booking", intValue: nil) ("booking").)"},
            {"no extAttributes", [](Json& j) { j["room"].erase("extAttributes"); }, Kind::keyNotFound, {"room"}, ""},
            {"numeric starRating", [](Json& j) { j["hotel"]["starRating"] = 4; }, Kind::typeMismatch,
             {"hotel", "starRating"}, "Expected to decode String but found a number instead."},
            {"fractional beds", [](Json& j) { j["room"]["beds"] = 1.5; }, Kind::dataCorrupted, {"room", "beds"},
             "Parsed JSON number <1.5> does not fit in Int."},
            {"beds as text", [](Json& j) { j["room"]["beds"] = "1"; }, Kind::typeMismatch, {"room", "beds"}, ""},
            {"beds as bool", [](Json& j) { j["room"]["beds"] = true; }, Kind::typeMismatch, {"room", "beds"}, ""},
            {"numeric price", [](Json& j) { j["room"]["price"] = 120; }, Kind::typeMismatch, {"room", "price"}, ""},
            {"null locale", [](Json& j) { j["booking"]["locale"] = nullptr; }, Kind::valueNotFound,
             {"booking", "locale"}, ""},
            {"numeric addon", [](Json& j) { j["room"]["addons"] = {"a", "b", 3}; }, Kind::typeMismatch,
             {"room", "addons", "Index 2"}, ""},
            {"numeric map value", [](Json& j) { j["room"]["extAttributes"] = {{"k", 1}}; }, Kind::typeMismatch,
             {"room", "extAttributes", "k"}, ""},
        },
        [](const Json& j) { return LXRoomDetails::fromJSON(j.dump()); });

    // Paths name fields, not wire keys.
    Json snake = goldenJson("room_details_snake.json");
    snake["hotel"]["star_rating"] = 4.5;
    expectFailure(LXRoomDetails::fromJSON(snake.dump(), LXJSONKeyStyle::snakeCase), Kind::typeMismatch,
                  {"hotel", "starRating"});
    for (const char* text : {"", "{", R"({"booking":})", "not json"})
        expectFailure(LXRoomDetails::fromJSON(text), Kind::dataCorrupted, {}, "The given data was not valid JSON.");
}

}  // namespace
}  // namespace lxhf::test
