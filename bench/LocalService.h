#pragma once

// The local HTTPS service on its own thread, one per benchmark process, and
// a way to run the default main context until something has happened.

#include <glib.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>

#include "BenchRooms.h"
#include "FermoTestService.h"
#include "core/Facade.h"
#include "platform/LibsoupHttpClient.h"
#include "support/ManualNetworkMonitor.h"

namespace lxhf::bench {

inline testing::FermoTestService& localService() {
    static testing::FermoTestService* running = [] {
        auto* s = new testing::FermoTestService();
        std::string error;
        if (!s->startOnOwnThread(&error)) benchFailure("the test service did not start: " + error);
        return s;
    }();
    return *running;
}

// A facade on the real services, pointed at `service` (in this process or
// not) with its session file in `cacheFolder`; the path always counts as
// satisfied, since reachability is not what is measured. `client` is set to
// the HTTP client it makes.
template <class Service>
std::unique_ptr<LXHotelsFermoSDK> liveFacade(Service& service, const std::string& cacheFolder,
                                             LibsoupHttpClient*& client) {
    FacadeParts parts = systemParts();
    parts.makeHttp = [&client](const EndpointOverrides& o) -> std::shared_ptr<HttpClient> {
        auto made = std::make_shared<LibsoupHttpClient>(std::filesystem::path(*o.caFile));
        client = made.get();
        return made;
    };
    parts.makeMonitor = [](const LXEnvironment&) -> std::unique_ptr<NetworkMonitor> {
        return std::make_unique<test::ManualNetworkMonitor>(true);
    };
    auto sdk = FacadeAccess::make(std::move(parts));
    sdk->setEndpoints(
        LXEndpoints{service.apiBase(), service.micrositeBase(), service.intakeUrl(), service.caFile(), cacheFolder});
    return sdk;
}

// `liveFacade`, asking for `width` batches at once, configured.
template <class Service>
std::unique_ptr<LXHotelsFermoSDK> configuredFacade(Service& service, const std::string& cacheFolder,
                                                   LibsoupHttpClient*& client, std::uint32_t width) {
    auto sdk = liveFacade(service, cacheFolder, client);
    LXFetchPolicy policy;
    policy.maxConcurrentBatches = width;
    if (!sdk->setFetchPolicy(policy)) benchFailure("the fetch policy was refused");
    sdk->configure("bench-token", LXEnvironmentType::staging);
    return sdk;
}

// When the first list of `rooms` offers, all available, was published.
struct SettleWatch {
    bool settled = false;
    std::chrono::steady_clock::time_point end;
};

inline LXSubscription watchSettled(LXHotelsFermoSDK& sdk, std::size_t rooms, SettleWatch& watch) {
    return sdk.subscribeFermoOffers([&watch, rooms](const LXHotelsFermoSDK::Offers& offers) {
        if (watch.settled || offers.size() != rooms) return;
        const auto available = [](const LXFermoOffer& o) {
            return o.state.kind() == LXFermoOfferState::Kind::available;
        };
        if (std::all_of(offers.begin(), offers.end(), available)) {
            watch.settled = true;
            watch.end = std::chrono::steady_clock::now();
        }
    });
}

template <class Done>
void iterateUntil(Done done, double timeoutSeconds = 20.0) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() > limit) benchFailure("timed out waiting on the main context");
        g_main_context_iteration(nullptr, TRUE);
    }
}

inline void iterateFor(double seconds) {
    bool over = false;
    g_timeout_add_full(
        G_PRIORITY_DEFAULT, static_cast<guint>(seconds * 1000.0),
        [](gpointer flag) {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_REMOVE;
        },
        &over, nullptr);
    iterateUntil([&] { return over; }, seconds + 20.0);
}

}  // namespace lxhf::bench
