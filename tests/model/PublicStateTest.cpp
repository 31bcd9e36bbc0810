#include "LXHotelsFermo/LXEnvironmentType.h"
#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXVersion.h"
#include "ModelTestHelpers.h"
#include "model/ErrorInfo.h"
#include "model/PublicStateCoding.h"

namespace lxhf::test {
namespace {

using ::testing::HasSubstr;

constexpr const char* kErrorForm = R"({"error":{"error":{"message":"M","code":7}}})";

template <class Value>
void expectForms(const std::vector<std::pair<Value, const char*>>& forms) {
    for (const auto& [value, text] : forms) {
        EXPECT_EQ(value.toJSON(), text);
        EXPECT_EQ(json::Encoder(KeyEncoding::convertToSnakeCase).encode(value), text);
        auto back = Value::fromJSON(text);
        ASSERT_TRUE(back.ok()) << text << ": " << why(back);
        EXPECT_EQ(back->kind(), value.kind());
    }
}

TEST(PublicStateJson, EveryCaseIsAOneKeyObject) {
    expectForms<LXFermoOfferState>({{LXFermoOfferState::loading(), R"({"loading":{}})"},
                                    {LXFermoOfferState::available(), R"({"available":{}})"},
                                    {LXFermoOfferState::unavailable(), R"({"unavailable":{}})"},
                                    {LXFermoOfferState::error(makeError("M", 7)), kErrorForm}});
    expectForms<LXFermoPurchaseResult>({{LXFermoPurchaseResult::purchased(), R"({"purchased":{}})"},
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
    const auto error = LXFermoOfferState::error(makeError("M", 7));
    const auto copy = error;
    EXPECT_FALSE(error == error);
    EXPECT_FALSE(error == copy);
    EXPECT_FALSE(error == LXFermoOfferState::loading());
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
    expectFailure(LXFermoPurchaseResult::fromJSON(R"({"purchased":{},"error":{}})"), Kind::typeMismatch, {}, oneKey);
    expectFailure(LXFermoOfferState::fromJSON(R"({"error":{}})"), Kind::keyNotFound, {"error"},
                  R"(No value associated with key CodingKeys(stringValue: "error", intValue: nil) ("error").)");
    expectFailure(LXFermoOfferState::fromJSON(R"({"error":{"error":{"code":1}}})"), Kind::keyNotFound,
                  {"error", "error"});
    expectFailure(LXFermoOfferState::fromJSON(R"({"loading":1})"), Kind::typeMismatch, {"loading"});
}

TEST(FermoOfferJson, RoomDetailsKeyFollowsTheKeyStyle) {
    const std::string camel =
        R"({"roomDetails":)" + golden("room_details_minimal.json") + R"(,"state":{"available":{}}})";
    auto offer = LXFermoOffer::fromJSON(camel);
    ASSERT_TRUE(offer.ok()) << why(offer);
    EXPECT_EQ(offer->toJSON(), camel);

    const std::string snake = offer->toJSON(LXJSONKeyStyle::snakeCase);
    EXPECT_THAT(snake, HasSubstr(R"({"room_details":{"booking":{"stay_dates":)"));
    EXPECT_THAT(snake, HasSubstr(R"(,"state":{"available":{}}})"));
    auto back = LXFermoOffer::fromJSON(snake, LXJSONKeyStyle::snakeCase);
    ASSERT_TRUE(back.ok()) << why(back);
    EXPECT_EQ(back->toJSON(), camel);
    expectFailure(LXFermoOffer::fromJSON(R"({"roomDetails":)" + golden("room_details_minimal.json") + "}"),
                  Kind::keyNotFound, {});
}

TEST(PublicExports, VersionAndRawValues) {
    EXPECT_EQ(LXHotelsFermoVersionNumber, 1.0);
    EXPECT_STREQ(reinterpret_cast<const char*>(LXHotelsFermoVersionString),
                 "@(#)PROGRAM:LXHotelsFermo  PROJECT:LXHotelsFermo-1\n");
    EXPECT_EQ(rawValue(LXEnvironmentType::production), "production");
    EXPECT_EQ(rawValue(LXEnvironmentType::staging), "staging");
    EXPECT_EQ(rawValue(LXRefresh::all), "all");
    EXPECT_EQ(rawValue(LXRefresh::errorsOnly), "errorsOnly");
    EXPECT_EQ(environmentTypeFromRawValue("production"), LXEnvironmentType::production);
    EXPECT_EQ(environmentTypeFromRawValue("staging"), LXEnvironmentType::staging);
    EXPECT_EQ(refreshFromRawValue("all"), LXRefresh::all);
    EXPECT_EQ(refreshFromRawValue("errorsOnly"), LXRefresh::errorsOnly);
    for (const char* unknown : {"", "Production", "errors_only", "ALL"}) {
        EXPECT_FALSE(environmentTypeFromRawValue(unknown).has_value()) << unknown;
        EXPECT_FALSE(refreshFromRawValue(unknown).has_value()) << unknown;
    }
}

}  // namespace
}  // namespace lxhf::test
