#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
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
// for a new session share one request when they would send the same inputs.
// The session file is read and written on `background`, whose items run in
// order: the emptying that a user change asks for lands after every earlier
// write and before any later one. Termination alone writes on the main
// context, at once, and no save queued before it lands after it.
class SessionManager : public SessionSource, public std::enable_shared_from_this<SessionManager> {
public:
    struct Device {
        LXPlatform platform;
        LXHardware type;
    };

    SessionManager(ServiceApi& api, const Clock& clock, std::shared_ptr<const CacheDirectory> cache,
                   BackgroundQueue& background, LoggerSlot& log, LoggerContext loggerContext,
                   LXEnvironmentType environment, Device device);

    // Starts reading the session file, so the first fetch, 0.2 s later, finds
    // it read.
    void loadStoreAhead();
    void currentSessionId(std::function<void(SessionIdResult)> done) override;
    std::optional<std::string> inMemorySessionId() const override;
    bool lastFailureTransient() const override { return lastFailureTransient_; }
    std::optional<Seconds> lastFailureRetryAfter() const override { return lastRetryAfter_; }

    // True when the user changed; the caller then refreshes every offer.
    bool updateUser(const std::optional<std::string>& userId);
    // Drops the shared logger, then empties the store and queues its save.
    void removeStoredSession();
    // The same at termination, but the empty store is written before this
    // returns. Blocks for that write, and at most for a save the worker is
    // writing at that moment, never for the rest of the worker's queue.
    void removeStoredSessionNow();

    const std::optional<LXSession>& sessionIfMade() const noexcept { return session_; }

private:
    // Callers waiting for one "sessions" answer, all asking with the same user.
    struct Creation {
        std::optional<std::string> partnerUserId;
        std::vector<std::function<void(SessionIdResult)>> waiting;
    };

    LXSession& session();
    LXDevice newDevice() const;
    // What the worker read; absent when there was no cache directory.
    using StoreRead = std::optional<LXResult<std::unique_ptr<SessionStore>, StoreError>>;

    // Runs `then` once the store is loaded, loading it on `background` first.
    void withStore(std::function<void()> then);
    void storeLoaded(StoreRead read);
    SessionStore& emptyStore();
    void lookUpSession(std::function<void(SessionIdResult)> done);
    void createSession(const LXSessionInputs& inputs);
    LXResult<std::string, LXErrorInfo> readCreation(const HttpResult& result);
    void finishCreation(const std::optional<std::string>& askedFor, LXResult<std::string, LXErrorInfo> created,
                        const LXDevice& device);
    void ensureLogger();
    void dropStoredSession();
    void saveStoreInBackground(std::string_view failureMessage);

    ServiceApi& api_;
    const Clock& clock_;
    std::shared_ptr<const CacheDirectory> cache_;
    BackgroundQueue& background_;
    LoggerSlot& log_;
    LoggerContext loggerContext_;
    LXEnvironmentType environment_;
    Device device_;
    std::optional<LXSession> session_;
    std::unique_ptr<SessionStore> store_;  // null until loaded
    bool loading_ = false;
    std::vector<std::function<void()>> waitingForStore_;
    std::optional<std::string> partnerUserId_;
    std::vector<Creation> creations_;
    bool lastFailureTransient_ = false;
    std::optional<Seconds> lastRetryAfter_;  // of the creation answer read last
    bool lastFailurePermanent_ = false;      // likewise
    // What the worker's saves share with the termination write, which cannot
    // wait behind a worker that may be decoding for a while: the two really
    // run at once, so a lock keeps their writes apart. A save writes only if
    // no termination came after it was queued.
    struct SaveGate {
        std::mutex mutex;
        std::uint64_t generation = 0;  // changed on the main context only, under the lock
    };
    std::shared_ptr<SaveGate> saveGate_ = std::make_shared<SaveGate>();
};

// The locale sent with log records: the user's first language, "en_US" for C.
std::string currentLocale();

}  // namespace lxhf
