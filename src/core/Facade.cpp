#include "core/Facade.h"

#include "platform/GLibBackgroundQueue.h"
#include "platform/GLibMainQueue.h"
#include "platform/GLibSystemLog.h"
#include "platform/LibsoupHttpClient.h"
#include "platform/SystemDeviceInfo.h"
#include "platform/SystemNetworkMonitor.h"
#include "platform/UserCacheDirectory.h"

using Impl = LXHotelsFermoSDK::Impl;

LXEnvironment Impl::environment() const {
    return lxhf::applyEndpoints(parts.overrides, LXEnvironment::forType(environmentType));
}

lxhf::LXCorvaneInternal& Impl::obtainEngine() {
    if (engine) return *engine;
    const LXEnvironment env = environment();
    // The monitor first: it makes GIO's default monitor here, before any
    // thread of ours starts and could be making types at the same moment.
    auto monitor = parts.makeMonitor ? parts.makeMonitor(env) : nullptr;
    http = parts.makeHttp(parts.overrides);
    cache = parts.makeCache(parts.overrides);
    if (!parts.background) parts.background = std::make_shared<lxhf::InlineBackgroundQueue>();
    lxhf::EngineParts engineParts{*parts.queue,
                                  *parts.clock,
                                  *http,
                                  cache,
                                  *parts.background,
                                  *loggerSlot,
                                  *parts.systemLog,
                                  parts.overrides.intakeUrl.value_or(lxhf::defaultIntakeLogsUrl()),
                                  std::move(monitor),
                                  {parts.fetchPolicy, parts.random}};
    engine = lxhf::LXCorvaneInternal::create(board, std::move(engineParts), token, parts.device->systemVersion(),
                                             parts.device->isTablet(), env);
    return *engine;
}

void Impl::onShown(const LXOfferResponse& response) {
    obtainEngine();
    std::weak_ptr<lxhf::LXCorvaneInternal> weak = engine;
    parts.queue->post([weak, response] {
        // A refusal (no session id yet) is dropped on purpose: the event is lost.
        if (auto made = weak.lock()) (void)made->onShown(response);
    });
}

std::unique_ptr<LXHotelsFermoSDK> Impl::makeFacade(lxhf::FacadeParts parts) {
    auto impl = std::make_unique<Impl>(std::move(parts));
    impl->ownLoggerSlot = std::make_unique<lxhf::LoggerSlot>();
    impl->loggerSlot = impl->ownLoggerSlot.get();
    return std::unique_ptr<LXHotelsFermoSDK>(new LXHotelsFermoSDK(std::move(impl)));
}

LXHotelsFermoSDK::LXHotelsFermoSDK(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

LXHotelsFermoSDK::~LXHotelsFermoSDK() {
    if (impl_->application && impl_->shutdownHandler)
        g_signal_handler_disconnect(impl_->application, impl_->shutdownHandler);
    if (impl_->application) g_object_unref(impl_->application);
}

LXHotelsFermoSDK& LXHotelsFermoSDK::shared() {
    // Deliberately never destroyed: hosts may still call in from exit handlers.
    static LXHotelsFermoSDK* const instance = [] {
        auto sdk = Impl::makeFacade(lxhf::systemParts());
        sdk->impl_->ownLoggerSlot.reset();
        sdk->impl_->loggerSlot = &lxhf::processLoggerSlot();
        return sdk.release();
    }();
    // Made after everything the instance uses, so destroyed before it: from
    // then on, calls from a host's exit handlers return at once.
    static const struct ExitMark {
        ~ExitMark() { lxhf::markProcessExiting(); }
    } exitMark;
    return *instance;
}

bool LXHotelsFermoSDK::admitsCall(std::string_view call) { return impl_->callers->admits(call); }

void LXHotelsFermoSDK::configure(std::string token, LXEnvironmentType environmentType) {
    if (!admitsCall("LXHotelsFermoSDK::configure")) return;
    impl_->token = std::move(token);
    impl_->environmentType = environmentType;
}

bool LXHotelsFermoSDK::setEndpoints(LXEndpoints endpoints) {
    if (!admitsCall("LXHotelsFermoSDK::setEndpoints")) return false;
    if (impl_->engine || !lxhf::usableEndpoints(endpoints)) return false;
    impl_->parts.overrides = std::move(endpoints);
    return true;
}

const LXEndpoints& LXHotelsFermoSDK::endpoints() const noexcept {
    // Never destroyed, so a refusal's answer outlives every exit handler.
    static const auto* const none = new LXEndpoints();
    if (!impl_->callers->admits("LXHotelsFermoSDK::endpoints")) return *none;
    return impl_->parts.overrides;
}

bool LXHotelsFermoSDK::setFetchPolicy(LXFetchPolicy policy) {
    if (!admitsCall("LXHotelsFermoSDK::setFetchPolicy")) return false;
    if (impl_->engine || !lxhf::usableFetchPolicy(policy)) return false;
    impl_->parts.fetchPolicy = policy;
    return true;
}

const LXFetchPolicy& LXHotelsFermoSDK::fetchPolicy() const noexcept {
    static const auto* const none = new LXFetchPolicy();
    if (!impl_->callers->admits("LXHotelsFermoSDK::fetchPolicy")) return *none;
    return impl_->parts.fetchPolicy;
}


void LXHotelsFermoSDK::updateUser(std::optional<std::string> userId) {
    if (admitsCall("LXHotelsFermoSDK::updateUser")) impl_->obtainEngine().updateUser(userId);
}

void LXHotelsFermoSDK::cacheOffers(const std::vector<LXRoomDetails>& rooms) {
    if (admitsCall("LXHotelsFermoSDK::cacheOffers")) impl_->obtainEngine().cacheOffers(rooms);
}

void LXHotelsFermoSDK::refreshCachedOffers(LXRefresh type) {
    if (admitsCall("LXHotelsFermoSDK::refreshCachedOffers")) impl_->obtainEngine().refresh(type);
}

const LXHotelsFermoSDK::Offers& LXHotelsFermoSDK::fermoOffers() const {
    static const auto* const none = new Offers();
    if (!impl_->callers->admits("LXHotelsFermoSDK::fermoOffers")) return *none;
    return impl_->board.offers();
}

std::optional<std::size_t> LXHotelsFermoSDK::offerIndex(const LXRoomDetails& room) const {
    if (!impl_->callers->admits("LXHotelsFermoSDK::offerIndex")) return std::nullopt;
    return impl_->board.indexOf(room);
}

void LXHotelsFermoSDK::setFermoOffers(Offers offers) {
    if (admitsCall("LXHotelsFermoSDK::setFermoOffers")) impl_->board.replaceAll(std::move(offers));
}

LXSubscription LXHotelsFermoSDK::subscribeFermoOffers(std::function<void(const Offers&)> onChange) {
    if (!admitsCall("LXHotelsFermoSDK::subscribeFermoOffers")) return {};
    auto inner = std::make_shared<LXSubscription>(impl_->board.publisher().subscribe(std::move(onChange)));
    // Ending it edits the subscriber list, which is the library thread's:
    // from another thread it is refused, and the subscription kept for good.
    return LXSubscription([callers = impl_->callers, inner] {
        if (callers->admits("LXSubscription::reset") || lxhf::processExiting())
            inner->reset();
        else
            (void)new std::shared_ptr<LXSubscription>(inner);
    });
}

void LXHotelsFermoSDK::applicationWillTerminate() {
    if (!admitsCall("LXHotelsFermoSDK::applicationWillTerminate")) return;
    if (impl_->engine) impl_->engine->removeStoredSession();
}

void LXHotelsFermoSDK::connectApplicationShutdown(GApplication* application) {
    if (!admitsCall("LXHotelsFermoSDK::connectApplicationShutdown")) return;
    if (!application || impl_->application) return;
    impl_->application = G_APPLICATION(g_object_ref(application));
    impl_->shutdownHandler = g_signal_connect_swapped(
        application, "shutdown", G_CALLBACK(+[](LXHotelsFermoSDK* sdk) { sdk->applicationWillTerminate(); }), this);
}

namespace lxhf {

FacadeParts systemParts() {
    FacadeParts parts;
    parts.queue = std::make_shared<GLibMainQueue>();
    parts.clock = std::make_shared<SystemClock>();
    parts.device = std::make_shared<SystemDeviceInfo>();
    parts.systemLog = std::make_shared<GLibSystemLog>();
    parts.background = std::make_shared<GLibBackgroundQueue>();
    parts.makeHttp = [](const EndpointOverrides& o) -> std::shared_ptr<HttpClient> {
        if (o.caFile) return std::make_shared<LibsoupHttpClient>(std::filesystem::path(*o.caFile));
        return std::make_shared<LibsoupHttpClient>();
    };
    parts.makeCache = [](const EndpointOverrides& o) -> std::shared_ptr<CacheDirectory> {
        if (o.cacheDirectory) return std::make_shared<UserCacheDirectory>(std::filesystem::path(*o.cacheDirectory));
        return std::make_shared<UserCacheDirectory>();
    };
    auto queue = parts.queue;
    parts.makeMonitor = [queue](const LXEnvironment& env) -> std::unique_ptr<NetworkMonitor> {
        return std::make_unique<SystemNetworkMonitor>(*queue, env.apiUrl);
    };
    return parts;
}

}  // namespace lxhf
