#pragma once

/* The terms of a room's signed full offer, for a host to show. */

#include <glib-object.h>

#include <lxhf/lxhf-export.h>

G_BEGIN_DECLS

/**
 * LxhfOfferTerms:
 *
 * What a room's signed full offer holds the traveller to, exactly as the
 * service wrote it: amounts are decimal text and expiries date-time text,
 * never parsed or rounded, so a host formats them as it formats its
 * prices. Immutable: when the terms change, #LxhfOffer:terms holds a new
 * object.
 */
#define LXHF_TYPE_OFFER_TERMS (lxhf_offer_terms_get_type())
LXHF_API G_DECLARE_FINAL_TYPE(LxhfOfferTerms, lxhf_offer_terms, LXHF, OFFER_TERMS, GObject)

/**
 * lxhf_offer_terms_get_frozen_price:
 * @self: offer terms
 *
 * Reads the room's price the Fermo holds.
 *
 * Returns: the room's price the Fermo holds
 */
LXHF_API const char* lxhf_offer_terms_get_frozen_price(LxhfOfferTerms* self);

/**
 * lxhf_offer_terms_get_frozen_price_total:
 * @self: offer terms
 *
 * Reads the held price for the whole stay.
 *
 * Returns: the price held for the whole stay
 */
LXHF_API const char* lxhf_offer_terms_get_frozen_price_total(LxhfOfferTerms* self);

/**
 * lxhf_offer_terms_get_deposit:
 * @self: offer terms
 *
 * Reads what the traveller pays to hold the price.
 *
 * Returns: what the traveller pays to hold the price
 */
LXHF_API const char* lxhf_offer_terms_get_deposit(LxhfOfferTerms* self);

/**
 * lxhf_offer_terms_get_deposit_total:
 * @self: offer terms
 *
 * Reads the deposit for the whole stay.
 *
 * Returns: the deposit for the whole stay
 */
LXHF_API const char* lxhf_offer_terms_get_deposit_total(LxhfOfferTerms* self);

/**
 * lxhf_offer_terms_get_cap:
 * @self: offer terms
 *
 * Reads the most the held price covers.
 *
 * Returns: the most the held price covers
 */
LXHF_API const char* lxhf_offer_terms_get_cap(LxhfOfferTerms* self);

/**
 * lxhf_offer_terms_get_currency:
 * @self: offer terms
 *
 * Reads the currency of the amounts.
 *
 * Returns: the booking's currency, such as "EUR"
 */
LXHF_API const char* lxhf_offer_terms_get_currency(LxhfOfferTerms* self);

/**
 * lxhf_offer_terms_get_offer_expiry:
 * @self: offer terms
 *
 * Reads until when the Fermo can be bought.
 *
 * Returns: until when the Fermo can be bought, as date-time text
 */
LXHF_API const char* lxhf_offer_terms_get_offer_expiry(LxhfOfferTerms* self);

/**
 * lxhf_offer_terms_get_freeze_expiry:
 * @self: offer terms
 *
 * Reads until when a bought Fermo holds the price.
 *
 * Returns: until when a bought Fermo holds the price, as date-time text
 */
LXHF_API const char* lxhf_offer_terms_get_freeze_expiry(LxhfOfferTerms* self);

G_END_DECLS
