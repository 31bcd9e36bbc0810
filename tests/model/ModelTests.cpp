#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <optional>
#include <unordered_set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LXHotelsFermo/LXEnvironmentType.h"
#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXRoomDetails.h"
#include "model/ErrorInfo.h"
#include "model/JsonCoder.h"
#include "model/KeyConversion.h"
#include "model/OfferRecords.h"
#include "model/PublicStateCoding.h"
#include "model/RecordHash.h"
#include "model/RoomDetailsRecords.h"
#include "model/SessionRecords.h"
#include "support/HostileJson.h"

namespace lxhf::test {
namespace {

using json::Json;
using Kind = LXDecodingError::Kind;
using ::testing::HasSubstr;
using ::testing::Not;

const json::Decoder kWireDecoder(json::KeyDecoding::convertFromSnakeCase);
const json::Encoder kWireEncoder(json::KeyEncoding::convertToSnakeCase);

Json goldenJson(const std::string& name) {
    return Json::parse(std::ifstream(std::string(LXHF_MODEL_GOLDEN_DIR) + "/" + name));
}
// A golden file in the compact form the encoder writes, key order kept.
std::string golden(const std::string& name) { return goldenJson(name).dump(); }

template <class T>
std::string why(const LXResult<T, LXDecodingError>& r) { return r ? std::string() : r.error().description(); }

template <class T>
void expectFailure(const LXResult<T, LXDecodingError>& result, Kind kind, const std::vector<std::string>& path,
                   const std::string& description = {}) {
    ASSERT_FALSE(result.ok());
    EXPECT_STREQ(LXHotelsFermo::toString(result.error().kind), LXHotelsFermo::toString(kind));
    EXPECT_EQ(result.error().codingPath, path);
    if (!description.empty()) {
        EXPECT_EQ(result.error().debugDescription, description);
    }
}

// One change to a valid input and the failure it must cause.
struct Breakage {
    const char* what;
    std::function<void(Json&)> change;
    Kind kind;
    std::vector<std::string> path;
    std::string description = {};
};

template <class Decode>
void expectEachBreakageFails(const Json& valid, const std::vector<Breakage>& breakages, Decode decode) {
    for (const auto& b : breakages) {
        SCOPED_TRACE(b.what);
        Json broken = valid;
        b.change(broken);
        expectFailure(decode(broken), b.kind, b.path, b.description);
    }
}

std::string missingKey(const std::string& key) { return "no value for the key \"" + key + "\""; }

CodableValue flag(auto value) { return CodableValue{value}; }

// Map keys staying as they are is checked by the goldens' extAttributes and feature flags.
TEST(KeyConversion, SplitsWordsAtCapitalsAndUnderscores) {
    const std::pair<const char*, const char*> toSnake[] = {
        {"imageURL", "image_url"}, {"myURLProperty", "my_url_property"},
        {"URLString", "u_rl_string"},  // the first character never starts a word
        {"line2Address", "line2_address"}, {"operating_system", "operating_system"}, {"_id", "_id"},
        {"__privateKey__", "__private_key__"}, {"already", "already"}, {"", ""}};
    for (const auto& [in, out] : toSnake) EXPECT_EQ(json::toSnakeCase(in), out) << in;
    const std::pair<const char*, const char*> fromSnake[] = {
        {"image_url", "imageUrl"}, {"image_URL", "imageUrl"}, {"Image_url", "imageUrl"}, {"a__b", "aB"},
        {"_id", "_id"}, {"__private_key__", "__privateKey__"}, {"___", "___"}, {"alreadyCamel", "alreadyCamel"},
        {"", ""}};
    for (const auto& [in, out] : fromSnake) EXPECT_EQ(json::fromSnakeCase(in), out) << in;
}

TEST(OfferResponseJson, WireAnswerRoundTripsAndBadAnswersFailWholly) {
    const std::string wire = golden("offer_response_snake.json");
    auto response = kWireDecoder.decode<LXOfferResponse>(wire);
    ASSERT_TRUE(response.ok()) << why(response);
    EXPECT_EQ(response->featureFlags, (FeatureFlags{{"maxRooms", flag(std::int64_t(3))}, {"newCheckout", flag(true)},
                                                    {"ratio", flag(2.5)}, {"variant_name", flag(std::string("true"))}}));
    EXPECT_EQ(kWireEncoder.encode(*response), wire);

    Json bare = Json::parse(wire);
    bare.erase("feature_flags");
    bare["client_region"] = nullptr;
    auto withoutHeaders = kWireDecoder.fromJson<LXOfferResponse>(bare);
    ASSERT_TRUE(withoutHeaders.ok()) << why(withoutHeaders);
    EXPECT_FALSE(withoutHeaders->clientRegion || withoutHeaders->featureFlags);

    const std::string notConvertible = "expected a string, a number or a boolean but found null";
    expectEachBreakageFails(
        Json::parse(wire),
        {{"upper-case type", [](Json& j) { j["type"] = "SIGNED_FULL_OFFER"; }, Kind::dataCorrupted, {"type"},
          R"("SIGNED_FULL_OFFER" is not a value of LXOfferResponseType)"},
         {"no merchant room", [](Json& j) { j["offer"].erase("merchant_room_id"); }, Kind::keyNotFound, {"offer"},
          missingKey("merchantRoomId")},
         {"null flag", [](Json& j) { j["feature_flags"]["ratio"] = nullptr; }, Kind::typeMismatch,
          {"featureFlags", "ratio"}, notConvertible},
         {"array flag", [](Json& j) { j["feature_flags"]["ratio"] = Json::array(); }, Kind::typeMismatch,
          {"featureFlags", "ratio"}, "expected a string, a number or a boolean but found an array"},
         {"fractional beds", [](Json& j) { j["offer"]["room"]["beds"] = 2.5; }, Kind::dataCorrupted,
          {"offer", "room", "beds"}, "the number 2.5 is not a whole number"}},
        [](const Json& j) { return kWireDecoder.fromJson<LXOfferResponse>(j); });
}

TEST(CodableValueJson, ReadsStringThenIntThenDoubleThenBoolAndWritesBareValues) {
    const std::pair<const char*, CodableValue> reads[] = {
        {R"("true")", flag(std::string("true"))}, {"true", flag(true)}, {"3", flag(std::int64_t(3))},
        {"2.5", flag(2.5)}, {"1.0", flag(std::int64_t(1))}, {"1e300", flag(1e300)}};
    for (const auto& [text, expected] : reads) {
        auto value = json::Decoder().decode<CodableValue>(text);
        ASSERT_TRUE(value.ok()) << text << ": " << why(value);
        EXPECT_EQ(value->value.index(), expected.value.index()) << text;
        EXPECT_TRUE(*value == expected) << text;
    }
    expectFailure(json::Decoder().decode<CodableValue>("null"), Kind::typeMismatch, {},
                  "expected a string, a number or a boolean but found null");
    const std::pair<CodableValue, const char*> writes[] = {
        {flag(std::string("a/b")), R"("a/b")"}, {flag(std::int64_t(7)), "7"}, {flag(false), "false"},
        {flag(2.0), "2"}, {flag(-3.0), "-3"}, {flag(0.1), "0.1"}};
    for (const auto& [value, text] : writes) EXPECT_EQ(json::Encoder().encode(value), text);
}

TEST(OfferRequest, CarriesTheThirteenSharedRoomFieldsAndOnlyPresentOptionals) {
    auto minimal = LXRoomDetails::fromJSON(golden("room_details_minimal.json"));
    ASSERT_TRUE(minimal.ok()) << why(minimal);
    const LXOfferRequest request{minimal->hotel(), minimal->booking(), {LXOfferRequestRoom::from(minimal->room())},
                                 "create_rooms_deposit_offer"};
    EXPECT_EQ(kWireEncoder.encode(request), golden("offer_request_snake.json"));

    LXRoom room = minimal->room();
    room.merchantRoomId = "MR1";
    room.promotion = LXPromotion{"P1", "2024-05-31"};
    room.addons = std::vector<std::string>{"breakfast"};
    room.isRefundable = true;
    const LXOfferRequestRoom sent = LXOfferRequestRoom::from(room);
    EXPECT_THAT(kWireEncoder.encode(sent),
                HasSubstr(R"("merchant_room_id":"MR1","name":"Double","beds":2,"price":"120.00","room_type":"double",)"
                          R"("promotion":{"id":"P1","expiry":"2024-05-31"},"cancellation_code":"FLEX",)"
                          R"("rate_category_id":"RC1","addons":["breakfast"],"availability":3,"is_refundable":true})"));

    const std::function<void(LXRoom&)> changes[] = {
        [](LXRoom& r) { r.imageUrl = "other", r.extAttributes["k"] = "v"; },  // not sent, so not compared
        [](LXRoom& r) { r.isRefundable.reset(); }, [](LXRoom& r) { r.isRefundable = false; },
        [](LXRoom& r) { r.promotion->expiry.reset(); }, [](LXRoom& r) { r.addons->push_back("parking"); },
        [](LXRoom& r) { r.price = "120.01"; }};
    for (const auto& change : changes) {
        LXRoom changed = room;
        change(changed);
        const bool same = &change == &changes[0];
        EXPECT_EQ(sent.matches(changed), same);
        EXPECT_EQ(sent == LXOfferRequestRoom::from(changed), same);
        EXPECT_EQ(LXOfferRequestRoom::hashOfShared(changed) == hashOf(sent), same);  // answers are found by it
    }
}

LXRoomDetails decode(const Json& j) {
    auto room = LXRoomDetails::fromJSON(j.dump());
    EXPECT_TRUE(room.ok()) << why(room);
    return room.ok() ? *room : *LXRoomDetails::fromJSON(golden("room_details_minimal.json"));
}

TEST(RoomDetailsJson, GoldenFormsInBothKeyStyles) {
    const std::string camel = golden("room_details.json"), snake = golden("room_details_snake.json");
    auto fromCamel = LXRoomDetails::fromJSON(camel, LXJSONKeyStyle::fieldNames);
    auto fromSnake = LXRoomDetails::fromJSON(snake, LXJSONKeyStyle::snakeCase);
    ASSERT_TRUE(fromCamel.ok() && fromSnake.ok()) << why(fromCamel) << why(fromSnake);
    EXPECT_TRUE(*fromCamel == *fromSnake);
    EXPECT_EQ(fromCamel->toJSON(LXJSONKeyStyle::fieldNames), camel);
    EXPECT_EQ(fromCamel->toJSON(LXJSONKeyStyle::snakeCase), snake);
    EXPECT_EQ(fromSnake->room().extAttributes.count("someKey_x"), 1u);  // map keys are data
    EXPECT_THAT(snake, HasSubstr(R"("https://img.example.com/rooms/r1.jpg")"));  // "/" unescaped
    EXPECT_THAT(snake, HasSubstr("Hotel Citt\xC3\xA0 di Fermo"));                  // UTF-8 as it stands
}

TEST(RoomDetailsParts, AMadeRoomIsTheSameKeyAsItsJsonAndReadsBackItsParts) {
    const LXRoomDetails made = LXRoomDetails::make(
        "user-42", LXBooking{{"2024-06-01", "2024-06-04"}, {2, 1}, "it_IT", "EUR", 1},
        LXHotel{"H1", "Hotel Citt\xC3\xA0 di Fermo", "4", "8.9", {"Via Roma 1", "Fermo", "IT"},
                LXCheckInTime{"15:00", "+02:00"}},
        LXRoom{"R1", "M1", "MR1", "Camera doppia", 2, "120.00", "double", LXPromotion{"P1", "2024-05-31T23:59:59Z"},
               "FLEX", "RC1", std::vector<std::string>{"breakfast", "parking"}, 3, true,
               "https://img.example.com/rooms/r1.jpg", "132.00", {{"someKey_x", "v"}, {"boardType", "BB"}}});
    const LXRoomDetails read = decode(goldenJson("room_details.json"));
    EXPECT_TRUE(made == read);
    EXPECT_EQ(std::hash<LXRoomDetails>{}(made), std::hash<LXRoomDetails>{}(read));
    EXPECT_EQ(made.toJSON(), golden("room_details.json"));

    EXPECT_EQ(read.userId(), "user-42");
    EXPECT_EQ(read.booking().stayDates.checkOut, "2024-06-04");
    EXPECT_EQ(read.hotel().checkInTime->utcOffset, "+02:00");
    EXPECT_EQ(read.room().extAttributes.at("someKey_x"), "v");
    const LXRoomDetails copy = read;
    EXPECT_EQ(&copy.room(), &read.room());  // copies share one body

    const LXRoomDetails anonymous = LXRoomDetails::make(std::nullopt, made.booking(), made.hotel(), made.room());
    EXPECT_FALSE(anonymous == made);
    EXPECT_THAT(anonymous.toJSON(), Not(HasSubstr("userId")));
}

TEST(RoomDetailsJson, OptionalsAbsentNullAndFalse) {
    const std::string minimal = golden("room_details_minimal.json");
    const LXRoomDetails bare = decode(Json::parse(minimal));
    EXPECT_EQ(bare.toJSON(), minimal);
    EXPECT_THAT(minimal, Not(HasSubstr("isRefundable")));

    Json nulls = Json::parse(minimal);
    nulls["userId"] = nulls["hotel"]["partnerRating"] = nulls["hotel"]["checkInTime"] = nullptr;
    for (const char* key : {"merchantRoomId", "promotion", "addons", "isRefundable"}) nulls["room"][key] = nullptr;
    nulls["room"]["beds"] = 2.0;  // a whole number with a fraction part still reads as an integer
    EXPECT_EQ(decode(nulls).toJSON(), minimal);

    Json promotion = Json::parse(minimal);
    promotion["room"]["promotion"] = {{"id", "P1"}, {"unknown", 1}};
    ASSERT_TRUE(decode(promotion).room().promotion.has_value());
    EXPECT_FALSE(decode(promotion).room().promotion->expiry.has_value());

    Json withUser = Json::parse(minimal), refundableFalse = withUser, moreChildren = withUser;
    withUser["userId"] = "u1";
    refundableFalse["room"]["isRefundable"] = false;
    moreChildren["booking"]["guests"]["children"] = 1;
    EXPECT_THAT(decode(refundableFalse).toJSON(), HasSubstr(R"("availability":3,"isRefundable":false,)"));
    const std::unordered_set<LXRoomDetails> keys{bare, decode(withUser), decode(refundableFalse),
                                                 decode(moreChildren), decode(Json::parse(minimal))};
    EXPECT_EQ(keys.size(), 4u);

    Json reordered = goldenJson("room_details.json");  // map order does not count
    reordered["room"]["extAttributes"] = Json::parse(R"({"someKey_x":"v","boardType":"BB"})");
    const LXRoomDetails full = decode(goldenJson("room_details.json"));
    EXPECT_TRUE(full == decode(reordered));
    EXPECT_EQ(std::hash<LXRoomDetails>{}(full), std::hash<LXRoomDetails>{}(decode(reordered)));
}

TEST(RoomDetailsJson, DecodingFailuresNameTheKindAndPath) {
    expectEachBreakageFails(
        goldenJson("room_details_minimal.json"),
        {{"no booking", [](Json& j) { j.erase("booking"); }, Kind::keyNotFound, {}, missingKey("booking")},
         {"no extAttributes", [](Json& j) { j["room"].erase("extAttributes"); }, Kind::keyNotFound, {"room"}},
         {"numeric starRating", [](Json& j) { j["hotel"]["starRating"] = 4; }, Kind::typeMismatch,
          {"hotel", "starRating"}, "expected a string but found a number"},
         {"fractional beds", [](Json& j) { j["room"]["beds"] = 1.5; }, Kind::dataCorrupted, {"room", "beds"},
          "the number 1.5 is not a whole number"},
         {"huge beds", [](Json& j) { j["room"]["beds"] = 1e19; }, Kind::dataCorrupted, {"room", "beds"},
          "the number 1e+19 does not fit in 64 bits"},
         {"beds just below the least", [](Json& j) { j["room"]["beds"] = -9223372036854775809.0; },
          Kind::dataCorrupted, {"room", "beds"}},
         {"beds as bool", [](Json& j) { j["room"]["beds"] = true; }, Kind::typeMismatch, {"room", "beds"}},
         {"null locale", [](Json& j) { j["booking"]["locale"] = nullptr; }, Kind::valueNotFound,
          {"booking", "locale"}},
         {"numeric addon", [](Json& j) { j["room"]["addons"] = {"a", "b", 3}; }, Kind::typeMismatch,
          {"room", "addons", "Index 2"}},
         {"numeric map value", [](Json& j) { j["room"]["extAttributes"] = {{"k", 1}}; }, Kind::typeMismatch,
          {"room", "extAttributes", "k"}}},
        [](const Json& j) { return LXRoomDetails::fromJSON(j.dump()); });

    Json snake = goldenJson("room_details_snake.json");  // paths name fields, not wire keys
    snake["hotel"]["star_rating"] = 4.5;
    expectFailure(LXRoomDetails::fromJSON(snake.dump(), LXJSONKeyStyle::snakeCase), Kind::typeMismatch,
                  {"hotel", "starRating"});
}

// An object of `members` members, each a small object of its own.
std::string wideObject(std::size_t members) {
    std::string text = "{";
    for (std::size_t i = 0; i < members; ++i) text += (i ? ",\"" : "\"") + std::to_string(i) + R"(":{"a":1})";
    return text + "}";
}

TEST(JsonText, HostileTextIsNotValidJsonAndNothingIsBuiltFromIt) {
    std::string manyWide = "[";
    for (int i = 0; i < 10; ++i) manyWide += (i ? "," : "") + wideObject(1000);
    manyWide += "]";
    const std::string notJson[] = {wideObject(1025), manyWide,"", "{", R"({"booking":})", "not json", deepObject(), deepObject(512),
                                   std::string(100'000, '['), "{\"a\":\"\xff\"}", std::string("{\"a\":\"\0\"}", 9),
                                   std::string("{}\0", 3), R"({"a":"\ud800"})", "[1e999]"};
    for (const auto& text : notJson) {
        SCOPED_TRACE(text.substr(0, 20));
        EXPECT_FALSE(json::parse(text));
        expectFailure(LXRoomDetails::fromJSON(text), Kind::dataCorrupted, {}, "the text is not valid JSON");
        expectFailure(json::Decoder().decode<LXSession>(text), Kind::dataCorrupted, {});
    }
    EXPECT_TRUE(json::parse(deepObject(511)));  // 512 levels are still read
    EXPECT_TRUE(json::parse(wideObject(1024)));
    // Strings holding brackets and escaped quotes do not count as nesting.
    EXPECT_TRUE(json::parse(R"([")" + std::string(600, '{') + R"(\"[{", "\\", "\u0000"])"));
    EXPECT_EQ(json::parse(R"({"a":"\u0000"})")->at("a"), std::string(1, '\0'));
}

constexpr const char* kErrorForm = R"({"error":{"error":{"message":"M","code":7}}})";

template <class Value>
void expectOneKeyForms(const std::vector<std::pair<Value, const char*>>& forms) {
    for (const auto& [value, text] : forms) {
        EXPECT_EQ(value.toJSON(), text);
        EXPECT_EQ(kWireEncoder.encode(value), text);
        auto back = Value::fromJSON(text);
        ASSERT_TRUE(back.ok()) << text << ": " << why(back);
        EXPECT_EQ(back->kind(), value.kind());
    }
}

TEST(PublicStateJson, EveryCaseIsAOneKeyObject) {
    expectOneKeyForms<LXFermoOfferState>({{LXFermoOfferState::loading(), R"({"loading":{}})"},
                                          {LXFermoOfferState::available(), R"({"available":{}})"},
                                          {LXFermoOfferState::unavailable(), R"({"unavailable":{}})"},
                                          {LXFermoOfferState::error(makeError("M", 7)), kErrorForm}});
    expectOneKeyForms<LXFermoPurchaseResult>({{LXFermoPurchaseResult::purchased(), R"({"purchased":{}})"},
                                              {LXFermoPurchaseResult::cancelled(), R"({"cancelled":{}})"},
                                              {LXFermoPurchaseResult::invalid(), R"({"invalid":{}})"},
                                              {LXFermoPurchaseResult::error(makeError("M", 7)), kErrorForm}});
    auto error = LXFermoPurchaseResult::fromJSON(kErrorForm);
    ASSERT_NE(error->errorInfo(), nullptr);
    EXPECT_EQ(error->errorInfo()->message(), "M");
    EXPECT_EQ(error->errorInfo()->code(), 7);
    EXPECT_EQ(json::Encoder().encode(makeError("Error fetching offer")), R"({"message":"Error fetching offer"})");
    auto noCode = json::Decoder().decode<LXErrorInfo>(R"({"message":"Error fetching offer","code":null})");
    ASSERT_TRUE(noCode.ok()) << why(noCode);
    EXPECT_FALSE(noCode->code().has_value());
}

TEST(PublicStateEquality, AnErrorEqualsNothingNotEvenItself) {
    const auto error = LXFermoOfferState::error(makeError("M", 7)), copy = error;
    EXPECT_FALSE(error == error || error == copy || error == LXFermoOfferState::loading());
    EXPECT_TRUE(LXFermoOfferState::loading() == LXFermoOfferState::loading());
    EXPECT_FALSE(LXFermoOfferState::loading() == LXFermoOfferState::available());
    const auto failed = LXFermoPurchaseResult::error(makeError("M"));
    EXPECT_FALSE(failed == failed);
    EXPECT_TRUE(LXFermoPurchaseResult::purchased() == LXFermoPurchaseResult::purchased());
    EXPECT_FALSE(LXFermoPurchaseResult::purchased() == LXFermoPurchaseResult::cancelled());
}

TEST(PublicStateJson, DecodingCountsOnlyCaseKeys) {
    auto loading = LXFermoOfferState::fromJSON(R"({"extra":1,"loading":{"ignored":true}})");
    ASSERT_TRUE(loading.ok()) << why(loading);
    EXPECT_EQ(loading->kind(), LXFermoOfferState::Kind::loading);

    const std::string oneKey = "Invalid number of keys found, expected one.";
    for (const char* text : {R"({"loading":{},"available":{}})", "{}", R"({"other":{}})"}) {
        SCOPED_TRACE(text);
        expectFailure(LXFermoOfferState::fromJSON(text), Kind::typeMismatch, {}, oneKey);
        expectFailure(LXFermoPurchaseResult::fromJSON(text), Kind::typeMismatch, {}, oneKey);
    }
    expectFailure(LXFermoOfferState::fromJSON(R"({"error":{}})"), Kind::keyNotFound, {"error"}, missingKey("error"));
    expectFailure(LXFermoOfferState::fromJSON(R"({"error":{"error":{"code":1}}})"), Kind::keyNotFound,
                  {"error", "error"});
    // A case's value must be an object; null is the wrong type, not a missing value.
    for (const char* text : {R"({"loading":1})", R"({"loading":null})", R"({"error":null})", R"({"error":[]})"}) {
        SCOPED_TRACE(text);
        const std::string key = Json::parse(text).begin().key();
        expectFailure(LXFermoOfferState::fromJSON(text), Kind::typeMismatch, {key});
    }
    expectFailure(LXFermoPurchaseResult::fromJSON(R"({"purchased":null})"), Kind::typeMismatch, {"purchased"},
                  "expected an object but found null");
    expectFailure(LXFermoPurchaseResult::fromJSON(R"({"error":null})"), Kind::typeMismatch, {"error"});
}

TEST(FermoOfferJson, RoomDetailsKeyFollowsTheKeyStyle) {
    const std::string camel =
        R"({"roomDetails":)" + golden("room_details_minimal.json") + R"(,"state":{"available":{}}})";
    auto offer = LXFermoOffer::fromJSON(camel);
    ASSERT_TRUE(offer.ok()) << why(offer);
    EXPECT_EQ(offer->toJSON(), camel);
    EXPECT_TRUE(offer->roomDetails() == decode(goldenJson("room_details_minimal.json")));
    const std::string snake = offer->toJSON(LXJSONKeyStyle::snakeCase);
    EXPECT_THAT(snake, HasSubstr(R"({"room_details":{"booking":{"stay_dates":)"));
    EXPECT_THAT(snake, HasSubstr(R"(,"state":{"available":{}}})"));
    auto back = LXFermoOffer::fromJSON(snake, LXJSONKeyStyle::snakeCase);
    ASSERT_TRUE(back.ok()) << why(back);
    EXPECT_EQ(back->toJSON(), camel);
    expectFailure(LXFermoOffer::fromJSON(R"({"roomDetails":)" + golden("room_details_minimal.json") + "}"),
                  Kind::keyNotFound, {});
}

TEST(PublicExports, RawValuesReadBackAndOthersAreRefused) {
    using namespace LXHotelsFermo;
    for (const auto& [type, raw] :
         {std::pair{LXEnvironmentType::production, "production"}, {LXEnvironmentType::staging, "staging"}}) {
        EXPECT_EQ(rawValue(type), raw);
        EXPECT_EQ(environmentTypeFromRawValue(raw), type);
    }
    for (const auto& [refresh, raw] : {std::pair{LXRefresh::all, "all"}, {LXRefresh::errorsOnly, "errorsOnly"}}) {
        EXPECT_EQ(rawValue(refresh), raw);
        EXPECT_EQ(refreshFromRawValue(raw), refresh);
    }
    for (const char* unknown : {"", "Production", "errors_only", "ALL"}) {
        EXPECT_FALSE(environmentTypeFromRawValue(unknown).has_value()) << unknown;
        EXPECT_FALSE(refreshFromRawValue(unknown).has_value()) << unknown;
    }
}

// Even where NDEBUG is set: reading the wrong alternative would read the other one's memory.
TEST(ResultDeathTest, ReadingTheAlternativeItDoesNotHoldStopsTheProcess) {
    const LXResult<int, std::string> failed(std::string("why")), succeeded(1);
    EXPECT_DEATH((void)failed.value(), "");
    EXPECT_DEATH((void)*failed, "");
    EXPECT_DEATH((void)succeeded.error(), "");
    EXPECT_EQ(*succeeded, 1);
    EXPECT_EQ(failed.error(), "why");
}

using namespace std::chrono;

const LXDevice kPhone{"device-1", {{"17.4", LXType::i_os}, LXSoftware::app}, LXHardware::mobile};
const std::string kPhoneJson =
    R"({"id":"device-1","platform":{"operating_system":{"version":"17.4","type":"i_os"},"type":"app"},"type":"mobile"})";
const auto kMarchFirst = sys_days{year{2024} / March / 1} + 9h + 5min + 3s;

TEST(SessionJson, WireFormsAndPlatformReadsBackOnlyWithKeysAsTheyStand) {
    EXPECT_EQ(kWireEncoder.encode(LXSessionInputs{"partner-7", kPhone}),
              R"({"partner_user_id":"partner-7","device":)" + kPhoneJson + "}");
    EXPECT_EQ(kWireEncoder.encode(LXSessionInputs{std::nullopt, kPhone}), R"({"device":)" + kPhoneJson + "}");
    auto answer = kWireDecoder.decode<LXSessionResponse>(R"({"id":"S-1","extra":true})");
    ASSERT_TRUE(answer.ok()) << why(answer);
    EXPECT_EQ(answer->id, "S-1");

    expectFailure(kWireDecoder.decode<LXDevice>(kPhoneJson), Kind::keyNotFound, {"platform"},
                  missingKey("operating_system"));
    const LXSession session{"u1", "S-1", Date{1.5}, kPhone};
    const std::string stored = kWireEncoder.encode(session);
    EXPECT_EQ(stored, R"({"user_id":"u1","session_id":"S-1","created_on":1.5,"device":)" + kPhoneJson + "}");
    expectFailure(kWireDecoder.decode<LXSession>(stored), Kind::keyNotFound, {"device", "platform"},
                  missingKey("operating_system"));
    auto back = json::Decoder().decode<LXSession>(json::Encoder().encode(session));
    ASSERT_TRUE(back.ok()) << why(back);
    EXPECT_EQ(*back, session);

    // Without optionals only createdOn is written, in seconds since 2001.
    const Date created = Date::from(kMarchFirst);
    EXPECT_EQ(created.sinceReferenceDate, 730976703.0);
    EXPECT_EQ(json::Encoder().encode(LXSession{std::nullopt, std::nullopt, created, std::nullopt}),
              R"({"createdOn":730976703})");
    EXPECT_EQ(kWireEncoder.encode(LXSession{std::nullopt, std::nullopt, Date{-0.25}, std::nullopt}),
              R"({"created_on":-0.25})");
    auto bare = kWireDecoder.decode<LXSession>(R"({"created_on":730976703,"device":null})");
    ASSERT_TRUE(bare.ok()) << why(bare);
    EXPECT_EQ(bare->createdOn.timePoint(), kMarchFirst);
    EXPECT_FALSE(bare->device.has_value());
    expectFailure(kWireDecoder.decode<LXSession>(R"({"user_id":"u1"})"), Kind::keyNotFound, {});
}

TEST(EventJson, TimestampIsUtcWhateverTheLocalZoneAndDeviceRawValuesAreExact) {
    const char* saved = std::getenv("TZ");
    const std::optional<std::string> previous = saved ? std::optional<std::string>(saved) : std::nullopt;
    setenv("TZ", "America/Los_Angeles", 1);
    tzset();
    const std::string stamp = formatEventTimestamp(kMarchFirst + 870ms);
    previous ? setenv("TZ", previous->c_str(), 1) : unsetenv("TZ");
    tzset();
    EXPECT_EQ(stamp, "2024-03-01T09:05:03Z");
    EXPECT_EQ(kWireEncoder.encode(LXEvent{"S-1", stamp, "OF-1", "offer_shown"}),
              R"({"session_id":"S-1","occurred_date_time":"2024-03-01T09:05:03Z","fermo_offer_id":"OF-1",)"
              R"("type":"offer_shown"})");
    EXPECT_EQ(kWireEncoder.encode(LXMicrositeHotel{"Fermo", "Porto San Giorgio"}),
              R"({"name":"Fermo","address_city":"Porto San Giorgio"})");
    expectEachBreakageFails(
        Json::parse(kPhoneJson),
        {{"phone", [](Json& j) { j["type"] = "phone"; }, Kind::dataCorrupted, {"type"},
          R"("phone" is not a value of LXHardware)"},
         {"iOS", [](Json& j) { j["platform"]["operating_system"]["type"] = "iOS"; }, Kind::dataCorrupted,
          {"platform", "operating_system", "type"}},
         {"numeric software", [](Json& j) { j["platform"]["type"] = 1; }, Kind::typeMismatch, {"platform", "type"}}},
        [](const Json& j) { return json::Decoder().fromJson<LXDevice>(j); });
}

}  // namespace
}  // namespace lxhf::test
