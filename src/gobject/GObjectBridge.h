#pragma once

// What the Lxhf GObject types share: the C++ values behind them and the
// mapping of the C++ API's kinds onto the GObject enumerations. Main
// context only, like the API it wraps.

#include <lxhf/lxhf.h>

#include <optional>
#include <string>

#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXHotelsFermoSDK.h"
#include "LXHotelsFermo/LXOfferTerms.h"
#include "LXHotelsFermo/LXPurchasePage.h"
#include "LXHotelsFermo/LXRoomDetails.h"
#include "LXHotelsFermo/ui/LXPurchaseWindow.h"

namespace lxhf::gobject {

LxhfRoomDetails* roomDetailsNew(LXRoomDetails room);
// Whether `room` is a room details object with a room in it; one a binding
// made with its bare constructor has none.
bool holdsRoom(LxhfRoomDetails* room);
const LXRoomDetails& roomOf(LxhfRoomDetails* room);

LxhfOfferTerms* offerTermsNew(LXOfferTerms terms);
const LXOfferTerms& termsOf(LxhfOfferTerms* terms);

LxhfOffer* offerNew(const LXFermoOffer& offer, const std::optional<LXOfferTerms>& terms);
// Notifies only what differs from what the item shows.
void offerUpdate(LxhfOffer* item, const LXFermoOfferState& state, const std::optional<LXOfferTerms>& terms);

// A model of LxhfOffer items following `sdk`'s published offers.
GListModel* offerListNew(LXHotelsFermoSDK& sdk);

LxhfPageAction* pageActionNew(const LXPurchasePageAction& action);
// The defaults for NULL, as a page opened without options has.
LXPurchasePageOptions optionsOf(LxhfPageOptions* options);

LxhfOfferState stateOf(const LXFermoOfferState& state);
LxhfPurchaseResult resultOf(const LXFermoPurchaseResult& result);
// The error's message, or nothing for any other result.
const char* messageOf(const LXFermoPurchaseResult& result);

// For g_return checks: text that is there and UTF-8.
bool validText(const char* text);
// The same, for text that may be NULL.
bool validOptionalText(const char* text);

// A C++ value kept in a GObject's instance struct, which GLib allocates
// zeroed: built in instance_init, destroyed in finalize.
template <class T>
void construct(T& slot) { new (&slot) T(); }
template <class T>
void destroy(T& slot) { slot.~T(); }

}  // namespace lxhf::gobject
