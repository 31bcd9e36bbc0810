#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>

#include "ModelTestHelpers.h"
#include "model/SessionRecords.h"

namespace lxhf::test {
namespace {

using namespace std::chrono;

const json::Decoder kWireDecoder(KeyDecoding::convertFromSnakeCase);
const json::Encoder kWireEncoder(KeyEncoding::convertToSnakeCase);

const LXDevice kPhone{"device-1", {{"17.4", LXType::i_os}, LXSoftware::app}, LXHardware::mobile};
const std::string kPhoneJson =
    R"({"id":"device-1","platform":{"operating_system":{"version":"17.4","type":"i_os"},"type":"app"},"type":"mobile"})";
const auto kMarchFirst = sys_days{year{2024} / March / 1} + 9h + 5min + 3s;

TEST(SessionJson, CreationBodyAndAnswerHaveTheWireForm) {
    EXPECT_EQ(kWireEncoder.encode(LXSessionInputs{"partner-7", kPhone}),
              R"({"partner_user_id":"partner-7","device":)" + kPhoneJson + "}");
    EXPECT_EQ(kWireEncoder.encode(LXSessionInputs{std::nullopt, kPhone}), R"({"device":)" + kPhoneJson + "}");
    auto answer = kWireDecoder.decode<LXSessionResponse>(R"({"id":"S-1","extra":true})");
    ASSERT_TRUE(answer.ok()) << why(answer);
    EXPECT_EQ(answer->id, "S-1");
}

TEST(SessionJson, PlatformReadsBackOnlyWithKeysAsTheyStand) {
    const std::string missing = R"(No value associated with key CodingKeys(stringValue: "operating_system", )"
                                R"(intValue: nil) ("operating_system").)";
    expectFailure(kWireDecoder.decode<LXDevice>(kPhoneJson), Kind::keyNotFound, {"platform"}, missing);

    const LXSession session{"u1", "S-1", Date{1.5}, kPhone};
    const std::string stored = kWireEncoder.encode(session);
    EXPECT_EQ(stored, R"({"user_id":"u1","session_id":"S-1","created_on":1.5,"device":)" + kPhoneJson + "}");
    expectFailure(kWireDecoder.decode<LXSession>(stored), Kind::keyNotFound, {"device", "platform"}, missing);

    auto back = json::Decoder().decode<LXSession>(json::Encoder().encode(session));
    ASSERT_TRUE(back.ok()) << why(back);
    EXPECT_EQ(*back, session);
}

TEST(SessionJson, SessionWithoutOptionalsHoldsOnlyCreatedOnInSecondsSince2001) {
    const Date created = Date::from(kMarchFirst);
    EXPECT_EQ(created.sinceReferenceDate, 730976703.0);
    EXPECT_EQ(json::Encoder().encode(LXSession{std::nullopt, std::nullopt, created, std::nullopt}),
              R"({"createdOn":730976703})");
    EXPECT_EQ(kWireEncoder.encode(LXSession{std::nullopt, std::nullopt, Date{-0.25}, std::nullopt}),
              R"({"created_on":-0.25})");

    auto back = kWireDecoder.decode<LXSession>(R"({"created_on":730976703,"device":null})");
    ASSERT_TRUE(back.ok()) << why(back);
    EXPECT_EQ(back->createdOn.timePoint(), kMarchFirst);
    EXPECT_FALSE(back->device.has_value());
    expectFailure(kWireDecoder.decode<LXSession>(R"({"user_id":"u1"})"), Kind::keyNotFound, {});
}

TEST(EventJson, TimestampIsUtcWhateverTheLocalZone) {
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
}

TEST(DeviceJson, RawValuesAreExactAndUnknownOnesFail) {
    Json tablet = Json::parse(kPhoneJson);
    tablet["type"] = "tablet";
    auto decoded = json::Decoder().fromJson<LXDevice>(tablet);
    ASSERT_TRUE(decoded.ok()) << why(decoded);
    EXPECT_EQ(decoded->type, LXHardware::tablet);

    expectEachBreakageFails(
        Json::parse(kPhoneJson),
        {
            {"phone", [](Json& j) { j["type"] = "phone"; }, Kind::dataCorrupted, {"type"},
             "Cannot initialize LXHardware from invalid String value phone"},
            {"iOS", [](Json& j) { j["platform"]["operating_system"]["type"] = "iOS"; }, Kind::dataCorrupted,
             {"platform", "operating_system", "type"}, ""},
            {"numeric software", [](Json& j) { j["platform"]["type"] = 1; }, Kind::typeMismatch,
             {"platform", "type"}, ""},
        },
        [](const Json& j) { return json::Decoder().fromJson<LXDevice>(j); });
}

}  // namespace
}  // namespace lxhf::test
