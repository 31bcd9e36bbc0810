#pragma once

/* Enumerations and the error domain of the Lxhf GObject API. */

#include <glib-object.h>

#include <lxhf/lxhf-export.h>

G_BEGIN_DECLS

/**
 * LxhfEnvironment:
 * @LXHF_ENVIRONMENT_PRODUCTION: the live service
 * @LXHF_ENVIRONMENT_STAGING: the partners' test service
 *
 * Which service lxhf_sdk_configure() points the library at.
 */
typedef enum {
  LXHF_ENVIRONMENT_PRODUCTION,
  LXHF_ENVIRONMENT_STAGING
} LxhfEnvironment;

/**
 * LxhfRefresh:
 * @LXHF_REFRESH_ALL: every room listed so far
 * @LXHF_REFRESH_ERRORS_ONLY: only rooms whose offer is in error
 *
 * Which rooms lxhf_sdk_refresh_cached_offers() fetches again.
 */
typedef enum {
  LXHF_REFRESH_ALL,
  LXHF_REFRESH_ERRORS_ONLY
} LxhfRefresh;

/**
 * LxhfOfferState:
 * @LXHF_OFFER_STATE_LOADING: the offer has been asked for
 * @LXHF_OFFER_STATE_AVAILABLE: the price can be held
 * @LXHF_OFFER_STATE_UNAVAILABLE: the room has no offer
 * @LXHF_OFFER_STATE_ERROR: fetching the offer failed; see #LxhfOffer:error-message
 *
 * Where a room's offer stands.
 */
typedef enum {
  LXHF_OFFER_STATE_LOADING,
  LXHF_OFFER_STATE_AVAILABLE,
  LXHF_OFFER_STATE_UNAVAILABLE,
  LXHF_OFFER_STATE_ERROR
} LxhfOfferState;

/**
 * LxhfPurchaseResult:
 * @LXHF_PURCHASE_RESULT_NONE: the page went without reporting anything
 * @LXHF_PURCHASE_RESULT_PURCHASED: the traveller paid the deposit
 * @LXHF_PURCHASE_RESULT_CANCELLED: the page was closed
 * @LXHF_PURCHASE_RESULT_INVALID: the page reported something unreadable
 * @LXHF_PURCHASE_RESULT_ERROR: the page failed; a message says why
 *
 * What the purchase page reported. %LXHF_PURCHASE_RESULT_NONE is carried
 * only where there may be no result: by the "finished" signals, and by
 * #LxhfPageAction:result for a message that holds none.
 */
typedef enum {
  LXHF_PURCHASE_RESULT_NONE,
  LXHF_PURCHASE_RESULT_PURCHASED,
  LXHF_PURCHASE_RESULT_CANCELLED,
  LXHF_PURCHASE_RESULT_INVALID,
  LXHF_PURCHASE_RESULT_ERROR
} LxhfPurchaseResult;

/**
 * LxhfPageActionKind:
 * @LXHF_PAGE_ACTION_KIND_CANCELLED: the page asked to close ("close")
 * @LXHF_PAGE_ACTION_KIND_PURCHASED: the traveller paid the deposit; the page
 *   stays up and asks to close after
 * @LXHF_PAGE_ACTION_KIND_ERROR: the page failed; #LxhfPageAction:error-message says why
 * @LXHF_PAGE_ACTION_KIND_READY: the page has loaded
 * @LXHF_PAGE_ACTION_KIND_UNKNOWN: an event the library does not know; logged
 * @LXHF_PAGE_ACTION_KIND_MALFORMED: not `{eventName: string, data: object}`,
 *   or posted to another handler; logged
 *
 * What one message from the purchase page was.
 */
typedef enum {
  LXHF_PAGE_ACTION_KIND_CANCELLED,
  LXHF_PAGE_ACTION_KIND_PURCHASED,
  LXHF_PAGE_ACTION_KIND_ERROR,
  LXHF_PAGE_ACTION_KIND_READY,
  LXHF_PAGE_ACTION_KIND_UNKNOWN,
  LXHF_PAGE_ACTION_KIND_MALFORMED
} LxhfPageActionKind;

/**
 * LxhfError:
 * @LXHF_ERROR_INVALID_ROOM: room JSON could not be read; the message says where and why
 * @LXHF_ERROR_NO_RESPONSE: the service has not answered for the room yet
 * @LXHF_ERROR_NOT_SIGNED_FULL_OFFER: the room's offer cannot be bought
 * @LXHF_ERROR_UNENCODABLE: the room's data could not be put into the page's address
 * @LXHF_ERROR_ENDPOINTS_REFUSED: the endpoints were not taken: an address is
 *   not an absolute http or https URL, or the library is already running
 * @LXHF_ERROR_FETCH_POLICY_REFUSED: the fetch policy was not taken: no batches
 *   at all, or the library is already running
 *
 * Errors in the %LXHF_ERROR domain.
 */
typedef enum {
  LXHF_ERROR_INVALID_ROOM,
  LXHF_ERROR_NO_RESPONSE,
  LXHF_ERROR_NOT_SIGNED_FULL_OFFER,
  LXHF_ERROR_UNENCODABLE,
  LXHF_ERROR_ENDPOINTS_REFUSED,
  LXHF_ERROR_FETCH_POLICY_REFUSED
} LxhfError;

/**
 * LXHF_ERROR:
 *
 * The error domain of the Lxhf API.
 */
#define LXHF_ERROR (lxhf_error_quark())

/**
 * lxhf_error_quark:
 *
 * Gives the quark of the %LXHF_ERROR domain, which #GError matching uses.
 *
 * Returns: the domain's quark
 */
LXHF_API GQuark lxhf_error_quark(void);

#define LXHF_TYPE_ERROR (lxhf_error_get_type())
LXHF_API GType lxhf_error_get_type(void);
#define LXHF_TYPE_ENVIRONMENT (lxhf_environment_get_type())
LXHF_API GType lxhf_environment_get_type(void);
#define LXHF_TYPE_REFRESH (lxhf_refresh_get_type())
LXHF_API GType lxhf_refresh_get_type(void);
#define LXHF_TYPE_OFFER_STATE (lxhf_offer_state_get_type())
LXHF_API GType lxhf_offer_state_get_type(void);
#define LXHF_TYPE_PAGE_ACTION_KIND (lxhf_page_action_kind_get_type())
LXHF_API GType lxhf_page_action_kind_get_type(void);
#define LXHF_TYPE_PURCHASE_RESULT (lxhf_purchase_result_get_type())
LXHF_API GType lxhf_purchase_result_get_type(void);

G_END_DECLS
