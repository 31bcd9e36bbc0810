// The terms object of an offer item: a copy of the C++ API's value, made
// anew whenever the terms change, so a handler holding the old one keeps it.

#include "gobject/GObjectBridge.h"

#include <string>

struct _LxhfOfferTerms {
    GObject parent_instance;
    LXOfferTerms terms;
};

G_DEFINE_FINAL_TYPE(LxhfOfferTerms, lxhf_offer_terms, G_TYPE_OBJECT)

enum {
    PROP_FROZEN_PRICE = 1,
    PROP_FROZEN_PRICE_TOTAL,
    PROP_DEPOSIT,
    PROP_DEPOSIT_TOTAL,
    PROP_CAP,
    PROP_CURRENCY,
    PROP_OFFER_EXPIRY,
    PROP_FREEZE_EXPIRY,
    N_PROPS
};
static GParamSpec* properties[N_PROPS];

namespace {

// Each property's field, in the order of the enumeration above.
constexpr std::string LXOfferTerms::*kFields[N_PROPS] = {
    nullptr,          &LXOfferTerms::frozenPrice, &LXOfferTerms::frozenPriceTotal, &LXOfferTerms::deposit,
    &LXOfferTerms::depositTotal, &LXOfferTerms::cap, &LXOfferTerms::currency, &LXOfferTerms::offerExpiry,
    &LXOfferTerms::freezeExpiry};

}  // namespace

static void lxhf_offer_terms_get_property(GObject* object, guint id, GValue* value, GParamSpec* param) {
    if (id == 0 || id >= N_PROPS) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
        return;
    }
    g_value_set_string(value, (LXHF_OFFER_TERMS(object)->terms.*kFields[id]).c_str());
}

static void lxhf_offer_terms_finalize(GObject* object) {
    lxhf::gobject::destroy(LXHF_OFFER_TERMS(object)->terms);
    G_OBJECT_CLASS(lxhf_offer_terms_parent_class)->finalize(object);
}

static void lxhf_offer_terms_class_init(LxhfOfferTermsClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->get_property = lxhf_offer_terms_get_property;
    object->finalize = lxhf_offer_terms_finalize;
    constexpr auto flags = static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);
    /**
     * LxhfOfferTerms:frozen-price:
     *
     * The room's price the Fermo holds.
     */
    properties[PROP_FROZEN_PRICE] = g_param_spec_string("frozen-price", nullptr, nullptr, "", flags);
    /**
     * LxhfOfferTerms:frozen-price-total:
     *
     * The price held for the whole stay.
     */
    properties[PROP_FROZEN_PRICE_TOTAL] = g_param_spec_string("frozen-price-total", nullptr, nullptr, "", flags);
    /**
     * LxhfOfferTerms:deposit:
     *
     * What the traveller pays to hold the price.
     */
    properties[PROP_DEPOSIT] = g_param_spec_string("deposit", nullptr, nullptr, "", flags);
    /**
     * LxhfOfferTerms:deposit-total:
     *
     * The deposit for the whole stay.
     */
    properties[PROP_DEPOSIT_TOTAL] = g_param_spec_string("deposit-total", nullptr, nullptr, "", flags);
    /**
     * LxhfOfferTerms:cap:
     *
     * The most the held price covers.
     */
    properties[PROP_CAP] = g_param_spec_string("cap", nullptr, nullptr, "", flags);
    /**
     * LxhfOfferTerms:currency:
     *
     * The booking's currency, such as "EUR".
     */
    properties[PROP_CURRENCY] = g_param_spec_string("currency", nullptr, nullptr, "", flags);
    /**
     * LxhfOfferTerms:offer-expiry:
     *
     * Until when the Fermo can be bought, as date-time text.
     */
    properties[PROP_OFFER_EXPIRY] = g_param_spec_string("offer-expiry", nullptr, nullptr, "", flags);
    /**
     * LxhfOfferTerms:freeze-expiry:
     *
     * Until when a bought Fermo holds the price, as date-time text.
     */
    properties[PROP_FREEZE_EXPIRY] = g_param_spec_string("freeze-expiry", nullptr, nullptr, "", flags);
    g_object_class_install_properties(object, N_PROPS, properties);
}

static void lxhf_offer_terms_init(LxhfOfferTerms* self) { lxhf::gobject::construct(self->terms); }

namespace lxhf::gobject {

LxhfOfferTerms* offerTermsNew(LXOfferTerms terms) {
    auto* self = static_cast<LxhfOfferTerms*>(g_object_new(LXHF_TYPE_OFFER_TERMS, nullptr));
    self->terms = std::move(terms);
    return self;
}

const LXOfferTerms& termsOf(LxhfOfferTerms* terms) { return terms->terms; }

}  // namespace lxhf::gobject

const char* lxhf_offer_terms_get_frozen_price(LxhfOfferTerms* self) {
    g_return_val_if_fail(LXHF_IS_OFFER_TERMS(self), nullptr);
    return self->terms.frozenPrice.c_str();
}

const char* lxhf_offer_terms_get_frozen_price_total(LxhfOfferTerms* self) {
    g_return_val_if_fail(LXHF_IS_OFFER_TERMS(self), nullptr);
    return self->terms.frozenPriceTotal.c_str();
}

const char* lxhf_offer_terms_get_deposit(LxhfOfferTerms* self) {
    g_return_val_if_fail(LXHF_IS_OFFER_TERMS(self), nullptr);
    return self->terms.deposit.c_str();
}

const char* lxhf_offer_terms_get_deposit_total(LxhfOfferTerms* self) {
    g_return_val_if_fail(LXHF_IS_OFFER_TERMS(self), nullptr);
    return self->terms.depositTotal.c_str();
}

const char* lxhf_offer_terms_get_cap(LxhfOfferTerms* self) {
    g_return_val_if_fail(LXHF_IS_OFFER_TERMS(self), nullptr);
    return self->terms.cap.c_str();
}

const char* lxhf_offer_terms_get_currency(LxhfOfferTerms* self) {
    g_return_val_if_fail(LXHF_IS_OFFER_TERMS(self), nullptr);
    return self->terms.currency.c_str();
}

const char* lxhf_offer_terms_get_offer_expiry(LxhfOfferTerms* self) {
    g_return_val_if_fail(LXHF_IS_OFFER_TERMS(self), nullptr);
    return self->terms.offerExpiry.c_str();
}

const char* lxhf_offer_terms_get_freeze_expiry(LxhfOfferTerms* self) {
    g_return_val_if_fail(LXHF_IS_OFFER_TERMS(self), nullptr);
    return self->terms.freezeExpiry.c_str();
}
