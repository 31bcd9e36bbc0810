// LxhfOfferButton: the C++ button wrapper as a GTK widget of its own, so a
// list item factory or a .ui file can hold it like any other widget.

#include "gobject/GObjectBridge.h"

#include <array>
#include <optional>
#include <string>
#include <utility>

#include "LXHotelsFermo/ui/LXFermoButtonWrapper.h"

struct _LxhfOfferButton {
    GtkWidget parent_instance;
    LxhfRoomDetails* room;  // nullable
    LxhfOfferState state;
    LxhfOfferState notifiedState;  // what "notify::state" last announced
    guint stateNotice;  // idle source announcing a new state, or 0
    std::array<std::string, 4> labels;  // by LxhfOfferState
    GtkWidget* button;  // the current GtkButton, owned by the wrapper; cleared by a weak pointer
    LXPurchasePageOptions pageOptions;
    bool pageUp;  // a page the button opened has not ended yet
};

G_DEFINE_FINAL_TYPE(LxhfOfferButton, lxhf_offer_button, GTK_TYPE_WIDGET)

enum { PROP_ROOM = 1, PROP_STATE, N_PROPS };
static GParamSpec* properties[N_PROPS];
enum { SIGNAL_RESULT, SIGNAL_FINISHED, N_SIGNALS };
static guint signals[N_SIGNALS];

namespace {

using namespace lxhf::gobject;

void track(LxhfOfferButton* self, GtkWidget* button) {
    if (self->button) g_object_remove_weak_pointer(G_OBJECT(self->button), reinterpret_cast<gpointer*>(&self->button));
    self->button = button;
    if (button) g_object_add_weak_pointer(G_OBJECT(button), reinterpret_cast<gpointer*>(&self->button));
}

// Announced from an idle, once the wrapper has put the new button in place:
// a handler then sees the button it is told about, never one mid-rebuild.
void announceState(LxhfOfferButton* self, LxhfOfferState state) {
    self->state = state;
    if (self->stateNotice || state == self->notifiedState) return;
    self->stateNotice = g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](gpointer data) -> gboolean {
            auto* button = static_cast<LxhfOfferButton*>(data);
            button->stateNotice = 0;
            if (button->state != button->notifiedState) {
                button->notifiedState = button->state;
                g_object_notify_by_pspec(G_OBJECT(button), properties[PROP_STATE]);
            }
            return G_SOURCE_REMOVE;
        },
        g_object_ref(self), g_object_unref);
}

// Ends the wrapper for good: disposing it silences its subscription and
// callbacks even if something else still holds a reference to it.
void detachWrapper(LxhfOfferButton* self) {
    track(self, nullptr);
    while (GtkWidget* child = gtk_widget_get_first_child(GTK_WIDGET(self))) {
        g_object_ref(child);
        gtk_widget_unparent(child);
        g_object_run_dispose(G_OBJECT(child));
        g_object_unref(child);
    }
}

// Ending the wrapper takes its page down silently; the host still hears
// that the page has gone.
void detachWrapperReportingPage(LxhfOfferButton* self) {
    detachWrapper(self);
    if (!std::exchange(self->pageUp, false)) return;
    g_signal_emit(self, signals[SIGNAL_FINISHED], 0, LXHF_PURCHASE_RESULT_NONE, nullptr);
}

// The wrapper is this widget's only child; its callbacks hold `self` plainly
// because detachWrapper ends them before `self` goes.
void attachWrapper(LxhfOfferButton* self) {
    auto label = LXFermoButtonWrapper::labelledButton(
        [self](const LXFermoOffer& offer) { return self->labels[stateOf(offer.state)]; });
    auto factory = [self, label](const LXFermoOffer& offer, std::function<void()> action) {
        GtkWidget* button = label(offer, [self, action = std::move(action)] {
            self->pageUp = true;  // a press while a page is up opens none, and that page is still up
            action();
        });
        track(self, button);
        announceState(self, stateOf(offer.state));
        return button;
    };
    auto onResult = [self](const LXFermoPurchaseResult& result) {
        g_signal_emit(self, signals[SIGNAL_RESULT], 0, resultOf(result), messageOf(result));
    };
    auto onEnded = [self](const std::optional<LXFermoPurchaseResult>& outcome) {
        self->pageUp = false;
        if (outcome)
            g_signal_emit(self, signals[SIGNAL_FINISHED], 0, resultOf(*outcome), messageOf(*outcome));
        else
            g_signal_emit(self, signals[SIGNAL_FINISHED], 0, LXHF_PURCHASE_RESULT_NONE, nullptr);
    };
    GtkWidget* wrapper =
        LXFermoButtonWrapper::create(roomOf(self->room), onResult, factory, onEnded, self->pageOptions);
    gtk_widget_set_parent(wrapper, GTK_WIDGET(self));
}

}  // namespace

static void lxhf_offer_button_set_property(GObject* object, guint id, const GValue* value, GParamSpec* param) {
    if (id == PROP_ROOM)
        lxhf_offer_button_set_room(LXHF_OFFER_BUTTON(object), LXHF_ROOM_DETAILS(g_value_get_object(value)));
    else
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
}

static void lxhf_offer_button_get_property(GObject* object, guint id, GValue* value, GParamSpec* param) {
    auto* self = LXHF_OFFER_BUTTON(object);
    switch (id) {
    case PROP_ROOM: g_value_set_object(value, self->room); break;
    case PROP_STATE: g_value_set_enum(value, self->state); break;
    default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
    }
}

static void lxhf_offer_button_dispose(GObject* object) {
    auto* self = LXHF_OFFER_BUTTON(object);
    detachWrapper(self);
    g_clear_object(&self->room);
    G_OBJECT_CLASS(lxhf_offer_button_parent_class)->dispose(object);
}

static void lxhf_offer_button_finalize(GObject* object) {
    destroy(LXHF_OFFER_BUTTON(object)->labels);
    G_OBJECT_CLASS(lxhf_offer_button_parent_class)->finalize(object);
}

static void lxhf_offer_button_class_init(LxhfOfferButtonClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->set_property = lxhf_offer_button_set_property;
    object->get_property = lxhf_offer_button_get_property;
    object->dispose = lxhf_offer_button_dispose;
    object->finalize = lxhf_offer_button_finalize;
    gtk_widget_class_set_layout_manager_type(GTK_WIDGET_CLASS(klass), GTK_TYPE_BIN_LAYOUT);
    gtk_widget_class_set_css_name(GTK_WIDGET_CLASS(klass), "lxhfofferbutton");

    /**
     * LxhfOfferButton:room:
     *
     * The room the button follows, or %NULL for an empty button. Setting
     * another room starts over for it, as a recycled list row needs.
     */
    properties[PROP_ROOM] = g_param_spec_object(
        "room", nullptr, nullptr, LXHF_TYPE_ROOM_DETAILS,
        static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | G_PARAM_EXPLICIT_NOTIFY));
    /**
     * LxhfOfferButton:state:
     *
     * The state of the offer the button shows.
     */
    properties[PROP_STATE] = g_param_spec_enum(
        "state", nullptr, nullptr, LXHF_TYPE_OFFER_STATE, LXHF_OFFER_STATE_LOADING,
        static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS | G_PARAM_EXPLICIT_NOTIFY));
    g_object_class_install_properties(object, N_PROPS, properties);

    /**
     * LxhfOfferButton::result:
     * @self: the button
     * @result: what the page reported
     * @message: (nullable): why, for %LXHF_PURCHASE_RESULT_ERROR
     *
     * Emitted for each result the purchase page opened by the button reports.
     * "purchased" leaves the page up; "cancelled" or "error" follows.
     */
    signals[SIGNAL_RESULT] = g_signal_new("result", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr,
                                          nullptr, G_TYPE_NONE, 2, LXHF_TYPE_PURCHASE_RESULT, G_TYPE_STRING);
    /**
     * LxhfOfferButton::finished:
     * @self: the button
     * @result: what to show the traveller: %LXHF_PURCHASE_RESULT_PURCHASED
     *   once the page reported a purchase, otherwise the cancellation or error
     *   that ended it, or %LXHF_PURCHASE_RESULT_NONE when the traveller left
     *   by the close button, Escape or the window manager
     * @message: (nullable): why, for %LXHF_PURCHASE_RESULT_ERROR
     *
     * Emitted once for each page the button opened, when it has gone, as
     * #LxhfPurchasePage::finished is.
     */
    signals[SIGNAL_FINISHED] = g_signal_new("finished", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr,
                                            nullptr, nullptr, G_TYPE_NONE, 2, LXHF_TYPE_PURCHASE_RESULT, G_TYPE_STRING);
}

static void lxhf_offer_button_init(LxhfOfferButton* self) {
    construct(self->labels);
    construct(self->pageOptions);
    self->labels = {"Checking the price…", "Freeze this price", "No price freeze for this room",
                    "Price freeze unavailable"};
}

GtkWidget* lxhf_offer_button_new(LxhfRoomDetails* room) {
    g_return_val_if_fail(room == nullptr || holdsRoom(room), nullptr);
    if (!LXHotelsFermoSDK::shared().admitsCall("lxhf_offer_button_new")) return nullptr;
    return GTK_WIDGET(g_object_new(LXHF_TYPE_OFFER_BUTTON, "room", room, nullptr));
}

void lxhf_offer_button_set_room(LxhfOfferButton* self, LxhfRoomDetails* room) {
    g_return_if_fail(LXHF_IS_OFFER_BUTTON(self));
    g_return_if_fail(room == nullptr || holdsRoom(room));
    if (!LXHotelsFermoSDK::shared().admitsCall("lxhf_offer_button_set_room")) return;
    if (room == self->room) return;
    g_object_ref(self);  // a handler of "finished" may drop the last reference
    detachWrapperReportingPage(self);
    detachWrapper(self);  // in case a handler of "finished" set a room of its own
    g_set_object(&self->room, room);
    announceState(self, LXHF_OFFER_STATE_LOADING);
    if (room) attachWrapper(self);
    g_object_notify_by_pspec(G_OBJECT(self), properties[PROP_ROOM]);
    g_object_unref(self);
}

LxhfRoomDetails* lxhf_offer_button_get_room(LxhfOfferButton* self) {
    g_return_val_if_fail(LXHF_IS_OFFER_BUTTON(self), nullptr);
    if (!LXHotelsFermoSDK::shared().admitsCall("lxhf_offer_button_get_room")) return nullptr;
    return self->room;
}

LxhfOfferState lxhf_offer_button_get_state(LxhfOfferButton* self) {
    g_return_val_if_fail(LXHF_IS_OFFER_BUTTON(self), LXHF_OFFER_STATE_LOADING);
    if (!LXHotelsFermoSDK::shared().admitsCall("lxhf_offer_button_get_state")) return LXHF_OFFER_STATE_LOADING;
    return self->state;
}

void lxhf_offer_button_set_label(LxhfOfferButton* self, LxhfOfferState state, const char* label) {
    g_return_if_fail(LXHF_IS_OFFER_BUTTON(self) && validText(label));
    g_return_if_fail(state >= LXHF_OFFER_STATE_LOADING && state <= LXHF_OFFER_STATE_ERROR);
    if (!LXHotelsFermoSDK::shared().admitsCall("lxhf_offer_button_set_label")) return;
    self->labels[state] = label;
    if (state == self->state && GTK_IS_BUTTON(self->button)) gtk_button_set_label(GTK_BUTTON(self->button), label);
}

void lxhf_offer_button_set_page_options(LxhfOfferButton* self, LxhfPageOptions* options) {
    g_return_if_fail(LXHF_IS_OFFER_BUTTON(self));
    g_return_if_fail(options == nullptr || LXHF_IS_PAGE_OPTIONS(options));
    if (!LXHotelsFermoSDK::shared().admitsCall("lxhf_offer_button_set_page_options")) return;
    self->pageOptions = optionsOf(options);
    if (!self->room) return;
    g_object_ref(self);  // a handler of "finished" may drop the last reference
    detachWrapperReportingPage(self);
    detachWrapper(self);  // in case a handler of "finished" set a room of its own
    if (self->room) attachWrapper(self);
    g_object_unref(self);
}
