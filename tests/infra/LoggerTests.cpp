#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

class LoggerTest : public ::testing::Test {
protected:
    LoggerContext context() { return LoggerContext{http, systemLog, "https://intake.test/api/v2/logs"}; }
    LXLoggerConfig config(std::string env, std::optional<std::string> session = "S-1", std::string locale = "en_US") {
        return LXLoggerConfig{std::move(env), "0.1.0", std::move(locale), std::move(session)};
    }
    nlohmann::json body(std::size_t index) const { return nlohmann::json::parse(http.requests().at(index).body); }

    test::ManualQueue queue;
    test::FakeHttpClient http{queue};
    test::RecordingSystemLog systemLog;
};

TEST_F(LoggerTest, EachLevelPostsOneExactRecordAndWritesTheSystemLog) {
    http.respondTo("/api/v2/logs", test::FakeHttpClient::reply(202, "{}"));
    LXLogger logger(config("staging"), context());
    logger.info("hello");
    logger.warn("careful");
    logger.error("broken");
    queue.runPending();  // accepted answers add nothing to the system log

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

TEST_F(LoggerTest, MissingSessionIdSendsTheComplaintFirstAndProductionSkipsTheSystemLog) {
    LXLogger logger(config("staging", std::nullopt), context());
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

    systemLog.clear();
    LXLogger production(config("production", std::nullopt), context());
    production.info("a");
    production.error("c");
    production.logLocal("d");
    ASSERT_EQ(http.requests().size(), 7u);  // each call also complains; logLocal posts nothing
    EXPECT_TRUE(http.requests()[3].url.ends_with("&ddtags=env:production,version:0.1.0"));
    EXPECT_EQ(body(6)["data"]["jsonPayload"]["env"], "production");
    EXPECT_TRUE(systemLog.entries().empty());
}

TEST_F(LoggerTest, TransportErrorIsOneLocalLineAndALateAnswerIsDropped) {
    http.enqueue(test::FakeHttpClient::failure("Could not connect to server"));
    http.enqueue(test::FakeHttpClient::failure("late"), 1s);
    {
        LXLogger logger(config("staging"), context());
        logger.info("a");
        queue.runPending();
        EXPECT_THAT(systemLog.entries(),
                    ElementsAre(Pair(Type::info, "[LXHotelsFermoSDK] : a"),
                                Pair(Type::error, "[LXHotelsFermoSDK] : Error: Could not connect to server")));
        logger.info("b");
    }
    systemLog.clear();
    queue.advance(2s);
    EXPECT_EQ(http.requests().size(), 2u);  // no retry
    EXPECT_TRUE(systemLog.entries().empty());
}

TEST_F(LoggerTest, SlotRenewsOnlyForANewLocale) {
    LoggerSlot slot;
    logWarn(slot, "nobody listens");
    EXPECT_TRUE(http.requests().empty());

    LXLogger* first = &slot.installOrRenew(config("staging", "S-1"), context());
    EXPECT_EQ(&slot.installOrRenew(config("staging", "S-2"), context()), first);
    EXPECT_EQ(slot.get()->config().sessionId, "S-2");
    LXLogger* renewed = &slot.installOrRenew(config("staging", "S-3", "de_DE"), context());
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
