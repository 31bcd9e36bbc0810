#include "presentation/ui/PurchaseWindow.h"

#include <string>
#include <string_view>
#include <utility>

#include "LXHotelsFermo/LXHotelsFermoSDK.h"

namespace lxhf::ui {

namespace {

constexpr const char* kWindowStateKey = "lxhf-purchase-window";

void debugLog(std::string_view message) {
    const std::string text(message);
    g_log_structured("LXHotelsFermo", G_LOG_LEVEL_DEBUG, "MESSAGE", "%s", text.c_str());
}

struct WindowState {
    GtkWindow* window = nullptr;  // not a reference: the window's own data holds this state
    bool ended = false;
    std::optional<LXFermoPurchaseResult> outcome;
    LXPurchaseEndCallback onEnded;
};
using StatePtr = std::shared_ptr<WindowState>;

void freeState(gpointer data, GClosure*) { delete static_cast<StatePtr*>(data); }
void freeStateData(gpointer data) { delete static_cast<StatePtr*>(data); }

// A purchase, once reported, is what the page ends with whatever follows;
// otherwise the first result, which is the one that dismissed it.
void record(WindowState& s, const LXFermoPurchaseResult& result) {
    if (s.ended) return;
    if (result.kind() == LXFermoPurchaseResult::Kind::purchased || !s.outcome) s.outcome = result;
}

// Destroyed on the next turn of the loop, so nothing is torn down in the
// middle of one of its own or WebKit's emissions. A no-op for a window that
// is gone by then; the reference keeps its memory valid until then. Not an
// ordinary idle: a window whose frames take longer to draw than they last
// (software GL) never leaves the loop idle.
void destroyLater(GtkWindow* window) {
    g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](gpointer data) -> gboolean {
            gtk_window_destroy(GTK_WINDOW(data));
            return G_SOURCE_REMOVE;
        },
        g_object_ref(window), g_object_unref);
}

void endPage(const StatePtr& state, bool windowGoing) {
    if (state->ended) return;
    state->ended = true;
    GtkWindow* window = state->window;
    if (auto* page = WebViewController::from(gtk_window_get_child(window))) page->abandon();
    if (!windowGoing) destroyLater(window);
    if (auto onEnded = std::exchange(state->onEnded, nullptr)) onEnded(state->outcome);
}

// Signal entry points; each holds a reference to the state, freed with the connection.
// A window set to hide on close would stay, hidden, with a dead page in it.
gboolean closeRequested(GtkWindow* window, gpointer data) {
    endPage(*static_cast<StatePtr*>(data), !gtk_window_get_hide_on_close(window));
    return FALSE;
}
void visibilityChanged(GObject* window, GParamSpec*, gpointer data) {
    if (!gtk_widget_get_visible(GTK_WIDGET(window))) endPage(*static_cast<StatePtr*>(data), false);
}
// gtk_window_destroy unrealizes the window but runs its "destroy" only when
// it held the last reference: a host holding one would otherwise wait forever.
void unrealized(GtkWidget*, gpointer data) { endPage(*static_cast<StatePtr*>(data), true); }
void titleChanged(GObject* view, GParamSpec*, gpointer data) {
    const char* title = webkit_web_view_get_title(WEBKIT_WEB_VIEW(view));
    auto* window = static_cast<GtkWindow*>(data);
    const char* shown = title && *title ? title : kPageWindowTitle;
    gtk_window_set_title(window, shown);
    gtk_accessible_update_property(GTK_ACCESSIBLE(window), GTK_ACCESSIBLE_PROPERTY_LABEL, shown, -1);
}

template <typename Handler>
void connect(GtkWindow* window, const char* signal, Handler handler, const StatePtr& state,
             GConnectFlags flags = GConnectFlags(0)) {
    g_signal_connect_data(window, signal, G_CALLBACK(handler), new StatePtr(state), freeState, flags);
}

// Its own close button rather than the window controls': those are not in
// the focus chain, and a modal page has no use for minimise or maximise.
GtkWidget* headerBar() {
    GtkWidget* bar = gtk_header_bar_new();
    gtk_header_bar_set_show_title_buttons(GTK_HEADER_BAR(bar), FALSE);
    GtkWidget* close = gtk_button_new_from_icon_name("window-close-symbolic");
    gtk_widget_set_tooltip_text(close, "Close");
    gtk_accessible_update_property(GTK_ACCESSIBLE(close), GTK_ACCESSIBLE_PROPERTY_LABEL, "Close", -1);
    gtk_widget_add_css_class(close, "close");
    gtk_actionable_set_action_name(GTK_ACTIONABLE(close), "window.close");
    gtk_header_bar_pack_end(GTK_HEADER_BAR(bar), close);
    return bar;
}

// Escape closes the page even while the web view has the keyboard.
void closeOnEscape(GtkWindow* window) {
    GtkEventController* keys = gtk_shortcut_controller_new();
    gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
    gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(keys),
                                         gtk_shortcut_new(gtk_keyval_trigger_new(GDK_KEY_Escape, GdkModifierType(0)),
                                                          gtk_named_action_new("window.close")));
    gtk_widget_add_controller(GTK_WIDGET(window), keys);
}

void coverHost(GtkWindow* window, GtkWindow* host, bool fullscreen) {
    int width = host ? gtk_widget_get_width(GTK_WIDGET(host)) : 0;
    int height = host ? gtk_widget_get_height(GTK_WIDGET(host)) : 0;
    // A host not laid out yet has no size but its default one.
    if (host && (width <= 0 || height <= 0)) gtk_window_get_default_size(host, &width, &height);
    if (width <= 0 || height <= 0) {
        width = kDefaultPageWidth;
        height = kDefaultPageHeight;
    }
    gtk_window_set_default_size(window, width, height);
    if (fullscreen) gtk_window_fullscreen(window);
}

}  // namespace

GtkWindow* presentPurchaseWindow(PurchaseWindowSetup setup) {
    auto* window = GTK_WINDOW(gtk_window_new());
    if (setup.host) gtk_window_set_transient_for(window, setup.host);
    gtk_window_set_modal(window, TRUE);
    gtk_window_set_destroy_with_parent(window, TRUE);
    gtk_window_set_title(window, kPageWindowTitle);
    gtk_accessible_update_property(GTK_ACCESSIBLE(window), GTK_ACCESSIBLE_PROPERTY_LABEL, kPageWindowTitle, -1);
    gtk_window_set_titlebar(window, headerBar());
    closeOnEscape(window);
    coverHost(window, setup.host, setup.pageOptions.fullscreen);

    auto state = std::make_shared<WindowState>();
    state->window = window;
    state->onEnded = std::move(setup.onEnded);
    // After the default handler, so a close a host's handler refused is not an end.
    connect(window, "close-request", &closeRequested, state, G_CONNECT_AFTER);
    connect(window, "notify::visible", &visibilityChanged, state);
    connect(window, "unrealize", &unrealized, state);
    connect(window, "destroy", &unrealized, state);
    g_object_set_data_full(G_OBJECT(window), kWindowStateKey, new StatePtr(state), freeStateData);

    if (setup.url) {
        WebViewSetup page;
        page.purchaseCallback = [weak = std::weak_ptr<WindowState>(state),
                                 callback = std::move(setup.purchaseCallback)](const LXFermoPurchaseResult& result) {
            if (auto s = weak.lock()) record(*s, result);
            if (callback) callback(result);
        };
        page.dismiss = [window] { destroyLater(window); };
        page.readMessage = std::move(setup.readMessage);
        page.warn = setup.warn ? std::move(setup.warn) : debugLog;
        page.launcher = std::move(setup.launcher);
        page.caFile = std::move(setup.caFile);
        page.networkSession = setup.networkSession;
        page.pageOptions = setup.pageOptions;
        page.requestTimeoutSeconds = setup.requestTimeoutSeconds;
        auto& controller = WebViewController::create(*setup.url, std::move(page));
        gtk_window_set_child(window, controller.widget());
        g_signal_connect_object(controller.webView(), "notify::title", G_CALLBACK(&titleChanged), window,
                                GConnectFlags(0));
        gtk_window_set_focus(window, GTK_WIDGET(controller.webView()));
    } else {
        gtk_window_set_child(window, gtk_label_new(kUnableToLoadFermo));
    }

    gtk_window_present(window);
    return window;
}

void dismissPurchaseWindow(GtkWindow* window) {
    gpointer found = window ? g_object_get_data(G_OBJECT(window), kWindowStateKey) : nullptr;
    auto* data = static_cast<StatePtr*>(found);
    if (!data || (*data)->ended) return;
    if (auto* page = WebViewController::from(gtk_window_get_child(window))) page->abandon();
    destroyLater(window);
}

}  // namespace lxhf::ui

GtkWindow* LXPurchaseWindow::presentWithOutcome(GtkWindow* host, std::optional<std::string> url,
                                                LXPurchaseCallback callback, LXPurchaseEndCallback onEnded,
                                                LXPurchasePageOptions options) {
    if (!LXHotelsFermoSDK::shared().admitsCall("LXPurchaseWindow::present")) return nullptr;
    lxhf::ui::PurchaseWindowSetup setup;
    setup.host = host;
    setup.url = std::move(url);
    setup.purchaseCallback = std::move(callback);
    setup.onEnded = std::move(onEnded);
    setup.pageOptions = options;
    // The shared facade reads the page's messages and lends its extra CA, as
    // for its button wrappers.
    setup.caFile = LXHotelsFermoSDK::shared().endpoints().caFile;
    return lxhf::ui::presentPurchaseWindow(std::move(setup));
}

GtkWindow* LXPurchaseWindow::present(GtkWindow* host, std::optional<std::string> url, LXPurchaseCallback callback,
                                     std::function<void()> onClosed, LXPurchasePageOptions options) {
    LXPurchaseEndCallback onEnded;
    if (onClosed) onEnded = [onClosed = std::move(onClosed)](const std::optional<LXFermoPurchaseResult>&) { onClosed(); };
    return presentWithOutcome(host, std::move(url), std::move(callback), std::move(onEnded), options);
}
