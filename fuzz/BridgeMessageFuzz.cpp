// Messages the microsite page posts through the script bridge. The first
// byte picks the handler name the message arrives under; the rest is the
// posted value's JSON text, read as the web view reads it.

#include "FuzzCheck.h"
#include "page/BridgeMessage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view handler = data[0] % 8 == 0 ? "corvaneSDKBridge" : lxhf::kBridgeHandlerName;
    const std::string_view text = fuzzText(data + 1, size - 1);
    const auto body = lxhf::readBridgeMessage(text);
    // Mending half surrogate pairs changes nothing in text that is JSON already.
    if (const auto parsed = lxhf::json::parse(text); parsed && text.size() <= lxhf::kMaximumBridgeMessageBytes)
        LXHF_FUZZ_CHECK(body == *parsed);

    const auto action = lxhf::decodeBridgeMessage(handler, body);
    // The page is only ever dismissed with a result for the host.
    if (action.dismiss) LXHF_FUZZ_CHECK(action.result.has_value());
    // Anything but an object posted to our handler is only logged.
    if (handler != lxhf::kBridgeHandlerName || !body.is_object())
        LXHF_FUZZ_CHECK(action.log.has_value() && !action.result && !action.dismiss && !action.stopSpinner);
    if (body.is_object()) {
        for (auto it = body.begin(); it != body.end(); ++it)
            if (it.value().is_string()) (void)lxhf::bridgeEventAction(it.value().get_ref<const std::string&>(), body);
    }
    return 0;
}
