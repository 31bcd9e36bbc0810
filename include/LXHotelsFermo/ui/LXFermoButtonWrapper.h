#pragma once

/// @file
/// The offer button a host shows for one room: the host draws the button for
/// each offer state, the library keeps it current and opens the purchase page.

#include <functional>
#include <string>

#include <gtk/gtk.h>

#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXHotelsFermoSDK.h"
#include "LXHotelsFermo/LXRoomDetails.h"
#include "LXHotelsFermo/ui/LXPurchaseWindow.h"
#include "LXHotelsFermo/ui/LXUIExport.h"

/// The offer button a host shows for one room: the host draws the button for
/// each offer state, the library keeps it current and opens the purchase page.
class LXHF_UI_EXPORT LXFermoButtonWrapper {
public:
    /// Builds the host's own widget for the room's current offer. `action`
    /// opens the purchase page, in any state; it does nothing while the page
    /// is up, and nothing once the wrapper is gone.
    using ButtonFactory = std::function<GtkWidget*(const LXFermoOffer& offer, std::function<void()> action)>;

    /// A floating widget holding the host's widget for `room`, rebuilt each
    /// time the room's offer state changes. While the facade does not know
    /// the room yet, an invisible placeholder asks it to fetch the offer each
    /// time it is mapped. `purchaseCallback` receives what the purchase page
    /// reports. Main context only; the facade must outlive the widget and the
    /// pages it opens. The next press opens a new page once the last one has
    /// ended. Once the widget is destroyed none of its callbacks is called
    /// again, and a page it opened is taken down without a result.
    ///
    /// This one uses the shared facade; the overloads that take `sdk` use that one.
    static GtkWidget* create(LXRoomDetails room, LXPurchaseCallback purchaseCallback, ButtonFactory button);
    /// The same, with the facade `sdk` instead of the shared one.
    static GtkWidget* create(LXRoomDetails room, LXPurchaseCallback purchaseCallback, ButtonFactory button,
                             LXHotelsFermoSDK& sdk);
    /// The same, with the page's final outcome handed to `onEnded` once per
    /// page, when it ends (see LXPurchaseEndCallback), and `options` for each
    /// page it opens.
    static GtkWidget* create(LXRoomDetails room, LXPurchaseCallback purchaseCallback, ButtonFactory button,
                             LXPurchaseEndCallback onEnded, LXPurchasePageOptions options = {});
    /// The same, with the facade `sdk` instead of the shared one.
    static GtkWidget* create(LXRoomDetails room, LXPurchaseCallback purchaseCallback, ButtonFactory button,
                             LXPurchaseEndCallback onEnded, LXPurchasePageOptions options, LXHotelsFermoSDK& sdk);

    /// The common case: a GtkButton labelled by `label` for each offer, whose
    /// "clicked" runs the action (kept alive by the button itself). It can be
    /// pressed only while the room's offer is available.
    static ButtonFactory labelledButton(std::function<std::string(const LXFermoOffer&)> label);
};
