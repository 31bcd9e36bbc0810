#pragma once

/* The offer button and the purchase page, for GTK 4 hosts. */

#include <gtk/gtk.h>

#include <lxhf/lxhf-export.h>
#include <lxhf/lxhf-page.h>
#include <lxhf/lxhf-room-details.h>
#include <lxhf/lxhf-types.h>

G_BEGIN_DECLS

/**
 * LxhfOfferButton:
 *
 * A button that follows one room's offer and opens its purchase page when
 * pressed. Its label is the one set for the offer's state. Each time it
 * appears it reports the offer as shown; while the room is unknown to the
 * library, appearing asks for its offer.
 *
 * Each result the page reports is emitted as #LxhfOfferButton::result.
 */
#define LXHF_TYPE_OFFER_BUTTON (lxhf_offer_button_get_type())
LXHF_API G_DECLARE_FINAL_TYPE(LxhfOfferButton, lxhf_offer_button, LXHF, OFFER_BUTTON, GtkWidget)

/**
 * lxhf_offer_button_new:
 * @room: (nullable): the room to follow, or %NULL to set one later
 *
 * Makes an offer button.
 *
 * Returns: (nullable): the new button; %NULL only when called off the
 *   library's thread
 */
LXHF_API GtkWidget* lxhf_offer_button_new(LxhfRoomDetails* room);

/**
 * lxhf_offer_button_set_room:
 * @self: an offer button
 * @room: (nullable): the room to follow from now on, or %NULL for none
 *
 * Makes the button follow another room.
 */
LXHF_API void lxhf_offer_button_set_room(LxhfOfferButton* self, LxhfRoomDetails* room);

/**
 * lxhf_offer_button_get_room:
 * @self: an offer button
 *
 * Reads the room the button follows.
 *
 * Returns: (transfer none) (nullable): the room it follows
 */
LXHF_API LxhfRoomDetails* lxhf_offer_button_get_room(LxhfOfferButton* self);

/**
 * lxhf_offer_button_get_state:
 * @self: an offer button
 *
 * Reads the state of the offer the button shows.
 *
 * Returns: the state of the offer it shows; "notify::state" follows a
 *   change once the new button is in place
 */
LXHF_API LxhfOfferState lxhf_offer_button_get_state(LxhfOfferButton* self);

/**
 * lxhf_offer_button_set_label:
 * @self: an offer button
 * @state: an offer state
 * @label: what the button says in @state
 *
 * Sets what the button says in one state.
 */
LXHF_API void lxhf_offer_button_set_label(LxhfOfferButton* self, LxhfOfferState state, const char* label);

/**
 * lxhf_offer_button_set_page_options:
 * @self: an offer button
 * @options: (nullable): how the pages it opens behave; %NULL for the defaults
 *
 * Takes a copy of @options, as they are now, for each page the button
 * opens from now on. Like a new room, new options rebuild the button: a
 * page it has up is taken down, with no result and
 * #LxhfOfferButton::finished carrying %LXHF_PURCHASE_RESULT_NONE, so set
 * them before showing it.
 */
LXHF_API void lxhf_offer_button_set_page_options(LxhfOfferButton* self, LxhfPageOptions* options);

/**
 * LxhfPurchasePage:
 *
 * The purchase page for one room, in a modal window over the host's (the
 * whole monitor with #LxhfPageOptions:fullscreen).
 * It keeps itself alive until #LxhfPurchasePage::finished has been emitted,
 * so a host may drop its reference at once.
 */
#define LXHF_TYPE_PURCHASE_PAGE (lxhf_purchase_page_get_type())
LXHF_API G_DECLARE_FINAL_TYPE(LxhfPurchasePage, lxhf_purchase_page, LXHF, PURCHASE_PAGE, GObject)

/**
 * lxhf_purchase_page_present:
 * @parent: (nullable): the host's window
 * @room: a room handed in
 *
 * Shows the page at the room's purchase address, or the line "Unable to
 * load Fermo" when it has none.
 *
 * Returns: (transfer full) (nullable): the page; %NULL only when called off
 *   the library's thread
 */
LXHF_API LxhfPurchasePage* lxhf_purchase_page_present(GtkWindow* parent, LxhfRoomDetails* room);

/**
 * lxhf_purchase_page_present_with_options:
 * @parent: (nullable): the host's window
 * @room: a room handed in
 * @options: (nullable): how the page behaves; %NULL for the defaults
 *
 * Like lxhf_purchase_page_present(), with @options read once, now. With
 * #LxhfPageOptions:report-load-failures on, a page that fails to load or is
 * not ready in time emits its error through #LxhfPurchasePage::result and
 * #LxhfPurchasePage::finished, and goes.
 *
 * Returns: (transfer full) (nullable): the page; %NULL only when called off
 *   the library's thread
 */
LXHF_API LxhfPurchasePage* lxhf_purchase_page_present_with_options(GtkWindow* parent, LxhfRoomDetails* room,
                                                                   LxhfPageOptions* options);

/**
 * lxhf_purchase_page_close:
 * @self: a page
 *
 * Takes the page down; #LxhfPurchasePage::finished follows.
 */
LXHF_API void lxhf_purchase_page_close(LxhfPurchasePage* self);

/**
 * lxhf_purchase_page_get_window:
 * @self: a page
 *
 * Reads the page's window.
 *
 * Returns: (transfer none) (nullable): the page's window, %NULL once finished
 */
LXHF_API GtkWindow* lxhf_purchase_page_get_window(LxhfPurchasePage* self);

G_END_DECLS
