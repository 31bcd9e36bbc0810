#include "page/BridgeMessage.h"

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

// The code unit of a \uXXXX escape starting at `at`; none when there is no
// whole one there.
std::optional<unsigned> escapedUnit(std::string_view text, std::size_t at) {
    if (at + 6 > text.size() || text[at] != '\\' || text[at + 1] != 'u') return std::nullopt;
    unsigned unit = 0;
    for (const char c : text.substr(at + 2, 4)) {
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (digit < 0) return std::nullopt;
        unit = unit * 16 + static_cast<unsigned>(digit);
    }
    return unit;
}

bool isHighSurrogate(std::optional<unsigned> unit) { return unit && *unit >= 0xD800 && *unit <= 0xDBFF; }
bool isLowSurrogate(std::optional<unsigned> unit) { return unit && *unit >= 0xDC00 && *unit <= 0xDFFF; }

// Same length as `text`. Any other escape, "\\" included, is stepped over
// whole, so its second character never starts one; a cut escape is left to
// the reader to refuse.
std::string replaceLoneSurrogateEscapes(std::string_view text) {
    std::string out(text);
    std::size_t i = 0;
    while (i < text.size()) {
        if (text[i] != '\\') {
            ++i;
            continue;
        }
        const auto unit = escapedUnit(text, i);
        if (!unit) {
            i += 2;
        } else if (isHighSurrogate(unit) && isLowSurrogate(escapedUnit(text, i + 6))) {
            i += 12;
        } else {
            if (isHighSurrogate(unit) || isLowSurrogate(unit)) out.replace(i, 6, "\\ufffd");
            i += 6;
        }
    }
    return out;
}

}  // namespace

json::Json readBridgeMessage(std::string_view jsonText) {
    // The one JSON reader, so the page's message meets the same limits as any
    // answer; what it refuses takes the malformed-message path.
    if (jsonText.size() > kMaximumBridgeMessageBytes) return nullptr;
    return json::parse(replaceLoneSurrogateEscapes(jsonText)).value_or(nullptr);
}

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
