#pragma once

/* One room handed to the library and where its offer stands. */

#include <glib-object.h>

#include <lxhf/lxhf-export.h>
#include <lxhf/lxhf-offer-terms.h>
#include <lxhf/lxhf-room-details.h>
#include <lxhf/lxhf-types.h>

G_BEGIN_DECLS

/**
 * LxhfOffer:
 *
 * An item of the offers model (lxhf_sdk_get_offers()). Its room never
 * changes; its state does, announced on the main context by
 * "notify::state", and by "notify::error-message" when the message changes.
 * Its terms are announced by "notify::terms" when they change.
 */
#define LXHF_TYPE_OFFER (lxhf_offer_get_type())
LXHF_API G_DECLARE_FINAL_TYPE(LxhfOffer, lxhf_offer, LXHF, OFFER, GObject)

/**
 * lxhf_offer_get_room:
 * @self: an offer
 *
 * Reads the room the item stands for.
 *
 * Returns: (transfer none): the room the offer is for
 */
LXHF_API LxhfRoomDetails* lxhf_offer_get_room(LxhfOffer* self);

/**
 * lxhf_offer_get_state:
 * @self: an offer
 *
 * Reads where the room's offer stands.
 *
 * Returns: where the offer stands
 */
LXHF_API LxhfOfferState lxhf_offer_get_state(LxhfOffer* self);

/**
 * lxhf_offer_get_error_message:
 * @self: an offer
 *
 * Reads why fetching the offer failed.
 *
 * Returns: (nullable): why the offer is in error; %NULL in any other state
 */
LXHF_API const char* lxhf_offer_get_error_message(LxhfOffer* self);

/**
 * lxhf_offer_get_terms:
 * @self: an offer
 *
 * Reads the terms of the room's signed full offer.
 *
 * Returns: (transfer none) (nullable): the terms of the room's offer when
 *   the service's latest answer for it is a signed full offer, as it sent
 *   them; %NULL otherwise
 */
LXHF_API LxhfOfferTerms* lxhf_offer_get_terms(LxhfOffer* self);

G_END_DECLS
