#include <gtest/gtest.h>

#include "presentation/BridgeMessage.h"

namespace lxhf::test {
namespace {

using Json = json::Json;
using Kind = LXFermoPurchaseResult::Kind;

BridgeAction post(const Json& body) { return decodeBridgeMessage("CorvaneSDKBridge", body); }

Json event(const Json& name, const Json& data = Json::object()) { return {{"eventName", name}, {"data", data}}; }

const LogLine malformedLine{LogLine::Level::error, "error getting userContentController message"};

void expectNothingBut(const BridgeAction& action, const LogLine& line) {
    EXPECT_FALSE(action.result.has_value());
    EXPECT_FALSE(action.dismiss);
    EXPECT_FALSE(action.stopSpinner);
    EXPECT_EQ(action.log, line);
}

TEST(BridgeMessage, EachEventHasItsOwnEffect) {
    const auto close = post(event("close"));
    ASSERT_TRUE(close.result.has_value());
    EXPECT_EQ(close.result->kind(), Kind::cancelled);
    EXPECT_TRUE(close.dismiss);
    EXPECT_FALSE(close.stopSpinner);

    const auto ready = post(event("ready", {{"anything", 1}}));
    EXPECT_FALSE(ready.result.has_value());
    EXPECT_TRUE(ready.stopSpinner);
    EXPECT_FALSE(ready.dismiss);

    // The page stays up after a purchase.
    const auto purchased = post(event("purchased"));
    ASSERT_TRUE(purchased.result.has_value());
    EXPECT_EQ(purchased.result->kind(), Kind::purchased);
    EXPECT_FALSE(purchased.dismiss);

    for (const auto* action : {&close, &ready, &purchased}) EXPECT_FALSE(action->log.has_value());
}

TEST(BridgeMessage, ErrorCarriesThePagesMessageOrAFixedOne) {
    const auto withMessage = post(event("error", {{"message", "Card declined"}}));
    ASSERT_TRUE(withMessage.result.has_value());
    ASSERT_EQ(withMessage.result->kind(), Kind::error);
    EXPECT_EQ(withMessage.result->errorInfo()->message(), "Card declined");
    EXPECT_FALSE(withMessage.result->errorInfo()->code().has_value());
    EXPECT_TRUE(withMessage.dismiss);

    for (const Json& data : {Json::object(), Json{{"message", 42}}, Json{{"message", nullptr}}, Json{{"text", "x"}}}) {
        const auto action = post(event("error", data));
        ASSERT_TRUE(action.result.has_value()) << data;
        ASSERT_EQ(action.result->kind(), Kind::error);
        EXPECT_EQ(action.result->errorInfo()->message(), "Unable to access microsite error message") << data;
        EXPECT_TRUE(action.dismiss);
        EXPECT_FALSE(action.log.has_value());
    }
}

TEST(BridgeMessage, OtherNamesAreUnknownEventsWhateverTheirCase) {
    for (const char* name : {"Close", "READY", "purchase", "error ", ""})
        expectNothingBut(post(event(name)), {LogLine::Level::warn, "Microsite event: unknown"});
}

TEST(BridgeMessage, MalformedMessagesAreLoggedAndIgnored) {
    const Json bodies[] = {
        Json::array({"close", Json::object()}),
        Json("close"),
        Json(nullptr),
        Json{{"data", Json::object()}},
        Json{{"eventName", "close"}},
        event(7),
        event(nullptr),
        event("close", Json::array()),
        event("close", "text"),
        event("close", nullptr),
    };
    for (const auto& body : bodies) {
        SCOPED_TRACE(body.dump());
        expectNothingBut(post(body), malformedLine);
    }
}

TEST(BridgeMessage, AnotherHandlersMessageIsMalformed) {
    expectNothingBut(decodeBridgeMessage("corvaneSDKBridge", event("close")), malformedLine);
    expectNothingBut(decodeBridgeMessage("OtherBridge", event("close")), malformedLine);
}

TEST(BridgeMessage, TheInjectedScriptIsTheSystemsOwn) {
    EXPECT_EQ(kBridgeHandlerName, "CorvaneSDKBridge");
    EXPECT_EQ(kBridgeUserScript,
              "    if (typeof window.CorvaneSDKBridge === 'undefined') {\n"
              "        window.CorvaneSDKBridge = {\n"
              "            event: function(eventName, data) {\n"
              "                if (!data) {\n"
              "                    data = {};\n"
              "                }\n"
              "                window.webkit.messageHandlers.CorvaneSDKBridge.postMessage("
              "{eventName: eventName, data: data});\n"
              "            }\n"
              "        };\n"
              "    }");
}

}  // namespace
}  // namespace lxhf::test
