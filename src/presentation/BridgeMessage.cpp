#include "presentation/BridgeMessage.h"

#include "model/ErrorInfo.h"

namespace lxhf {

namespace {

BridgeAction report(LXFermoPurchaseResult result, bool dismiss) {
    BridgeAction action;
    action.result = std::move(result);
    action.dismiss = dismiss;
    return action;
}

BridgeAction logOnly(LogLine::Level level, std::string_view message) {
    BridgeAction action;
    action.log = LogLine{level, std::string(message)};
    return action;
}

}  // namespace

BridgeAction decodeBridgeMessage(std::string_view handlerName, const json::Json& body) {
    const auto malformed = [] { return logOnly(LogLine::Level::error, kBridgeMalformedMessage); };
    if (handlerName != kBridgeHandlerName || !body.is_object()) return malformed();
    const auto eventName = body.find("eventName");
    const auto data = body.find("data");
    if (eventName == body.end() || !eventName->is_string()) return malformed();
    if (data == body.end() || !data->is_object()) return malformed();
    return bridgeEventAction(eventName->get_ref<const std::string&>(), *data);
}

BridgeAction bridgeEventAction(std::string_view eventName, const json::Json& data) {
    if (eventName == "close") return report(LXFermoPurchaseResult::cancelled(), true);
    if (eventName == "ready") {
        BridgeAction action;
        action.stopSpinner = true;
        return action;
    }
    // The page stays up after a purchase; the microsite sends "close" itself.
    if (eventName == "purchased") return report(LXFermoPurchaseResult::purchased(), false);
    if (eventName == "error") {
        std::string message(kBridgeNoErrorMessage);
        if (data.is_object()) {
            const auto found = data.find("message");
            if (found != data.end() && found->is_string()) message = found->get<std::string>();
        }
        return report(LXFermoPurchaseResult::error(makeError(std::move(message))), true);
    }
    return logOnly(LogLine::Level::warn, kBridgeUnknownEvent);
}

}  // namespace lxhf
