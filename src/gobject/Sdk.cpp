#include "gobject/GObjectBridge.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct _LxhfSdk {
    GObject parent_instance;
    LXHotelsFermoSDK* sdk;
    GListModel* offers;  // made on first use, so the library starts no earlier than the host asks
};

using namespace lxhf::gobject;

G_DEFINE_FINAL_TYPE(LxhfSdk, lxhf_sdk, G_TYPE_OBJECT)

static void lxhf_sdk_dispose(GObject* object) {
    // Ends the model's subscription too, unless the host still holds the model.
    g_clear_object(&LXHF_SDK(object)->offers);
    G_OBJECT_CLASS(lxhf_sdk_parent_class)->dispose(object);
}

static void lxhf_sdk_class_init(LxhfSdkClass* klass) { G_OBJECT_CLASS(klass)->dispose = lxhf_sdk_dispose; }

static void lxhf_sdk_init(LxhfSdk* self) { self->sdk = &LXHotelsFermoSDK::shared(); }

namespace {

std::optional<std::string> optionalText(const char* text) {
    return text ? std::optional<std::string>(text) : std::nullopt;
}

LxhfError errorFor(LXNoPurchaseAddress::Reason reason) {
    switch (reason) {
    case LXNoPurchaseAddress::Reason::noResponse: return LXHF_ERROR_NO_RESPONSE;
    case LXNoPurchaseAddress::Reason::notSignedFullOffer: return LXHF_ERROR_NOT_SIGNED_FULL_OFFER;
    case LXNoPurchaseAddress::Reason::unencodable: return LXHF_ERROR_UNENCODABLE;
    }
    return LXHF_ERROR_UNENCODABLE;
}

}  // namespace

LxhfSdk* lxhf_sdk_get_default(void) {
    // Like the facade it wraps, made once and kept for the process.
    static LxhfSdk* const instance = static_cast<LxhfSdk*>(g_object_new(LXHF_TYPE_SDK, nullptr));
    return instance;
}

void lxhf_sdk_configure(LxhfSdk* self, const char* token, LxhfEnvironment environment) {
    g_return_if_fail(LXHF_IS_SDK(self) && validText(token));
    if (!self->sdk->admitsCall("lxhf_sdk_configure")) return;
    self->sdk->configure(token, environment == LXHF_ENVIRONMENT_STAGING ? LXEnvironmentType::staging
                                                                          : LXEnvironmentType::production);
}

gboolean lxhf_sdk_set_endpoints(LxhfSdk* self, const char* api_base, const char* microsite_base,
                                const char* intake_url, const char* ca_file, const char* cache_directory,
                                GError** error) {
    g_return_val_if_fail(LXHF_IS_SDK(self), FALSE);
    g_return_val_if_fail(validOptionalText(api_base) && validOptionalText(microsite_base) &&
                             validOptionalText(intake_url),
                         FALSE);
    g_return_val_if_fail(error == nullptr || *error == nullptr, FALSE);
    if (!self->sdk->admitsCall("lxhf_sdk_set_endpoints")) return FALSE;
    LXEndpoints endpoints;
    endpoints.apiBase = optionalText(api_base);
    endpoints.micrositeBase = optionalText(microsite_base);
    endpoints.intakeUrl = optionalText(intake_url);
    endpoints.caFile = optionalText(ca_file);
    endpoints.cacheDirectory = optionalText(cache_directory);
    if (self->sdk->setEndpoints(std::move(endpoints))) return TRUE;
    g_set_error_literal(error, LXHF_ERROR, LXHF_ERROR_ENDPOINTS_REFUSED,
                        "Endpoints must be absolute http or https URLs, set before the library starts");
    return FALSE;
}

gboolean lxhf_sdk_set_fetch_policy(LxhfSdk* self, guint max_concurrent_batches, gboolean retry,
                                   gboolean requeue_late_rooms, GError** error) {
    g_return_val_if_fail(LXHF_IS_SDK(self), FALSE);
    g_return_val_if_fail(error == nullptr || *error == nullptr, FALSE);
    if (!self->sdk->admitsCall("lxhf_sdk_set_fetch_policy")) return FALSE;
    LXFetchPolicy policy;
    policy.maxConcurrentBatches = max_concurrent_batches;
    if (retry) policy.retry = LXFetchRetry{};
    policy.requeueLateRooms = requeue_late_rooms;
    if (self->sdk->setFetchPolicy(policy)) return TRUE;
    g_set_error_literal(error, LXHF_ERROR, LXHF_ERROR_FETCH_POLICY_REFUSED,
                        "A fetch policy needs 1 to 64 batches and usable retry delays, and must be set before the library starts");
    return FALSE;
}

void lxhf_sdk_update_user(LxhfSdk* self, const char* user_id) {
    g_return_if_fail(LXHF_IS_SDK(self) && validOptionalText(user_id));
    if (!self->sdk->admitsCall("lxhf_sdk_update_user")) return;
    self->sdk->updateUser(optionalText(user_id));
}

void lxhf_sdk_cache_offers(LxhfSdk* self, LxhfRoomDetails** rooms, gsize n_rooms) {
    g_return_if_fail(LXHF_IS_SDK(self) && (rooms != nullptr || n_rooms == 0));
    if (!self->sdk->admitsCall("lxhf_sdk_cache_offers")) return;
    std::vector<LXRoomDetails> list;
    list.reserve(n_rooms);
    for (gsize i = 0; i < n_rooms; ++i) {
        g_return_if_fail(holdsRoom(rooms[i]));
        list.push_back(roomOf(rooms[i]));
    }
    self->sdk->cacheOffers(list);
}

void lxhf_sdk_refresh_cached_offers(LxhfSdk* self, LxhfRefresh refresh) {
    g_return_if_fail(LXHF_IS_SDK(self));
    if (!self->sdk->admitsCall("lxhf_sdk_refresh_cached_offers")) return;
    self->sdk->refreshCachedOffers(refresh == LXHF_REFRESH_ERRORS_ONLY ? LXRefresh::errorsOnly : LXRefresh::all);
}

GListModel* lxhf_sdk_get_offers(LxhfSdk* self) {
    g_return_val_if_fail(LXHF_IS_SDK(self), nullptr);
    if (!self->sdk->admitsCall("lxhf_sdk_get_offers")) return nullptr;
    if (!self->offers) self->offers = offerListNew(*self->sdk);
    return self->offers;
}

char* lxhf_sdk_get_purchase_address(LxhfSdk* self, LxhfRoomDetails* room, GError** error) {
    g_return_val_if_fail(LXHF_IS_SDK(self) && holdsRoom(room), nullptr);
    g_return_val_if_fail(error == nullptr || *error == nullptr, nullptr);
    if (!self->sdk->admitsCall("lxhf_sdk_get_purchase_address")) return nullptr;
    auto address = self->sdk->purchaseAddress(roomOf(room));
    if (address) return g_strdup(address.value().c_str());
    const auto& missing = address.error();
    g_set_error_literal(error, LXHF_ERROR, errorFor(missing.reason),
                        missing.message.empty() ? "No purchase address" : missing.message.c_str());
    return nullptr;
}

guint64 lxhf_sdk_get_offer_response_revision(LxhfSdk* self, LxhfRoomDetails* room) {
    g_return_val_if_fail(LXHF_IS_SDK(self) && holdsRoom(room), 0);
    if (!self->sdk->admitsCall("lxhf_sdk_get_offer_response_revision")) return 0;
    return self->sdk->offerResponseRevision(roomOf(room));
}

LxhfPageAction* lxhf_sdk_page_message(LxhfSdk* self, const char* body_json, const char* handler_name) {
    g_return_val_if_fail(LXHF_IS_SDK(self) && body_json != nullptr, nullptr);
    if (!self->sdk->admitsCall("lxhf_sdk_page_message")) return nullptr;
    const std::string_view handler = handler_name ? handler_name : LXPurchasePageBridge::handlerName;
    return pageActionNew(self->sdk->pageMessage(body_json, handler));
}

void lxhf_sdk_report_shown(LxhfSdk* self, LxhfRoomDetails* room) {
    g_return_if_fail(LXHF_IS_SDK(self) && holdsRoom(room));
    if (!self->sdk->admitsCall("lxhf_sdk_report_shown")) return;
    self->sdk->reportShown(roomOf(room));
}

void lxhf_sdk_application_will_terminate(LxhfSdk* self) {
    g_return_if_fail(LXHF_IS_SDK(self));
    if (!self->sdk->admitsCall("lxhf_sdk_application_will_terminate")) return;
    self->sdk->applicationWillTerminate();
}

void lxhf_sdk_connect_application_shutdown(LxhfSdk* self, GApplication* application) {
    g_return_if_fail(LXHF_IS_SDK(self) && G_IS_APPLICATION(application));
    if (!self->sdk->admitsCall("lxhf_sdk_connect_application_shutdown")) return;
    self->sdk->connectApplicationShutdown(application);
}
