// The facade's purchase-page calls: what any view, the library's own GTK one
// included, needs to show the page for a room.

#include "core/Facade.h"
#include "page/BridgeMessage.h"
#include "page/MicrositeAddress.h"

namespace {

using lxhf::LogLine;

constexpr std::string_view kNoResponseOnAppear = "Error accessing available offerResponse in onAppear";

void write(const lxhf::LoggerSlot& slot, const LogLine& line) {
    switch (line.level) {
        case LogLine::Level::info: lxhf::logInfo(slot, line.message); break;
        case LogLine::Level::warn: lxhf::logWarn(slot, line.message); break;
        case LogLine::Level::error: lxhf::logError(slot, line.message); break;
    }
}

LXNoPurchaseAddress::Reason reasonFor(const LXOfferResponse* response) {
    if (!response) return LXNoPurchaseAddress::Reason::noResponse;
    if (response->type != LXOfferResponseType::signedFullOffer)
        return LXNoPurchaseAddress::Reason::notSignedFullOffer;
    return LXNoPurchaseAddress::Reason::unencodable;
}

LXPurchasePageAction::Kind kindOf(const lxhf::BridgeAction& action) {
    using Kind = LXPurchasePageAction::Kind;
    if (action.result) {
        switch (action.result->kind()) {
            case LXFermoPurchaseResult::Kind::purchased: return Kind::purchased;
            case LXFermoPurchaseResult::Kind::cancelled: return Kind::cancelled;
            case LXFermoPurchaseResult::Kind::error: return Kind::error;
            case LXFermoPurchaseResult::Kind::invalid: break;  // the bridge never gives it
        }
        return Kind::malformed;
    }
    if (action.stopSpinner) return Kind::ready;
    if (action.log && action.log->message == lxhf::kBridgeUnknownEvent) return Kind::unknown;
    return Kind::malformed;
}

}  // namespace

LXResult<std::string, LXNoPurchaseAddress> LXHotelsFermoSDK::purchaseAddress(const LXRoomDetails& room) {
    if (!admitsCall("LXHotelsFermoSDK::purchaseAddress"))
        return LXNoPurchaseAddress{LXNoPurchaseAddress::Reason::noResponse, {}};
    const LXEnvironment environment = impl_->environment();
    lxhf::MicrositeAddressInputs inputs;
    inputs.endpoint = {environment.micrositeScheme, environment.micrositeHost, environment.micrositePath};
    inputs.token = impl_->token;
    // Asked only of an engine that exists: showing a page never makes one.
    if (impl_->engine)
        if (const auto& session = impl_->engine->sessions().sessionIfMade()) inputs.sessionId = session->sessionId;
    const LXOfferResponse* response = impl_->board.response(room);
    if (response) inputs.offerResponse = *response;

    auto address = lxhf::micrositeAddress(inputs, room);
    if (address) return std::move(address).value();
    LXNoPurchaseAddress missing{reasonFor(response), {}};
    if (const auto& line = address.error().log) {
        write(*impl_->loggerSlot, *line);
        missing.message = line->message;
    }
    return missing;
}

std::uint64_t LXHotelsFermoSDK::offerResponseRevision(const LXRoomDetails& room) const {
    if (!impl_->callers->admits("LXHotelsFermoSDK::offerResponseRevision")) return 0;
    return impl_->board.responseRevision(room);
}

void LXHotelsFermoSDK::reportShown(const LXRoomDetails& room) {
    if (!admitsCall("LXHotelsFermoSDK::reportShown")) return;
    if (const LXOfferResponse* response = impl_->board.response(room))
        impl_->onShown(*response);
    else
        lxhf::logWarn(*impl_->loggerSlot, kNoResponseOnAppear);
}

LXPurchasePageAction LXHotelsFermoSDK::pageMessage(std::string_view bodyJson, std::string_view handlerName) {
    // Refused, the message asks nothing of the view.
    if (!admitsCall("LXHotelsFermoSDK::pageMessage"))
        return LXPurchasePageAction{LXPurchasePageAction::Kind::malformed, {}, false, false};
    const lxhf::BridgeAction action = lxhf::decodeBridgeMessage(handlerName, lxhf::readBridgeMessage(bodyJson));
    if (action.log) write(*impl_->loggerSlot, *action.log);
    return LXPurchasePageAction{kindOf(action), action.result, action.stopSpinner, action.dismiss};
}
