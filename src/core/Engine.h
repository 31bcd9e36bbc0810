#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/Environment.h"
#include "core/EventReporter.h"
#include "core/OfferBoard.h"
#include "core/OfferPipeline.h"
#include "core/ServiceApi.h"
#include "core/SessionManager.h"
#include "platform/CacheDirectory.h"
#include "platform/NetworkMonitor.h"

namespace lxhf {

// The platform pieces an engine runs on; the facade supplies real ones,
// tests supply fakes or the local service.
struct EngineParts {
    MainQueue& queue;
    const Clock& clock;
    HttpClient& http;
    // Shared with the background worker, which alone touches the disk.
    std::shared_ptr<const CacheDirectory> cache;
    BackgroundQueue& background;
    LoggerSlot& log;
    SystemLog& systemLog;
    std::string intakeUrl;
    std::unique_ptr<NetworkMonitor> monitor;
    FetchSettings fetch{};
};

// Everything offers, sessions and events share: credentials and endpoints
// fixed at creation, the device description, the reachability flag. Made
// once per facade, lazily; writes into the facade's offer board. Main
// context only; the monitor's callback holds it weakly.
class LXCorvaneInternal : public std::enable_shared_from_this<LXCorvaneInternal> {
public:
    static std::shared_ptr<LXCorvaneInternal> create(OfferBoard& board, EngineParts parts, std::string token,
                                                     const std::string& systemVersion, bool isTablet,
                                                     LXEnvironment environment);

    void cacheOffers(const std::vector<LXRoomDetails>& rooms) { offers_->cacheOffers(rooms); }
    void refresh(LXRefresh type) { offers_->refresh(type); }
    void updateUser(const std::optional<std::string>& userId);
    LXResult<bool, LXErrorInfo> onShown(const LXOfferResponse& response) { return events_->onShown(response); }
    // Termination: the logger goes, the session store is emptied and saved.
    // The one call that blocks, as the process is ending: it writes the
    // empty file itself rather than wait for the worker.
    void removeStoredSession();

    const LXEnvironment& environment() const noexcept { return environment_; }
    SessionManager& sessions() noexcept { return *sessions_; }
    OfferPipeline& offers() noexcept { return *offers_; }
    EventReporter& events() noexcept { return *events_; }

    LXCorvaneInternal(OfferBoard& board, EngineParts parts, std::string token, LXEnvironment environment,
                      SessionManager::Device device);

private:
    void startMonitor();
    void pathChanged(bool satisfied);

    LXEnvironment environment_;
    EngineParts parts_;
    bool networkConnected_ = false;
    ServiceApi api_;
    std::shared_ptr<SessionManager> sessions_;
    std::shared_ptr<OfferPipeline> offers_;
    std::shared_ptr<EventReporter> events_;
};

}  // namespace lxhf
