#include <gtest/gtest.h>
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "infra/LoggerSlot.h"
#include "support/FakeHttpClient.h"
#include "support/ManualQueue.h"
#include "support/RecordingSystemLog.h"

namespace lxhf {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::Pair;
using Type = SystemLog::Type;

constexpr const char* kIntake = "https://intake.test/api/v2/logs";

class LoggerTest : public ::testing::Test {
protected:
    LoggerContext context() { return LoggerContext{http, systemLog, kIntake}; }
    LXLogger make(std::string environment, std::optional<std::string> sessionId = "S-1") {
        return LXLogger(LXLoggerConfig{std::move(environment), "0.1.0", "en_US", std::move(sessionId)}, context());
    }
    nlohmann::json body(std::size_t index) const { return nlohmann::json::parse(http.requests().at(index).body); }

    test::ManualQueue queue;
    test::FakeHttpClient http{queue};
    test::RecordingSystemLog systemLog;
};

TEST_F(LoggerTest, EachLevelPostsOneExactRecordAndWritesTheSystemLog) {
    LXLogger logger(LXLoggerConfig{"staging", "0.1.0", "en_US", "S-1"}, context());
    logger.info("hello");
    logger.warn("careful");
    logger.error("broken");

    ASSERT_EQ(http.requests().size(), 3u);
    const auto& first = http.requests()[0];
    EXPECT_EQ(first.method, "POST");
    EXPECT_EQ(first.url,
              "https://intake.test/api/v2/logs?ddsource=iOS&dd-api-key=pub3c9e41b07d5a2f68e1b4c7a90d2f5e83"
              "&ddtags=env:staging,version:0.1.0");
    EXPECT_THAT(first.headers, ElementsAre(Pair("Content-Type", "application/json")));
    EXPECT_EQ(first.timeout, 60s);
    EXPECT_EQ(first.body,
              R"({"service":"lx-hotels-fm-sdk","version":"0.1.0","source":"iOS","message":"hello","status":"info",)"
              R"("data":{"jsonPayload":{"env":"staging","partner":"Velto","session_id":"S-1","locale":"en_US"}}})");
    EXPECT_EQ(body(1)["status"], "warn");
    EXPECT_EQ(body(2)["status"], "error");

    // Warnings use the error type: only the intake tells the two apart.
    EXPECT_THAT(systemLog.entries(), ElementsAre(Pair(Type::info, "[LXHotelsFermoSDK] : hello"),
                                                 Pair(Type::error, "[LXHotelsFermoSDK] : careful"),
                                                 Pair(Type::error, "[LXHotelsFermoSDK] : broken")));
}

TEST_F(LoggerTest, MissingSessionIdSendsTheComplaintFirst) {
    auto logger = make("staging", std::nullopt);
    logger.warn("x");

    ASSERT_EQ(http.requests().size(), 2u);
    EXPECT_EQ(body(0)["message"], "Session id missing while sending logs");
    EXPECT_EQ(body(0)["status"], "error");
    EXPECT_EQ(body(1)["message"], "x");
    EXPECT_EQ(body(1)["status"], "warn");
    for (std::size_t i = 0; i < 2; ++i) EXPECT_FALSE(body(i)["data"]["jsonPayload"].contains("session_id"));
    EXPECT_THAT(systemLog.lines(), ElementsAre("[LXHotelsFermoSDK] : x",
                                               "[LXHotelsFermoSDK] : Session id missing while sending logs"));

    // Every record carries the values current at the time of the call.
    logger.setSessionId("S-2");
    logger.setLocale("fr_FR");
    logger.info("y");
    ASSERT_EQ(http.requests().size(), 3u);
    EXPECT_EQ(body(2)["data"]["jsonPayload"]["session_id"], "S-2");
    EXPECT_EQ(body(2)["data"]["jsonPayload"]["locale"], "fr_FR");
}

TEST_F(LoggerTest, ProductionPostsButLeavesTheSystemLogAlone) {
    auto logger = make("production", std::nullopt);
    logger.info("a");
    logger.warn("b");
    logger.error("c");
    logger.logLocal("d");

    EXPECT_EQ(http.requests().size(), 6u);  // each call also complains about the session
    EXPECT_TRUE(http.requests()[0].url.ends_with("&ddtags=env:production,version:0.1.0"));
    EXPECT_EQ(body(5)["data"]["jsonPayload"]["env"], "production");
    EXPECT_TRUE(systemLog.entries().empty());
}

TEST_F(LoggerTest, TransportErrorIsOneLocalLineAndNoRetry) {
    http.enqueue(test::FakeHttpClient::failure("Could not connect to server"));
    auto logger = make("staging");
    logger.info("a");
    queue.advance(1s);

    EXPECT_EQ(http.requests().size(), 1u);
    EXPECT_THAT(systemLog.entries(), ElementsAre(Pair(Type::info, "[LXHotelsFermoSDK] : a"),
                                                 Pair(Type::error, "[LXHotelsFermoSDK] : Error: Could not connect to server")));
}

TEST_F(LoggerTest, AnswerAfterTheLoggerIsGoneIsDropped) {
    http.enqueue(test::FakeHttpClient::failure("late"), 1s);
    {
        auto logger = make("staging");
        logger.info("a");
    }
    systemLog.clear();
    queue.advance(2s);
    EXPECT_TRUE(systemLog.entries().empty());
}

TEST_F(LoggerTest, SlotRenewsOnlyForANewLocale) {
    LoggerSlot slot;
    logWarn(slot, "nobody listens");
    EXPECT_TRUE(http.requests().empty());

    LXLogger* first = &slot.installOrRenew(LXLoggerConfig{"staging", "0.1.0", "en_US", "S-1"}, context());
    LXLogger* same = &slot.installOrRenew(LXLoggerConfig{"staging", "0.1.0", "en_US", "S-2"}, context());
    EXPECT_EQ(first, same);
    EXPECT_EQ(slot.get()->config().sessionId, "S-2");

    LXLogger* renewed = &slot.installOrRenew(LXLoggerConfig{"staging", "0.1.0", "de_DE", "S-3"}, context());
    EXPECT_EQ(slot.get(), renewed);
    EXPECT_EQ(renewed->config().locale, "de_DE");
    EXPECT_EQ(renewed->config().sessionId, "S-3");

    logError(slot, "e");
    ASSERT_EQ(http.requests().size(), 1u);
    slot.clear();
    logError(slot, "after clear");
    EXPECT_EQ(http.requests().size(), 1u);
}

}  // namespace
}  // namespace lxhf
