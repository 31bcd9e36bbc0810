#include "core/Engine.h"

namespace lxhf {

std::shared_ptr<LXCorvaneInternal> LXCorvaneInternal::create(OfferBoard& board, EngineParts parts, std::string token,
                                                             const std::string& systemVersion, bool isTablet,
                                                             LXEnvironment environment) {
    SessionManager::Device device{LXPlatform{{systemVersion, LXType::i_os}, LXSoftware::app},
                                  isTablet ? LXHardware::tablet : LXHardware::mobile};
    auto engine = std::make_shared<LXCorvaneInternal>(board, std::move(parts), std::move(token),
                                                      std::move(environment), device);
    // Concurrent batches need as many connections to the service at once.
    engine->parts_.http.allowConcurrentRequests(engine->parts_.fetch.policy.maxConcurrentBatches);
    engine->startMonitor();
    engine->sessions_->loadStoreAhead();
    return engine;
}

LXCorvaneInternal::LXCorvaneInternal(OfferBoard& board, EngineParts parts, std::string token,
                                     LXEnvironment environment, SessionManager::Device device)
    : environment_(std::move(environment)), parts_(std::move(parts)),
      api_(parts_.http, environment_.apiUrl, std::move(token)),
      sessions_(std::make_shared<SessionManager>(
          api_, parts_.clock, parts_.cache, parts_.background, parts_.log, LoggerContext{parts_.http, parts_.systemLog, parts_.intakeUrl},
          environment_.type, device)),
      offers_(std::make_shared<OfferPipeline>(board, *sessions_, api_, parts_.queue, parts_.background,
                                              parts_.log, networkConnected_, parts_.fetch)),
      events_(std::make_shared<EventReporter>(*sessions_, api_, parts_.queue, parts_.clock, parts_.log,
                                              networkConnected_)) {}

void LXCorvaneInternal::startMonitor() {
    if (!parts_.monitor) return;
    std::weak_ptr<LXCorvaneInternal> weak = weak_from_this();
    parts_.monitor->start([weak](bool satisfied) {
        if (auto self = weak.lock()) self->pathChanged(satisfied);
    });
}

void LXCorvaneInternal::pathChanged(bool satisfied) {
    networkConnected_ = satisfied;
    if (!satisfied) return;
    offers_->resume();
    events_->resume();
}

void LXCorvaneInternal::removeStoredSession() {
    sessions_->removeStoredSessionNow();
}

void LXCorvaneInternal::updateUser(const std::optional<std::string>& userId) {
    if (sessions_->updateUser(userId)) offers_->refresh(LXRefresh::all);
}

}  // namespace lxhf
