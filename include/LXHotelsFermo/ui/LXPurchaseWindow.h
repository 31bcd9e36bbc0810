#pragma once

/// @file
/// The purchase page a host presents over its own window.

#include <functional>
#include <optional>
#include <string>

#include <gtk/gtk.h>

#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/ui/LXUIExport.h"

/// Receives each result the purchase page reports, on the main context.
using LXPurchaseCallback = std::function<void(const LXFermoPurchaseResult&)>;

/// Runs once when a purchase page ends, however it ends, with its final
/// outcome: `purchased` if the page reported a purchase at any point (it sends
/// "close" after one, which the purchase callback receives as `cancelled`);
/// otherwise the `cancelled` or `error` that ended it; absent when the
/// traveller left by the window's close button, Escape or the window manager.
using LXPurchaseEndCallback = std::function<void(const std::optional<LXFermoPurchaseResult>& outcome)>;

/// Behaviour of the purchase page beyond what the microsite itself reports.
struct LXPurchasePageOptions {
    /// Off by default: a page that fails to load, or never says it is ready,
    /// then keeps its spinner turning until the user leaves, and nothing is
    /// reported. When on, every failure of the page ends in exactly one
    /// `error` result and the page is dismissed. The error's message, word
    /// for word:
    ///
    ///     "Unable to load the purchase page: " followed by one of
    ///       "the host name could not be resolved"
    ///       "the host could not be reached"
    ///       "the connection was refused"
    ///       "the connection timed out"
    ///       "its certificate is not trusted"
    ///       "the secure connection could not be set up"
    ///       "the answer was not valid HTTP"
    ///       "the connection closed before the whole page arrived"
    ///       "the service answered with HTTP status N" (N from 500 to 599)
    ///       "no answer within 60 seconds"
    ///       or, for a failure of no class above, WebKit's own description;
    ///     "The purchase page stopped: its web process " followed by
    ///       "crashed", "ran out of memory" or "was ended";
    ///     "The purchase page was not ready within N seconds".
    ///
    /// Only the page's own first load can fail it, and that lasts until the
    /// page has said "ready" and finished loading: a page it moves on to by
    /// script or meta refresh before then counts. After that, a link in the
    /// page that fails, or answers with an error status, is the page's
    /// business. Its web process ending fails it at any time. "purchased"
    /// still leaves the page up; after the failure, or the page's "close" or
    /// "error", nothing more is reported.
    bool reportLoadFailures = false;
    /// With reportLoadFailures: how long the page may take to say "ready".
    /// Zero or less: no limit.
    double readyTimeoutSeconds = 30.0;
    /// Off by default: the page is a modal window the size of the host's
    /// window, centred on it (960x720 without one). On: the whole monitor,
    /// for a kiosk. Either way it can be closed with its close button and
    /// Escape.
    bool fullscreen = false;
};

/// The purchase page in a window of its own over the host's.
class LXHF_UI_EXPORT LXPurchaseWindow {
public:
    /// Opens a modal window, transient for `host` and covering it, titled
    /// with the page's title ("Fermo" until it has one), showing the
    /// microsite at `url`, or the line "Unable to load Fermo" when there is
    /// no address. `callback` receives each result the page reports, on the
    /// main context. The window closes itself when the page asks to be
    /// dismissed; its close button, Escape and the window manager close it
    /// without a result. The page ends when its window is closed, hidden or
    /// destroyed, whoever holds a reference to it: `onClosed` then runs once.
    /// The page logs through the shared facade's logger, and not at all while
    /// there is none. The returned window belongs to GTK: close it with
    /// gtk_window_close, never unref it.
    static GtkWindow* present(GtkWindow* host, std::optional<std::string> url, LXPurchaseCallback callback,
                              std::function<void()> onClosed = {}, LXPurchasePageOptions options = {});

    /// The same, with the page's final outcome handed to `onEnded` once it ends.
    static GtkWindow* presentWithOutcome(GtkWindow* host, std::optional<std::string> url,
                                         LXPurchaseCallback callback, LXPurchaseEndCallback onEnded,
                                         LXPurchasePageOptions options = {});
};
