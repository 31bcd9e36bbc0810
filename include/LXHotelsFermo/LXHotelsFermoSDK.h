#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "LXHotelsFermo/LXEnvironmentType.h"
#include "LXHotelsFermo/LXExport.h"
#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXPublisher.h"
#include "LXHotelsFermo/LXRoomDetails.h"

typedef struct _GApplication GApplication;
namespace lxhf { struct FacadeAccess; }

// The library's one entry point. Call it from the GLib main context of the
// thread that first used it; nothing here blocks, and every failure stays
// inside (logged, or shown as a room's error state).
//
// Call configure() first: the engine is made on the first other call from
// the token and environment of that moment, and kept for the process.
class LXHF_EXPORT LXHotelsFermoSDK {
public:
    using Offers = std::vector<LXFermoOffer>;

    static LXHotelsFermoSDK& shared();

    void configure(std::string token, LXEnvironmentType environmentType);
    void updateUser(std::optional<std::string> userId);
    // Lists each new room as loading and fetches its offer.
    void cacheOffers(const std::vector<LXRoomDetails>& rooms);
    void refreshCachedOffers(LXRefresh type);

    // Every room handed in, in first-seen order, with its offer state.
    const Offers& fermoOffers() const;
    void setFermoOffers(Offers offers);
    // Delivers the current list at once, then every change, on the main context.
    [[nodiscard]] LXSubscription subscribeFermoOffers(std::function<void(const Offers&)> onChange);

    // Empties the stored session. Call at normal shutdown, or let
    // connectApplicationShutdown() do it on the application's "shutdown".
    void applicationWillTerminate();
    void connectApplicationShutdown(GApplication* application);

    ~LXHotelsFermoSDK();
    LXHotelsFermoSDK(const LXHotelsFermoSDK&) = delete;
    LXHotelsFermoSDK& operator=(const LXHotelsFermoSDK&) = delete;

private:
    struct Impl;
    explicit LXHotelsFermoSDK(std::unique_ptr<Impl> impl);
    friend struct lxhf::FacadeAccess;
    std::unique_ptr<Impl> impl_;
};
