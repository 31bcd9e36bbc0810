#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "LXHotelsFermo/LXEnvironmentType.h"
#include "core/ServiceApi.h"
#include "core/SessionSource.h"
#include "infra/LoggerSlot.h"
#include "infra/SessionStore.h"
#include "model/SessionRecords.h"
#include "platform/BackgroundQueue.h"
#include "platform/CacheDirectory.h"
#include "platform/Clock.h"

namespace lxhf {

// Owns the current session and the store that carries it across launches
// for 14 days. Main context only; callbacks hold it weakly. Concurrent asks
// for a new session share one request. A new session's file is written on
// `background`, off the main context; emptying the file waits for that and
// writes at once, since it runs at termination.
class SessionManager : public SessionSource, public std::enable_shared_from_this<SessionManager> {
public:
    struct Device {
        LXPlatform platform;
        LXHardware type;
    };

    SessionManager(ServiceApi& api, const Clock& clock, CacheDirectory& cache, BackgroundQueue& background,
                   LoggerSlot& log, LoggerContext loggerContext, LXEnvironmentType environment, Device device);

    void currentSessionId(std::function<void(SessionIdResult)> done) override;
    std::optional<std::string> inMemorySessionId() const override;

    // True when the user changed; the caller then refreshes every offer.
    bool updateUser(const std::optional<std::string>& userId);
    // Drops the shared logger, then empties the store and saves it.
    void removeStoredSession();

    const std::optional<LXSession>& sessionIfMade() const noexcept { return session_; }

private:
    LXSession& session();
    SessionStore& store();
    LXDevice newDevice() const;
    void createSession(const LXSessionInputs& inputs);
    void finishCreation(LXResult<std::string, LXErrorInfo> created, const LXDevice& device);
    void ensureLogger();
    void saveStoreInBackground();

    ServiceApi& api_;
    const Clock& clock_;
    CacheDirectory& cache_;
    BackgroundQueue& background_;
    LoggerSlot& log_;
    LoggerContext loggerContext_;
    LXEnvironmentType environment_;
    Device device_;
    std::optional<LXSession> session_;
    std::unique_ptr<SessionStore> store_;
    std::optional<std::string> partnerUserId_;
    std::vector<std::function<void(SessionIdResult)>> waiting_;
};

// The locale sent with log records: the user's first language, "en_US" for C.
std::string currentLocale();

}  // namespace lxhf
