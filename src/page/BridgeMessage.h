#pragma once

// The microsite's script bridge: what each message the page posts asks of
// the web view. Plain logic; the view hands over the page's value as JSON text.

#include <cstddef>
#include <optional>
#include <string_view>

#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXPurchasePage.h"
#include "model/JsonCoder.h"
#include "page/LogLine.h"

namespace lxhf {

// The handler's name and the script are the public LXPurchasePageBridge's.
inline constexpr std::string_view kBridgeHandlerName = LXPurchasePageBridge::handlerName;

inline constexpr std::string_view kBridgeMalformedMessage = "error getting userContentController message";
inline constexpr std::string_view kBridgeUnknownEvent = "Microsite event: unknown";
inline constexpr std::string_view kBridgeNoErrorMessage = "Unable to access microsite error message";

// What one message asks for, to be carried out in this order: report the
// result, stop the spinner, dismiss the page, and write the log line.
struct BridgeAction {
    std::optional<LXFermoPurchaseResult> result;
    bool stopSpinner = false;
    bool dismiss = false;
    std::optional<LogLine> log;
};

// A message names an event and perhaps a short text; this is far more than
// any, and reading more would only hold up the main context.
inline constexpr std::size_t kMaximumBridgeMessageBytes = 1 << 20;

// The posted value from its JSON text; null when the text is too long or not
// JSON. An escape of half a UTF-16 surrogate pair reads as U+FFFD: the page's
// own string slicing can cut an emoji in two, and that must not lose the event.
json::Json readBridgeMessage(std::string_view jsonText);

// `body` is the posted value as JSON; null when it had no JSON form.
BridgeAction decodeBridgeMessage(std::string_view handlerName, const json::Json& body);

// One well-formed event. Names compare exactly, case included.
BridgeAction bridgeEventAction(std::string_view eventName, const json::Json& data);

}  // namespace lxhf
