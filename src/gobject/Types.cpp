#include "gobject/GObjectBridge.h"

G_DEFINE_QUARK(lxhf-error-quark, lxhf_error)

G_DEFINE_ENUM_TYPE(LxhfError, lxhf_error,
                   G_DEFINE_ENUM_VALUE(LXHF_ERROR_INVALID_ROOM, "invalid-room"),
                   G_DEFINE_ENUM_VALUE(LXHF_ERROR_NO_RESPONSE, "no-response"),
                   G_DEFINE_ENUM_VALUE(LXHF_ERROR_NOT_SIGNED_FULL_OFFER, "not-signed-full-offer"),
                   G_DEFINE_ENUM_VALUE(LXHF_ERROR_UNENCODABLE, "unencodable"),
                   G_DEFINE_ENUM_VALUE(LXHF_ERROR_ENDPOINTS_REFUSED, "endpoints-refused"),
                   G_DEFINE_ENUM_VALUE(LXHF_ERROR_FETCH_POLICY_REFUSED, "fetch-policy-refused"))

G_DEFINE_ENUM_TYPE(LxhfEnvironment, lxhf_environment,
                   G_DEFINE_ENUM_VALUE(LXHF_ENVIRONMENT_PRODUCTION, "production"),
                   G_DEFINE_ENUM_VALUE(LXHF_ENVIRONMENT_STAGING, "staging"))

G_DEFINE_ENUM_TYPE(LxhfRefresh, lxhf_refresh,
                   G_DEFINE_ENUM_VALUE(LXHF_REFRESH_ALL, "all"),
                   G_DEFINE_ENUM_VALUE(LXHF_REFRESH_ERRORS_ONLY, "errors-only"))

G_DEFINE_ENUM_TYPE(LxhfOfferState, lxhf_offer_state,
                   G_DEFINE_ENUM_VALUE(LXHF_OFFER_STATE_LOADING, "loading"),
                   G_DEFINE_ENUM_VALUE(LXHF_OFFER_STATE_AVAILABLE, "available"),
                   G_DEFINE_ENUM_VALUE(LXHF_OFFER_STATE_UNAVAILABLE, "unavailable"),
                   G_DEFINE_ENUM_VALUE(LXHF_OFFER_STATE_ERROR, "error"))

G_DEFINE_ENUM_TYPE(LxhfPurchaseResult, lxhf_purchase_result,
                   G_DEFINE_ENUM_VALUE(LXHF_PURCHASE_RESULT_NONE, "none"),
                   G_DEFINE_ENUM_VALUE(LXHF_PURCHASE_RESULT_PURCHASED, "purchased"),
                   G_DEFINE_ENUM_VALUE(LXHF_PURCHASE_RESULT_CANCELLED, "cancelled"),
                   G_DEFINE_ENUM_VALUE(LXHF_PURCHASE_RESULT_INVALID, "invalid"),
                   G_DEFINE_ENUM_VALUE(LXHF_PURCHASE_RESULT_ERROR, "error"))

G_DEFINE_ENUM_TYPE(LxhfPageActionKind, lxhf_page_action_kind,
                   G_DEFINE_ENUM_VALUE(LXHF_PAGE_ACTION_KIND_CANCELLED, "cancelled"),
                   G_DEFINE_ENUM_VALUE(LXHF_PAGE_ACTION_KIND_PURCHASED, "purchased"),
                   G_DEFINE_ENUM_VALUE(LXHF_PAGE_ACTION_KIND_ERROR, "error"),
                   G_DEFINE_ENUM_VALUE(LXHF_PAGE_ACTION_KIND_READY, "ready"),
                   G_DEFINE_ENUM_VALUE(LXHF_PAGE_ACTION_KIND_UNKNOWN, "unknown"),
                   G_DEFINE_ENUM_VALUE(LXHF_PAGE_ACTION_KIND_MALFORMED, "malformed"))

// The library's own version, which a host built against other headers can ask.
guint lxhf_get_major_version(void) { return LXHF_MAJOR_VERSION; }
guint lxhf_get_minor_version(void) { return LXHF_MINOR_VERSION; }
guint lxhf_get_micro_version(void) { return LXHF_MICRO_VERSION; }

namespace lxhf::gobject {

bool validText(const char* text) { return text && g_utf8_validate(text, -1, nullptr); }

bool validOptionalText(const char* text) { return !text || validText(text); }

LxhfOfferState stateOf(const LXFermoOfferState& state) {
    switch (state.kind()) {
    case LXFermoOfferState::Kind::loading: return LXHF_OFFER_STATE_LOADING;
    case LXFermoOfferState::Kind::available: return LXHF_OFFER_STATE_AVAILABLE;
    case LXFermoOfferState::Kind::unavailable: return LXHF_OFFER_STATE_UNAVAILABLE;
    case LXFermoOfferState::Kind::error: return LXHF_OFFER_STATE_ERROR;
    }
    return LXHF_OFFER_STATE_ERROR;
}

LxhfPurchaseResult resultOf(const LXFermoPurchaseResult& result) {
    switch (result.kind()) {
    case LXFermoPurchaseResult::Kind::purchased: return LXHF_PURCHASE_RESULT_PURCHASED;
    case LXFermoPurchaseResult::Kind::cancelled: return LXHF_PURCHASE_RESULT_CANCELLED;
    case LXFermoPurchaseResult::Kind::invalid: return LXHF_PURCHASE_RESULT_INVALID;
    case LXFermoPurchaseResult::Kind::error: return LXHF_PURCHASE_RESULT_ERROR;
    }
    return LXHF_PURCHASE_RESULT_ERROR;
}

const char* messageOf(const LXFermoPurchaseResult& result) {
    return result.errorInfo() ? result.errorInfo()->message().c_str() : nullptr;
}

}  // namespace lxhf::gobject
