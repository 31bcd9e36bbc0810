// The offer's terms for a host to show: read from the room's latest answer,
// which the board keeps; nothing is fetched or changed.

#include "LXHotelsFermo/LXHotelsFermoSDK.h"
#include "core/Facade.h"

std::optional<LXOfferTerms> LXHotelsFermoSDK::offerTerms(const LXRoomDetails& room) const {
    if (!impl_->callers->admits("LXHotelsFermoSDK::offerTerms")) return std::nullopt;
    const LXOfferResponse* response = impl_->board.response(room);
    // Only a signed full offer can be bought, so only its terms mean anything.
    if (!response || response->type != LXOfferResponseType::signedFullOffer) return std::nullopt;
    const LXOfferConditions& c = response->offer.conditions;
    return LXOfferTerms{c.frozenPrice, c.frozenPriceTotal, c.deposit,  c.depositTotal,
                        c.cap,         response->offer.booking.currency, c.offerExpiry, c.freezeExpiry};
}
