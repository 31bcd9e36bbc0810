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
    GtkWindow* window = nullptr;
    bool gone = false;
    std::function<void()> onClosed;
};

void windowDestroyed(GtkWidget*, gpointer data) {
    auto* state = static_cast<std::shared_ptr<WindowState>*>(data);
    (*state)->gone = true;
    if (auto onClosed = std::exchange((*state)->onClosed, nullptr)) onClosed();
}

void freeState(gpointer data, GClosure*) { delete static_cast<std::shared_ptr<WindowState>*>(data); }

// The page asks to go from inside a WebKit signal; the window goes on the
// next turn of the loop so the web view is not torn down mid-emission.
std::function<void()> dismissLater(std::shared_ptr<WindowState> state) {
    return [state = std::move(state)] {
        g_idle_add_full(
            G_PRIORITY_DEFAULT_IDLE,
            [](gpointer data) -> gboolean {
                auto& s = *static_cast<std::shared_ptr<WindowState>*>(data);
                if (!s->gone) gtk_window_destroy(s->window);
                return G_SOURCE_REMOVE;
            },
            new std::shared_ptr<WindowState>(state),
            [](gpointer data) { delete static_cast<std::shared_ptr<WindowState>*>(data); });
    };
}

}  // namespace

GtkWindow* presentPurchaseWindow(PurchaseWindowSetup setup) {
    auto* window = GTK_WINDOW(gtk_window_new());
    if (setup.host) gtk_window_set_transient_for(window, setup.host);
    gtk_window_set_modal(window, TRUE);
    gtk_window_set_destroy_with_parent(window, TRUE);

    auto state = std::make_shared<WindowState>();
    state->window = window;
    state->onClosed = std::move(setup.onClosed);
    g_signal_connect_data(window, "destroy", G_CALLBACK(windowDestroyed), new std::shared_ptr<WindowState>(state),
                          freeState, GConnectFlags(0));
    g_object_set_data_full(G_OBJECT(window), kWindowStateKey, new std::shared_ptr<WindowState>(state),
                           [](gpointer data) { delete static_cast<std::shared_ptr<WindowState>*>(data); });

    if (setup.url) {
        WebViewSetup page;
        page.purchaseCallback = std::move(setup.purchaseCallback);
        page.dismiss = dismissLater(state);
        page.readMessage = std::move(setup.readMessage);
        page.warn = setup.warn ? std::move(setup.warn) : debugLog;
        page.launcher = std::move(setup.launcher);
        page.caFile = std::move(setup.caFile);
        page.networkSession = setup.networkSession;
        page.pageOptions = setup.pageOptions;
        auto& controller = WebViewController::create(*setup.url, std::move(page));
        gtk_window_set_child(window, controller.widget());
    } else {
        gtk_window_set_child(window, gtk_label_new(kUnableToLoadFermo));
    }

    gtk_window_fullscreen(window);
    gtk_window_present(window);
    return window;
}

void dismissPurchaseWindow(GtkWindow* window) {
    gpointer found = window ? g_object_get_data(G_OBJECT(window), kWindowStateKey) : nullptr;
    auto* data = static_cast<std::shared_ptr<WindowState>*>(found);
    if (!data || (*data)->gone) return;
    if (auto* page = WebViewController::from(gtk_window_get_child(window))) page->abandon();
    dismissLater(*data)();
}

}  // namespace lxhf::ui

GtkWindow* LXPurchaseWindow::present(GtkWindow* host, std::optional<std::string> url, LXPurchaseCallback callback,
                                     std::function<void()> onClosed, LXPurchasePageOptions options) {
    lxhf::ui::PurchaseWindowSetup setup;
    setup.host = host;
    setup.url = std::move(url);
    setup.purchaseCallback = std::move(callback);
    setup.onClosed = std::move(onClosed);
    setup.pageOptions = options;
    // The shared facade reads the page's messages and lends its extra CA, as
    // for its button wrappers.
    setup.caFile = LXHotelsFermoSDK::shared().endpoints().caFile;
    return lxhf::ui::presentPurchaseWindow(std::move(setup));
}
