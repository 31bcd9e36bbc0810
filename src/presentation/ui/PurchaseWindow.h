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
// The window's title until the page has one of its own.
inline constexpr const char* kPageWindowTitle = "Fermo";
// Without a host window to cover.
inline constexpr int kDefaultPageWidth = 960;
inline constexpr int kDefaultPageHeight = 720;

// Everything the purchase window needs; the public LXPurchaseWindow fills in
// the defaults, the button wrapper and the tests fill in the rest.
struct PurchaseWindowSetup {
    GtkWindow* host = nullptr;
    std::optional<std::string> url;  // absent: the fallback line instead of the page
    LXPurchaseCallback purchaseCallback;
    LXPurchaseEndCallback onEnded;   // once, when the page ends, with its final outcome
    LXPurchasePageOptions pageOptions;
    PageMessageReader readMessage;                  // empty: the process facade's
    WarningSink warn;                               // empty: GLib's debug log
    std::shared_ptr<UriLauncher> launcher;          // null: the desktop's browser
    std::optional<std::string> caFile;              // the library's extra CA, if any
    WebKitNetworkSession* networkSession = nullptr;  // tests only
    double requestTimeoutSeconds = WebViewController::kRequestTimeoutSeconds;  // tests only
};

// A modal window with a header bar, transient for the host and destroyed
// with it, the host's size (or full screen when asked). Main context only;
// the window belongs to GTK's list of toplevels.
//
// The page ends the first time its window is closed (close-request that goes
// through), hidden, unrealized or destroyed, whoever holds references to it:
// its bridge and timers stop, onEnded runs, and the window is destroyed if
// it is not already going.
GtkWindow* presentPurchaseWindow(PurchaseWindowSetup setup);

// Takes a window presentPurchaseWindow made down on the next turn of the
// loop, unless it is gone by then. Nothing is reported to its callback for
// this; onEnded still runs, with no outcome unless the page reported one.
void dismissPurchaseWindow(GtkWindow* window);

}  // namespace lxhf::ui
