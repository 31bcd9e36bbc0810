#pragma once

/// @file
/// The library's one entry point.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "LXHotelsFermo/LXEndpoints.h"
#include "LXHotelsFermo/LXEnvironmentType.h"
#include "LXHotelsFermo/LXExport.h"
#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXFetchPolicy.h"
#include "LXHotelsFermo/LXOfferTerms.h"
#include "LXHotelsFermo/LXPublisher.h"
#include "LXHotelsFermo/LXPurchasePage.h"
#include "LXHotelsFermo/LXResult.h"
#include "LXHotelsFermo/LXRoomDetails.h"

typedef struct _GApplication GApplication;

/// The library's one entry point. Call it from the GLib main context of the
/// thread that first used it; nothing here blocks, and every failure stays
/// inside (logged, or shown as a room's error state).
///
/// Threads: the library notes the thread of the first call. A call from any
/// other thread logs one GLib critical naming the call and returns at once,
/// changing nothing: false, nothing, an empty list or an error, as its type
/// allows. Calls made while the process exits (a host's static destructor or
/// atexit handler) return the same way, silently.
///
/// Callbacks: any call here may be made from inside any of the library's
/// callbacks (see LXPublisher for what a subscriber then sees).
///
/// Call configure() first: the engine is made on the first other call from
/// the token and environment of that moment, and kept for the process.
class LXHF_EXPORT LXHotelsFermoSDK {
public:
    /// The list of rooms and their offer states.
    using Offers = std::vector<LXFermoOffer>;

    /// The one facade of the process, made on first use and never destroyed,
    /// so exit handlers may still call it.
    static LXHotelsFermoSDK& shared();

    /// Sets the token and the environment the engine is made with; a later
    /// call changes only what an engine not yet made uses, and the purchase
    /// address.
    void configure(std::string token, LXEnvironmentType environmentType);
    /// Points the library elsewhere (see LXEndpoints), like configure() before
    /// the engine is made. Returns false, changing nothing, once it exists or
    /// when an address given is not an absolute http or https URL with a host.
    bool setEndpoints(LXEndpoints endpoints);
    /// The endpoints set with setEndpoints(); every field absent if none were.
    const LXEndpoints& endpoints() const noexcept;
    /// Opts in to concurrent batches, retries and requeued late rooms (see
    /// LXFetchPolicy), like setEndpoints() before the engine is made. Returns
    /// false, changing nothing, once it exists or when a field is out of range
    /// (no batches, a delay that is not a positive number, no attempts).
    bool setFetchPolicy(LXFetchPolicy policy);
    /// The policy set with setFetchPolicy(), or the default one.
    const LXFetchPolicy& fetchPolicy() const noexcept;
    /// Names the traveller, or nobody. A new id empties the stored session
    /// and fetches every offer again.
    void updateUser(std::optional<std::string> userId);
    /// Lists each new room as loading and fetches its offer.
    void cacheOffers(const std::vector<LXRoomDetails>& rooms);
    /// Fetches offers again, as `type` says (see LXRefresh).
    void refreshCachedOffers(LXRefresh type);

    /// Every room handed in, in first-seen order, with its offer state. Valid
    /// until the next call that changes the list; copy it to keep it longer.
    const Offers& fermoOffers() const;
    /// Where `room` stands in fermoOffers(), found through an index, not a scan.
    std::optional<std::size_t> offerIndex(const LXRoomDetails& room) const;
    /// Replaces the list, and tells every subscriber.
    void setFermoOffers(Offers offers);
    /// Delivers the current list at once, then every change, on the main context.
    [[nodiscard]] LXSubscription subscribeFermoOffers(std::function<void(const Offers&)> onChange);

    /// @name Presenting the purchase page
    /// Presenting the purchase page in a view of the host's own; the GTK
    /// button wrapper is built on these.
    /// @{

    /// The page's address for `room`, from its latest signed full offer, the
    /// token and the session; or why there is none, which is logged (at info
    /// level when there is no signed full offer). Compose it when the room's
    /// button is built and again whenever offerResponseRevision(room)
    /// changes; show the page at the address composed last.
    LXResult<std::string, LXNoPurchaseAddress> purchaseAddress(const LXRoomDetails& room);
    /// Changes each time the service's answer for `room` is replaced; 0
    /// while there is none.
    std::uint64_t offerResponseRevision(const LXRoomDetails& room) const;
    /// The terms of `room`'s offer when its latest answer is a signed full
    /// offer, as the service sent them; nothing otherwise. Read-only.
    std::optional<LXOfferTerms> offerTerms(const LXRoomDetails& room) const;
    /// Call each time the room's button appears: reports its offer as shown
    /// (sent in batches), or logs that the room has no answer yet.
    void reportShown(const LXRoomDetails& room);
    /// One message the page posted to the handler `handlerName`, as JSON
    /// text: logs what the bridge logs and says what the view must do.
    LXPurchasePageAction pageMessage(std::string_view bodyJson,
                                     std::string_view handlerName = LXPurchasePageBridge::handlerName);
    /// @}

    /// Empties the stored session. Call at normal shutdown, or let
    /// connectApplicationShutdown() do it on the application's "shutdown".
    void applicationWillTerminate();
    /// Calls applicationWillTerminate() when `application` emits "shutdown";
    /// only the first application given counts.
    void connectApplicationShutdown(GApplication* application);

    /// For layers built over this API (the widgets, the GObject API): true on
    /// the library's thread; elsewhere logs the critical naming `call`, as a
    /// call of this class would, and returns false.
    bool admitsCall(std::string_view call);

    /// Disconnects from the application given to connectApplicationShutdown().
    ~LXHotelsFermoSDK();
    /// There is one facade; it is not copied.
    LXHotelsFermoSDK(const LXHotelsFermoSDK&) = delete;
    /// There is one facade; it is not copied.
    LXHotelsFermoSDK& operator=(const LXHotelsFermoSDK&) = delete;

    struct Impl;  // the library's own; opaque to hosts

private:
    explicit LXHotelsFermoSDK(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};
