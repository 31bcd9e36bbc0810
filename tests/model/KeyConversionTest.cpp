#include "ModelTestHelpers.h"
#include "model/KeyConversion.h"
#include "model/OfferRecords.h"

namespace lxhf::test {
namespace {

TEST(KeyConversion, ToSnakeCaseSplitsWordsAsFoundationDoes) {
    const std::pair<const char*, const char*> cases[] = {
        {"imageURL", "image_url"},  {"myURLProperty", "my_url_property"},
        {"URLString", "u_rl_string"},  // the first character never starts a word
        {"line2Address", "line2_address"}, {"operating_system", "operating_system"},
        {"_id", "_id"},             {"__privateKey__", "__private_key__"},
        {"already", "already"},     {"", ""},
    };
    for (const auto& [in, out] : cases) EXPECT_EQ(json::toSnakeCase(in), out) << in;
}

TEST(KeyConversion, FromSnakeCaseKeepsOuterUnderscoresAndCapitalisesInnerPieces) {
    const std::pair<const char*, const char*> cases[] = {
        {"image_url", "imageUrl"}, {"image_URL", "imageUrl"}, {"Image_url", "imageUrl"},
        {"a__b", "aB"},            {"_id", "_id"},            {"__private_key__", "__privateKey__"},
        {"___", "___"},            {"already", "already"},    {"alreadyCamel", "alreadyCamel"},
        {"", ""},
    };
    for (const auto& [in, out] : cases) EXPECT_EQ(json::fromSnakeCase(in), out) << in;
}

TEST(KeyConversion, StringKeyedMapsKeepTheirKeysUnderEitherStrategy) {
    const FeatureFlags flags{{"someKey_x", CodableValue{true}}, {"camelKey", CodableValue{std::int64_t(1)}}};
    const std::string text = json::Encoder(KeyEncoding::convertToSnakeCase).encode(flags);
    EXPECT_EQ(text, R"({"camelKey":1,"someKey_x":true})");
    auto back = json::Decoder(KeyDecoding::convertFromSnakeCase).decode<FeatureFlags>(text);
    ASSERT_TRUE(back.ok()) << why(back);
    EXPECT_EQ(*back, flags);
}

}  // namespace
}  // namespace lxhf::test
