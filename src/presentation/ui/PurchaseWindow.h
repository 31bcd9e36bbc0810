#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include "LXHotelsFermo/ui/LXPurchaseWindow.h"
#include "presentation/ui/UriLauncher.h"
#include "presentation/ui/WebViewController.h"

namespace lxhf::ui {

inline constexpr const char* kUnableToLoadFermo = "Unable to load Fermo";

// Everything the purchase window needs; the public LXPurchaseWindow fills in
// the defaults, the button wrapper and the tests fill in the rest.
struct PurchaseWindowSetup {
    GtkWindow* host = nullptr;
    std::optional<std::string> url;  // absent: the fallback line instead of the page
    LXPurchaseCallback purchaseCallback;
    std::function<void()> onClosed;  // once, when the window is gone
    LXPurchasePageOptions pageOptions;
    PageMessageReader readMessage;                  // empty: the process facade's
    WarningSink warn;                               // empty: GLib's debug log
    std::shared_ptr<UriLauncher> launcher;          // null: the desktop's browser
    std::optional<std::string> caFile;              // the library's extra CA, if any
    WebKitNetworkSession* networkSession = nullptr;  // tests only
};

// A fullscreen window, modal and transient for the host, destroyed with it.
// Main context only; the window belongs to GTK's list of toplevels.
GtkWindow* presentPurchaseWindow(PurchaseWindowSetup setup);

// Takes a window presentPurchaseWindow made down on the next turn of the
// loop, unless it is gone by then. Nothing is reported to its callback for
// this; onClosed still runs.
void dismissPurchaseWindow(GtkWindow* window);

}  // namespace lxhf::ui
