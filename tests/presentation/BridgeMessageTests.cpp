#include <gtest/gtest.h>

#include "page/BridgeMessage.h"
#include "support/HostileJson.h"

namespace lxhf::test {
namespace {

using Json = json::Json;
using Kind = LXFermoPurchaseResult::Kind;

BridgeAction post(const Json& body) { return decodeBridgeMessage("CorvaneSDKBridge", body); }
Json event(const Json& name, const Json& data = Json::object()) { return {{"eventName", name}, {"data", data}}; }
// An "error" event as the page's JSON text, its message written as escaped.
Json errorText(const std::string& escapedMessage) {
    return readBridgeMessage(R"({"eventName":"error","data":{"message":")" + escapedMessage + R"("}})");
}

void expectNothingBut(const BridgeAction& action, const LogLine& line) {
    EXPECT_FALSE(action.result.has_value());
    EXPECT_FALSE(action.dismiss);
    EXPECT_FALSE(action.stopSpinner);
    EXPECT_EQ(action.log, line);
}

TEST(BridgeMessage, EachEventHasItsOwnEffect) {
    struct Case {
        BridgeAction action;
        std::optional<Kind> kind;
        bool dismiss, stopSpinner;
        std::string message;
    };
    const std::string fallback = "Unable to access microsite error message";
    const Case cases[] = {
        {post(event("close")), Kind::cancelled, true, false, ""},
        {post(event("ready", {{"anything", 1}})), std::nullopt, false, true, ""},
        {post(event("purchased")), Kind::purchased, false, false, ""},  // the page stays up
        {post(event("error", {{"message", "Card declined"}})), Kind::error, true, false, "Card declined"},
        {post(event("error")), Kind::error, true, false, fallback},
        {post(event("error", {{"message", 42}})), Kind::error, true, false, fallback},
        {post(event("error", {{"message", nullptr}})), Kind::error, true, false, fallback},
        {post(event("error", {{"text", "x"}})), Kind::error, true, false, fallback},
        // Half an emoji, cut by the page's own slicing, reads as U+FFFD; whole pairs stay.
        {post(errorText(R"(Sold out \ud83d)")), Kind::error, true, false, "Sold out \uFFFD"},
        {post(errorText(R"(\ude00\ud83d\ud83d\ude00)")), Kind::error, true, false, "\uFFFD\uFFFD\U0001F600"},
        {post(errorText(R"(\\ud83d\\\uD83D\u0041)")), Kind::error, true, false, "\\ud83d\\\uFFFDA"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message + " case " + std::to_string(&c - cases));
        ASSERT_EQ(c.action.result.has_value(), c.kind.has_value());
        if (c.kind) {
            EXPECT_EQ(c.action.result->kind(), *c.kind);
        }
        EXPECT_EQ(c.action.dismiss, c.dismiss);
        EXPECT_EQ(c.action.stopSpinner, c.stopSpinner);
        EXPECT_FALSE(c.action.log.has_value());
        if (c.kind == Kind::error) {
            EXPECT_EQ(c.action.result->errorInfo()->message(), c.message);
            EXPECT_FALSE(c.action.result->errorInfo()->code().has_value());
        }
    }
}

TEST(BridgeMessage, UnknownAndMalformedMessagesAreOnlyLogged) {
    for (const char* name : {"Close", "READY", "purchase", "error ", ""})
        expectNothingBut(post(event(name)), {LogLine::Level::warn, "Microsite event: unknown"});

    const LogLine malformed{LogLine::Level::error, "error getting userContentController message"};
    const Json bodies[] = {Json::array({"close", Json::object()}), Json("close"), Json(nullptr),
                           Json{{"data", Json::object()}}, Json{{"eventName", "close"}}, event(7), event(nullptr),
                           event("close", Json::array()), event("close", "text"), event("close", nullptr)};
    for (const auto& body : bodies) {
        SCOPED_TRACE(body.dump());
        expectNothingBut(post(body), malformed);
    }
    // The page's value goes through the shared parser first; past its depth limit it is no value at all.
    const std::string deepClose = R"({"eventName":"close","data":)" + deepObject() + "}";
    expectNothingBut(post(json::parse(deepClose).value_or(nullptr)), malformed);
    expectNothingBut(decodeBridgeMessage("corvaneSDKBridge", event("close")), malformed);
    expectNothingBut(decodeBridgeMessage("OtherBridge", event("close")), malformed);

    // The page's text: an escape cut at its end stays cut, and so not JSON.
    const std::string head = R"({"eventName":"close","data":{"m": ")", tail = R"("}})";
    for (const char* cut : {R"(\ud83)", R"(\ud83d\)", R"(\ud83d\ude0)", "\\"})
        expectNothingBut(post(readBridgeMessage(head + cut)), malformed);
    // Up to 1 MiB of text, escaped backslashes all the way, is read; a byte more is not.
    const std::string longest = head + std::string((1 << 20) - head.size() - tail.size(), '\\') + tail;
    EXPECT_TRUE(post(readBridgeMessage(longest)).dismiss);
    expectNothingBut(post(readBridgeMessage(longest + " ")), malformed);
}

}  // namespace
}  // namespace lxhf::test
