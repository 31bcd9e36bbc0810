#include "gobject/GObjectBridge.h"

#include <optional>
#include <string>

struct _LxhfOffer {
    GObject parent_instance;
    LxhfRoomDetails* room;
    LxhfOfferState state;
    std::optional<std::string> errorMessage;
    LxhfOfferTerms* terms;  // owned; null unless the latest answer is a signed full offer
};

G_DEFINE_FINAL_TYPE(LxhfOffer, lxhf_offer, G_TYPE_OBJECT)

enum { PROP_ROOM = 1, PROP_STATE, PROP_ERROR_MESSAGE, PROP_TERMS, N_PROPS };
static GParamSpec* properties[N_PROPS];

static void lxhf_offer_get_property(GObject* object, guint id, GValue* value, GParamSpec* param) {
    auto* self = LXHF_OFFER(object);
    switch (id) {
    case PROP_ROOM: g_value_set_object(value, self->room); break;
    case PROP_STATE: g_value_set_enum(value, self->state); break;
    case PROP_ERROR_MESSAGE: g_value_set_string(value, lxhf_offer_get_error_message(self)); break;
    case PROP_TERMS: g_value_set_object(value, self->terms); break;
    default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
    }
}

static void lxhf_offer_finalize(GObject* object) {
    auto* self = LXHF_OFFER(object);
    g_clear_object(&self->room);
    g_clear_object(&self->terms);
    lxhf::gobject::destroy(self->errorMessage);
    G_OBJECT_CLASS(lxhf_offer_parent_class)->finalize(object);
}

static void lxhf_offer_class_init(LxhfOfferClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->get_property = lxhf_offer_get_property;
    object->finalize = lxhf_offer_finalize;
    constexpr auto flags = static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS | G_PARAM_EXPLICIT_NOTIFY);
    /**
     * LxhfOffer:room:
     *
     * The room the offer is for.
     */
    properties[PROP_ROOM] = g_param_spec_object("room", nullptr, nullptr, LXHF_TYPE_ROOM_DETAILS, flags);
    /**
     * LxhfOffer:state:
     *
     * Where the offer stands.
     */
    properties[PROP_STATE] = g_param_spec_enum("state", nullptr, nullptr, LXHF_TYPE_OFFER_STATE,
                                               LXHF_OFFER_STATE_LOADING, flags);
    /**
     * LxhfOffer:error-message:
     *
     * Why the offer is in error; %NULL in any other state.
     */
    properties[PROP_ERROR_MESSAGE] = g_param_spec_string("error-message", nullptr, nullptr, nullptr, flags);
    /**
     * LxhfOffer:terms:
     *
     * The terms of the room's offer when the service's latest answer for it
     * is a signed full offer, as it sent them; %NULL otherwise.
     */
    properties[PROP_TERMS] = g_param_spec_object("terms", nullptr, nullptr, LXHF_TYPE_OFFER_TERMS, flags);
    g_object_class_install_properties(object, N_PROPS, properties);
}

static void lxhf_offer_init(LxhfOffer* self) { lxhf::gobject::construct(self->errorMessage); }

namespace lxhf::gobject {

LxhfOffer* offerNew(const LXFermoOffer& offer, const std::optional<LXOfferTerms>& terms) {
    auto* self = static_cast<LxhfOffer*>(g_object_new(LXHF_TYPE_OFFER, nullptr));
    self->room = roomDetailsNew(offer.roomDetails());
    self->state = stateOf(offer.state);
    if (const auto* error = offer.state.errorInfo()) self->errorMessage = error->message();
    if (terms) self->terms = offerTermsNew(*terms);
    return self;
}

void offerUpdate(LxhfOffer* item, const LXFermoOfferState& state, const std::optional<LXOfferTerms>& terms) {
    std::optional<std::string> message;
    if (const auto* error = state.errorInfo()) message = error->message();
    const LxhfOfferState kind = stateOf(state);
    // Every value changes before any notification, so a handler of one
    // reads the new offer whole.
    const bool stateChanged = kind != item->state;
    const bool messageChanged = message != item->errorMessage;
    const bool termsChanged = item->terms ? !terms || *terms != termsOf(item->terms) : terms.has_value();
    item->state = kind;
    item->errorMessage = std::move(message);
    if (termsChanged) {
        g_clear_object(&item->terms);
        if (terms) item->terms = offerTermsNew(*terms);
    }
    if (stateChanged) g_object_notify_by_pspec(G_OBJECT(item), properties[PROP_STATE]);
    if (messageChanged) g_object_notify_by_pspec(G_OBJECT(item), properties[PROP_ERROR_MESSAGE]);
    if (termsChanged) g_object_notify_by_pspec(G_OBJECT(item), properties[PROP_TERMS]);
}

}  // namespace lxhf::gobject

LxhfRoomDetails* lxhf_offer_get_room(LxhfOffer* self) {
    g_return_val_if_fail(LXHF_IS_OFFER(self), nullptr);
    return self->room;
}

LxhfOfferState lxhf_offer_get_state(LxhfOffer* self) {
    g_return_val_if_fail(LXHF_IS_OFFER(self), LXHF_OFFER_STATE_LOADING);
    return self->state;
}

const char* lxhf_offer_get_error_message(LxhfOffer* self) {
    g_return_val_if_fail(LXHF_IS_OFFER(self), nullptr);
    return self->errorMessage ? self->errorMessage->c_str() : nullptr;
}

LxhfOfferTerms* lxhf_offer_get_terms(LxhfOffer* self) {
    g_return_val_if_fail(LXHF_IS_OFFER(self), nullptr);
    return self->terms;
}
