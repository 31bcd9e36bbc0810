#pragma once

/* The library's entry point for GObject hosts. */

#include <gio/gio.h>

#include <lxhf/lxhf-export.h>
#include <lxhf/lxhf-page.h>
#include <lxhf/lxhf-room-details.h>
#include <lxhf/lxhf-types.h>

G_BEGIN_DECLS

/**
 * LxhfSdk:
 *
 * The process's one library instance. Use it from the thread running the
 * default GLib main context; nothing here blocks, and every failure stays
 * inside (logged, or shown as an offer's error state).
 *
 * Call lxhf_sdk_configure() first: the library starts on the first other
 * call with the token and environment of that moment, and keeps them.
 *
 * Reach it through lxhf_sdk_get_default(). An instance made otherwise (a
 * binding's bare constructor) drives the same library but has an offers
 * model of its own.
 */
#define LXHF_TYPE_SDK (lxhf_sdk_get_type())
LXHF_API G_DECLARE_FINAL_TYPE(LxhfSdk, lxhf_sdk, LXHF, SDK, GObject)

/**
 * lxhf_sdk_get_default:
 *
 * Gives the process's library instance, made on first use.
 *
 * Returns: (transfer none): the process's library instance
 */
LXHF_API LxhfSdk* lxhf_sdk_get_default(void);

/**
 * lxhf_sdk_configure:
 * @self: the library
 * @token: the partner token
 * @environment: the service to use
 *
 * Sets the partner token and the service; call it first.
 */
LXHF_API void lxhf_sdk_configure(LxhfSdk* self, const char* token, LxhfEnvironment environment);

/**
 * lxhf_sdk_set_endpoints:
 * @self: the library
 * @api_base: (nullable): the API base URL, ending in "/"
 * @microsite_base: (nullable): the purchase page's scheme, host and port
 * @intake_url: (nullable): where log records are posted
 * @ca_file: (nullable) (type filename): an extra CA certificate (PEM) to trust
 * @cache_directory: (nullable) (type filename): where the session file is kept
 * @error: return location for a %LXHF_ERROR_ENDPOINTS_REFUSED error
 *
 * Points the library elsewhere, for tests against a local service. %NULL
 * keeps the library's own value. Call it before anything but
 * lxhf_sdk_configure().
 *
 * Returns: whether the endpoints were taken
 */
LXHF_API gboolean lxhf_sdk_set_endpoints(LxhfSdk* self, const char* api_base, const char* microsite_base,
                                         const char* intake_url, const char* ca_file,
                                         const char* cache_directory, GError** error);

/**
 * lxhf_sdk_set_fetch_policy:
 * @self: the library
 * @max_concurrent_batches: offer batches in flight at once; 1 fetches them one after another
 * @retry: whether a batch that failed in transfer, timed out or got a 5xx or
 *   429 is fetched again by itself, after 1 s doubling to 60 s with jitter
 * @requeue_late_rooms: whether a room queued into a batch whose request is in
 *   flight is fetched by the next request instead of staying loading
 * @error: return location for a %LXHF_ERROR_FETCH_POLICY_REFUSED error
 *
 * Opts in to a faster, more persistent way of fetching offers; the library
 * does none of it unless asked. Call it before anything but
 * lxhf_sdk_configure() and lxhf_sdk_set_endpoints().
 *
 * Returns: whether the policy was taken
 */
LXHF_API gboolean lxhf_sdk_set_fetch_policy(LxhfSdk* self, guint max_concurrent_batches, gboolean retry,
                                            gboolean requeue_late_rooms, GError** error);

/**
 * lxhf_sdk_update_user:
 * @self: the library
 * @user_id: (nullable): the signed-in traveller, or %NULL when signed out
 *
 * Tells the library who is signed in; a new traveller gets a new session.
 */
LXHF_API void lxhf_sdk_update_user(LxhfSdk* self, const char* user_id);

/**
 * lxhf_sdk_cache_offers:
 * @self: the library
 * @rooms: (array length=n_rooms) (element-type LxhfRoomDetails): the rooms on screen
 * @n_rooms: the number of @rooms
 *
 * Lists each new room as loading and fetches its offer.
 */
LXHF_API void lxhf_sdk_cache_offers(LxhfSdk* self, LxhfRoomDetails** rooms, gsize n_rooms);

/**
 * lxhf_sdk_refresh_cached_offers:
 * @self: the library
 * @refresh: which rooms to fetch again
 *
 * Fetches the offers of rooms already listed again.
 */
LXHF_API void lxhf_sdk_refresh_cached_offers(LxhfSdk* self, LxhfRefresh refresh);

/**
 * lxhf_sdk_get_offers:
 * @self: the library
 *
 * Every room handed in, in first-seen order, as #LxhfOffer items, whose
 * rooms equal the ones handed in (lxhf_room_details_equal()) but are objects
 * of their own. A room's
 * state change notifies on its item; "items-changed" is emitted when rooms
 * are added, and when the host replaced the list through the C++ API.
 *
 * Returns: (transfer none) (nullable): a #GListModel of #LxhfOffer; %NULL
 *   only when called off the library's thread
 */
LXHF_API GListModel* lxhf_sdk_get_offers(LxhfSdk* self);

/**
 * lxhf_sdk_get_purchase_address:
 * @self: the library
 * @room: a room handed in
 * @error: return location for why there is no address
 *
 * The purchase page's address for @room, from its latest signed full
 * offer; why there is none is also logged. #LxhfPurchasePage shows it with
 * the page's script bridge; a web view of the host's own injects
 * lxhf_page_bridge_user_script(), registers a script message handler named
 * by lxhf_page_bridge_handler_name() and hands each message to
 * lxhf_sdk_page_message().
 *
 * Returns: (transfer full) (nullable): the address, or %NULL with @error set
 */
LXHF_API char* lxhf_sdk_get_purchase_address(LxhfSdk* self, LxhfRoomDetails* room, GError** error);

/**
 * lxhf_sdk_get_offer_response_revision:
 * @self: the library
 * @room: a room
 *
 * A web view of the host's own composes the page's address again when this
 * changes: each time the service's answer for @room is replaced, even by
 * equal terms under a new signature.
 *
 * Returns: the revision of the service's answer for @room; 0 while there
 *   is none
 */
LXHF_API guint64 lxhf_sdk_get_offer_response_revision(LxhfSdk* self, LxhfRoomDetails* room);

/**
 * lxhf_sdk_page_message:
 * @self: the library
 * @body_json: one message the purchase page posted, as JSON text
 * @handler_name: (nullable): the script message handler it was posted to;
 *   %NULL for the bridge's own, lxhf_page_bridge_handler_name()
 *
 * Reads a message of the purchase page shown in a web view of the host's
 * own, logs what the library's own page logs for it, and says what the
 * view must do. A message that cannot be read, or was posted to another
 * handler, is %LXHF_PAGE_ACTION_KIND_MALFORMED.
 *
 * Returns: (transfer full) (nullable): what the message asks of the view;
 *   %NULL only when called off the library's thread
 */
LXHF_API LxhfPageAction* lxhf_sdk_page_message(LxhfSdk* self, const char* body_json, const char* handler_name);

/**
 * lxhf_sdk_report_shown:
 * @self: the library
 * @room: a room handed in
 *
 * Call each time the room's button appears in a widget of the host's own:
 * reports its offer as shown (sent in batches). #LxhfOfferButton does this
 * itself.
 */
LXHF_API void lxhf_sdk_report_shown(LxhfSdk* self, LxhfRoomDetails* room);

/**
 * lxhf_sdk_application_will_terminate:
 * @self: the library
 *
 * Empties the stored session. Call at normal shutdown, or use
 * lxhf_sdk_connect_application_shutdown().
 */
LXHF_API void lxhf_sdk_application_will_terminate(LxhfSdk* self);

/**
 * lxhf_sdk_connect_application_shutdown:
 * @self: the library
 * @application: the host's application
 *
 * Calls lxhf_sdk_application_will_terminate() on the application's "shutdown".
 */
LXHF_API void lxhf_sdk_connect_application_shutdown(LxhfSdk* self, GApplication* application);

G_END_DECLS
