#pragma once

// The full-screen purchase page a host presents over its own window.

#include <functional>
#include <optional>
#include <string>

#include <gtk/gtk.h>

#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/ui/LXUIExport.h"

using LXPurchaseCallback = std::function<void(const LXFermoPurchaseResult&)>;

// Behaviour of the purchase page beyond what the microsite itself reports.
struct LXPurchasePageOptions {
    // Off by default: a page that fails to load, or never says it is ready,
    // then keeps its spinner turning until the user leaves. When on, either
    // becomes an `error` result and the page is dismissed.
    bool reportLoadFailures = false;
    // With reportLoadFailures: how long the page may take to say "ready".
    // Zero or less: no limit.
    double readyTimeoutSeconds = 30.0;
};

class LXHF_UI_EXPORT LXPurchaseWindow {
public:
    // Opens a fullscreen window, transient for `host`, showing the microsite
    // at `url`, or the line "Unable to load Fermo" when there is no address.
    // `callback` receives each result the page reports, on the main context.
    // The window closes itself when the page asks to be dismissed; `onClosed`
    // runs once when the window is gone, however it was closed. The page
    // logs through the shared facade's logger (the system log while there is
    // none). The returned window belongs to GTK: close it with
    // gtk_window_close, never unref it.
    static GtkWindow* present(GtkWindow* host, std::optional<std::string> url, LXPurchaseCallback callback,
                              std::function<void()> onClosed = {}, LXPurchasePageOptions options = {});
};
