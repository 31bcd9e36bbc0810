#pragma once

/// @file
/// What a host needs to show the purchase page in a web view of its own: the
/// page's address, the script its bridge needs, and what each message the page
/// posts asks of the view. LXFermoButtonWrapper does all of this for GTK.

#include <optional>
#include <string>
#include <string_view>

#include "LXHotelsFermo/LXExport.h"
#include "LXHotelsFermo/LXFermoOffer.h"

/// Why a room has no purchase address. A host shows "Unable to load Fermo"
/// instead of the page; nothing is reported to the purchase callback.
struct LXNoPurchaseAddress {
    /// Why there is no address.
    enum class Reason {
        noResponse,          ///< the service has not answered for the room yet
        notSignedFullOffer,  ///< its offer cannot be bought
        unencodable,         ///< its data could not be put into the address
    };
    /// Why there is no address.
    Reason reason;
    /// The line the library logged for it, e.g. "offerResponse is not a signedFullOffer".
    std::string message;
};

/// The bridge the page calls as window.CorvaneSDKBridge.event(name, data).
struct LXPurchasePageBridge {
    /// Register a script message handler under this name.
    static constexpr std::string_view handlerName = "CorvaneSDKBridge";
    /// Inject at document start into every frame, word for word. It posts
    /// {eventName, data} to the handler above, the way WebKit's
    /// window.webkit.messageHandlers does; another engine supplies that object.
    static constexpr std::string_view userScript =
        "    if (typeof window.CorvaneSDKBridge === 'undefined') {\n"
        "        window.CorvaneSDKBridge = {\n"
        "            event: function(eventName, data) {\n"
        "                if (!data) {\n"
        "                    data = {};\n"
        "                }\n"
        "                window.webkit.messageHandlers.CorvaneSDKBridge.postMessage({eventName: eventName, data: data});\n"
        "            }\n"
        "        };\n"
        "    }";
};

/// What one message from the page asks of the view, to be carried out in
/// this order: hand `result` to the purchase callback, stop the spinner,
/// take the page down.
struct LXPurchasePageAction {
    /// What the message was.
    enum class Kind {
        cancelled,  ///< "close"
        purchased,  ///< "purchased": the page stays; it sends "close" after
        error,      ///< "error", with the page's message or a fixed one
        ready,      ///< "ready": the page has loaded
        unknown,    ///< another event name; logged
        malformed,  ///< not {eventName: string, data: object}, or another handler; logged
    };
    /// What the message was.
    Kind kind;
    /// What to hand to the purchase callback, if anything.
    std::optional<LXFermoPurchaseResult> result;
    /// Whether to stop the spinner.
    bool stopSpinner = false;
    /// Whether to take the page down.
    bool dismiss = false;
};
