#pragma once

// The facade's internals, for the presentation layer, tests and tools.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "LXHotelsFermo/LXHotelsFermoSDK.h"
#include "core/Engine.h"
#include "core/Environment.h"
#include "platform/DeviceInfo.h"
#include "platform/SystemLog.h"

namespace lxhf {

// What a facade is built from. The process-wide one uses the real GLib and
// libsoup services; tests pass fakes or point the real ones at a local service.
struct FacadeParts {
    std::shared_ptr<MainQueue> queue;
    std::shared_ptr<Clock> clock;
    std::shared_ptr<DeviceInfo> device;
    std::shared_ptr<SystemLog> systemLog;
    // Where answers are decoded and the session file written; work runs
    // inline on the main context when absent.
    std::shared_ptr<BackgroundQueue> background;
    // Made when the engine is made, so overrides set before then apply.
    std::function<std::shared_ptr<HttpClient>(const EndpointOverrides&)> makeHttp;
    std::function<std::shared_ptr<CacheDirectory>(const EndpointOverrides&)> makeCache;
    std::function<std::unique_ptr<NetworkMonitor>(const LXEnvironment&)> makeMonitor;
    EndpointOverrides overrides;
};

FacadeParts systemParts();

struct LXHF_EXPORT FacadeAccess {
    static std::unique_ptr<LXHotelsFermoSDK> make(FacadeParts parts);
    // Before the engine exists only; later calls change nothing the engine uses.
    static void setOverrides(LXHotelsFermoSDK& sdk, EndpointOverrides overrides);
    static const EndpointOverrides& overrides(const LXHotelsFermoSDK& sdk);

    static const std::string& token(const LXHotelsFermoSDK& sdk);
    // The environment in force, with any overrides applied.
    static LXEnvironment environment(const LXHotelsFermoSDK& sdk);
    static LXCorvaneInternal* engineIfMade(LXHotelsFermoSDK& sdk);
    static LXCorvaneInternal& engine(LXHotelsFermoSDK& sdk);
    static OfferBoard& board(LXHotelsFermoSDK& sdk);
    static LoggerSlot& log(LXHotelsFermoSDK& sdk);
    static MainQueue& queue(LXHotelsFermoSDK& sdk);
    // The presentation reports a shown offer; queued on the main context.
    static void onShown(LXHotelsFermoSDK& sdk, const LXOfferResponse& response);
};

}  // namespace lxhf
