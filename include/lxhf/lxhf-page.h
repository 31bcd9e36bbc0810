#pragma once

/* The purchase page for a host that shows it in a web view of its own, and
   the options of the page the library shows itself. */

#include <glib-object.h>

#include <lxhf/lxhf-export.h>
#include <lxhf/lxhf-types.h>

G_BEGIN_DECLS

/**
 * LxhfPageAction:
 *
 * What one message the purchase page posted asks of the web view showing
 * it, from lxhf_sdk_page_message(). Carry it out in this order: hand
 * #LxhfPageAction:result to whatever waits for the purchase (unless it is
 * %LXHF_PURCHASE_RESULT_NONE), stop the spinner, take the page down.
 * Immutable.
 */
#define LXHF_TYPE_PAGE_ACTION (lxhf_page_action_get_type())
LXHF_API G_DECLARE_FINAL_TYPE(LxhfPageAction, lxhf_page_action, LXHF, PAGE_ACTION, GObject)

/**
 * lxhf_page_action_get_kind:
 * @self: a page action
 *
 * Reads what the message was.
 *
 * Returns: what the message was
 */
LXHF_API LxhfPageActionKind lxhf_page_action_get_kind(LxhfPageAction* self);

/**
 * lxhf_page_action_get_result:
 * @self: a page action
 *
 * Reads the result to hand to whatever waits for the purchase.
 *
 * Returns: the result the message carries: %LXHF_PURCHASE_RESULT_PURCHASED,
 *   %LXHF_PURCHASE_RESULT_CANCELLED or %LXHF_PURCHASE_RESULT_ERROR, or
 *   %LXHF_PURCHASE_RESULT_NONE when it carries none
 */
LXHF_API LxhfPurchaseResult lxhf_page_action_get_result(LxhfPageAction* self);

/**
 * lxhf_page_action_get_error_message:
 * @self: a page action
 *
 * Reads why the page failed.
 *
 * Returns: (nullable): why, for %LXHF_PURCHASE_RESULT_ERROR: the page's
 *   own message or a fixed one
 */
LXHF_API const char* lxhf_page_action_get_error_message(LxhfPageAction* self);

/**
 * lxhf_page_action_get_stop_spinner:
 * @self: a page action
 *
 * Reads whether the message asks to stop the spinner.
 *
 * Returns: whether the view should stop its loading spinner
 */
LXHF_API gboolean lxhf_page_action_get_stop_spinner(LxhfPageAction* self);

/**
 * lxhf_page_action_get_dismiss:
 * @self: a page action
 *
 * Reads whether the message asks to take the page down.
 *
 * Returns: whether the view should take the page down
 */
LXHF_API gboolean lxhf_page_action_get_dismiss(LxhfPageAction* self);

/**
 * lxhf_page_bridge_handler_name:
 *
 * The name to register the page's script message handler under.
 *
 * Returns: (transfer none): "CorvaneSDKBridge"
 */
LXHF_API const char* lxhf_page_bridge_handler_name(void);

/**
 * lxhf_page_bridge_user_script:
 *
 * The script to inject, word for word, at document start into every frame
 * of the page. It defines the bridge the page calls and posts each call as
 * `{eventName, data}` to the handler named by
 * lxhf_page_bridge_handler_name(), through
 * `window.webkit.messageHandlers`; a view on another engine supplies that
 * object.
 *
 * Returns: (transfer none): the script
 */
LXHF_API const char* lxhf_page_bridge_user_script(void);

/**
 * LxhfPageOptions:
 *
 * How a purchase page the library shows behaves beyond what the page itself
 * reports. Made with the defaults of a page shown without options; copied
 * when handed to lxhf_purchase_page_present_with_options() or
 * lxhf_offer_button_set_page_options(), so later changes apply only when
 * handed again.
 */
#define LXHF_TYPE_PAGE_OPTIONS (lxhf_page_options_get_type())
LXHF_API G_DECLARE_FINAL_TYPE(LxhfPageOptions, lxhf_page_options, LXHF, PAGE_OPTIONS, GObject)

/**
 * lxhf_page_options_new:
 *
 * Makes page options, every one as a page has without options.
 *
 * Returns: (transfer full): options with the defaults of a page shown
 *   without any
 */
LXHF_API LxhfPageOptions* lxhf_page_options_new(void);

G_END_DECLS
