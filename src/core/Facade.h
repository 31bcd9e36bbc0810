#pragma once

// The facade's internals: what it is built from, and its state.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <gio/gio.h>

#include "LXHotelsFermo/LXHotelsFermoSDK.h"
#include "core/CallerCheck.h"
#include "core/Engine.h"
#include "core/FetchPolicy.h"
#include "core/Environment.h"
#include "infra/LoggerSlot.h"
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
    LXFetchPolicy fetchPolicy;
    // Uniform in [0, 1), for retry jitter; g_random_double() when absent.
    std::function<double()> random;
};

FacadeParts systemParts();

}  // namespace lxhf

// The facade's state. Nested in the facade, so it may make facades and
// reach theirs; the process-wide one and the test factory both go through it.
struct __attribute__((visibility("hidden"))) LXHotelsFermoSDK::Impl {
    explicit Impl(lxhf::FacadeParts p) : parts(std::move(p)) {}

    static std::unique_ptr<LXHotelsFermoSDK> makeFacade(lxhf::FacadeParts parts);
    static Impl& of(LXHotelsFermoSDK& sdk) { return *sdk.impl_; }
    static const Impl& of(const LXHotelsFermoSDK& sdk) { return *sdk.impl_; }

    lxhf::FacadeParts parts;
    std::shared_ptr<lxhf::CallerCheck> callers = std::make_shared<lxhf::CallerCheck>();
    std::string token;
    LXEnvironmentType environmentType = LXEnvironmentType::staging;
    lxhf::OfferBoard board;
    std::shared_ptr<lxhf::HttpClient> http;
    std::shared_ptr<lxhf::CacheDirectory> cache;
    std::unique_ptr<lxhf::LoggerSlot> ownLoggerSlot;  // null for the process facade
    lxhf::LoggerSlot* loggerSlot = nullptr;
    std::shared_ptr<lxhf::LXCorvaneInternal> engine;
    gulong shutdownHandler = 0;
    GApplication* application = nullptr;

    LXEnvironment environment() const;
    lxhf::LXCorvaneInternal& obtainEngine();
    // Queued on the main context, as a shown report hops there.
    void onShown(const LXOfferResponse& response);
};

namespace lxhf {

// Tests only (not in the shared library): facades from parts, and a look inside.
struct FacadeAccess {
    static std::unique_ptr<LXHotelsFermoSDK> make(FacadeParts parts);
    static const std::string& token(const LXHotelsFermoSDK& sdk);
    // The environment in force, with any overrides applied.
    static LXEnvironment environment(const LXHotelsFermoSDK& sdk);
    static LXCorvaneInternal* engineIfMade(LXHotelsFermoSDK& sdk);
    static LXCorvaneInternal& engine(LXHotelsFermoSDK& sdk);
    static OfferBoard& board(LXHotelsFermoSDK& sdk);
    static LoggerSlot& log(LXHotelsFermoSDK& sdk);
};

}  // namespace lxhf
