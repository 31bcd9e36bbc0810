// LxhfPurchasePage: the purchase window with its results as GObject signals.

#include "gobject/GObjectBridge.h"

#include <optional>
#include <string>

#include "LXHotelsFermo/ui/LXPurchaseWindow.h"

struct _LxhfPurchasePage {
    GObject parent_instance;
    GtkWindow* window;  // while the page is up
    bool finished;
};

G_DEFINE_FINAL_TYPE(LxhfPurchasePage, lxhf_purchase_page, G_TYPE_OBJECT)

enum { SIGNAL_RESULT, SIGNAL_FINISHED, N_SIGNALS };
static guint signals[N_SIGNALS];

static void lxhf_purchase_page_class_init(LxhfPurchasePageClass* klass) {
    /**
     * LxhfPurchasePage::result:
     * @self: the page
     * @result: what the page reported
     * @message: (nullable): why, for %LXHF_PURCHASE_RESULT_ERROR
     *
     * Emitted for each result the page reports. "purchased" leaves the page
     * up; "cancelled" or "error" follows.
     */
    signals[SIGNAL_RESULT] = g_signal_new("result", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr,
                                          nullptr, G_TYPE_NONE, 2, LXHF_TYPE_PURCHASE_RESULT, G_TYPE_STRING);
    /**
     * LxhfPurchasePage::finished:
     * @self: the page
     * @result: %LXHF_PURCHASE_RESULT_PURCHASED once the page reported a
     *   purchase (it closes itself after one); otherwise the cancellation or
     *   error that ended it, or %LXHF_PURCHASE_RESULT_NONE when the traveller
     *   left by the close button, Escape or the window manager
     * @message: (nullable): why, for %LXHF_PURCHASE_RESULT_ERROR
     *
     * Emitted once, when the page ends: its window closed, hidden or
     * destroyed, whoever holds a reference to it.
     */
    signals[SIGNAL_FINISHED] = g_signal_new("finished", G_TYPE_FROM_CLASS(klass), G_SIGNAL_RUN_LAST, 0, nullptr,
                                            nullptr, nullptr, G_TYPE_NONE, 2, LXHF_TYPE_PURCHASE_RESULT, G_TYPE_STRING);
}

static void lxhf_purchase_page_init(LxhfPurchasePage*) {}

namespace {

void report(LxhfPurchasePage* self, const LXFermoPurchaseResult& result) {
    g_signal_emit(self, signals[SIGNAL_RESULT], 0, lxhf::gobject::resultOf(result), lxhf::gobject::messageOf(result));
}

// Drops the reference the page held on itself while its window was up.
void finish(LxhfPurchasePage* self, const std::optional<LXFermoPurchaseResult>& outcome) {
    self->finished = true;
    self->window = nullptr;
    if (outcome)
        g_signal_emit(self, signals[SIGNAL_FINISHED], 0, lxhf::gobject::resultOf(*outcome),
                      lxhf::gobject::messageOf(*outcome));
    else
        g_signal_emit(self, signals[SIGNAL_FINISHED], 0, LXHF_PURCHASE_RESULT_NONE, nullptr);
    g_object_unref(self);
}

}  // namespace

LxhfPurchasePage* lxhf_purchase_page_present(GtkWindow* parent, LxhfRoomDetails* room) {
    return lxhf_purchase_page_present_with_options(parent, room, nullptr);
}

LxhfPurchasePage* lxhf_purchase_page_present_with_options(GtkWindow* parent, LxhfRoomDetails* room,
                                                          LxhfPageOptions* options) {
    g_return_val_if_fail(parent == nullptr || GTK_IS_WINDOW(parent), nullptr);
    g_return_val_if_fail(lxhf::gobject::holdsRoom(room), nullptr);
    g_return_val_if_fail(options == nullptr || LXHF_IS_PAGE_OPTIONS(options), nullptr);
    if (!LXHotelsFermoSDK::shared().admitsCall("lxhf_purchase_page_present")) return nullptr;
    auto* self = static_cast<LxhfPurchasePage*>(g_object_new(LXHF_TYPE_PURCHASE_PAGE, nullptr));
    std::optional<std::string> url;
    // Why there is no address is logged by the library; the page says so.
    if (auto address = LXHotelsFermoSDK::shared().purchaseAddress(lxhf::gobject::roomOf(room)))
        url = std::move(address).value();
    g_object_ref(self);
    GtkWindow* window = LXPurchaseWindow::presentWithOutcome(
        parent, std::move(url), [self](const LXFermoPurchaseResult& result) { report(self, result); },
        [self](const std::optional<LXFermoPurchaseResult>& outcome) { finish(self, outcome); },
        lxhf::gobject::optionsOf(options));
    if (!self->finished) self->window = window;
    return self;
}

void lxhf_purchase_page_close(LxhfPurchasePage* self) {
    g_return_if_fail(LXHF_IS_PURCHASE_PAGE(self));
    if (!LXHotelsFermoSDK::shared().admitsCall("lxhf_purchase_page_close")) return;
    if (self->window) gtk_window_close(self->window);
}

GtkWindow* lxhf_purchase_page_get_window(LxhfPurchasePage* self) {
    g_return_val_if_fail(LXHF_IS_PURCHASE_PAGE(self), nullptr);
    if (!LXHotelsFermoSDK::shared().admitsCall("lxhf_purchase_page_get_window")) return nullptr;
    return self->window;
}
