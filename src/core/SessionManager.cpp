#include "core/SessionManager.h"

#include <glib.h>

#include "core/FetchPolicy.h"
#include "model/ErrorInfo.h"

namespace lxhf {
namespace {
const std::string kStoreKey(kSessionStoreKey);
constexpr std::size_t kMaximumSessionAnswerBytes = 64 * 1024;

constexpr std::string_view kCreationTransferFailure = "createSession URLRequest error: ";
constexpr std::string_view kRemovalSaveFailure = "Error saving sessionStore to disk on termination";

enum class Saved { yes, noDirectory, failed, superseded };

Saved writeStore(const CacheDirectory& cache, std::string_view text) {
    auto root = cache.path();
    if (!root) return Saved::noDirectory;
    return writeWholeFileAtomically(*root / kSessionStoreFile, text) ? Saved::failed : Saved::yes;
}

// The warning belongs to the moment of saving: with no logger then, the one
// made right after must not carry it.
void reportSave(LoggerSlot& log, bool loggerPresent, Saved saved, std::string_view failureMessage) {
    if (!loggerPresent || saved == Saved::yes || saved == Saved::superseded) return;
    logWarn(log, saved == Saved::noDirectory ? kUnexpectedCacheError : failureMessage);
}

std::string newUuid() {
    gchar* raw = g_uuid_string_random();
    std::string uuid(raw);
    g_free(raw);
    for (auto& c : uuid) c = char(g_ascii_toupper(c));
    return uuid;
}
}  // namespace

std::string currentLocale() {
    const gchar* const* names = g_get_language_names();
    std::string locale = names && names[0] ? names[0] : "C";
    locale = locale.substr(0, locale.find_first_of(".@"));
    return locale == "C" || locale == "POSIX" || locale.empty() ? "en_US" : locale;
}

SessionManager::SessionManager(ServiceApi& api, const Clock& clock, std::shared_ptr<const CacheDirectory> cache,
                               BackgroundQueue& background, LoggerSlot& log, LoggerContext loggerContext,
                               LXEnvironmentType environment, Device device)
    : api_(api), clock_(clock), cache_(std::move(cache)), background_(background), log_(log),
      loggerContext_(std::move(loggerContext)),
      environment_(environment), device_(device) {}

LXDevice SessionManager::newDevice() const { return {newUuid(), device_.platform, device_.type}; }

LXSession& SessionManager::session() {
    if (!session_) session_ = LXSession{std::nullopt, std::nullopt, Date::from(clock_.now()), newDevice()};
    return *session_;
}

std::optional<std::string> SessionManager::inMemorySessionId() const {
    return session_ ? session_->sessionId : std::nullopt;
}

SessionStore& SessionManager::emptyStore() {
    store_ = std::make_unique<SessionStore>(dateProviderOf(clock_), kEntryLifetime, kSessionStoreCountLimit);
    return *store_;
}

void SessionManager::withStore(std::function<void()> then) {
    if (store_) return then();
    waitingForStore_.push_back(std::move(then));
    if (loading_) return;
    loading_ = true;
    std::weak_ptr<SessionManager> weak = weak_from_this();
    // Even finding the cache directory may wait on the disk.
    computeInBackground(
        background_,
        [cache = cache_, dates = dateProviderOf(clock_)]() -> StoreRead {
            auto root = cache->path();
            if (!root) return std::nullopt;
            return readSessionStore(*root / kSessionStoreFile, dates);
        },
        [weak](StoreRead read) {
            if (auto self = weak.lock()) self->storeLoaded(std::move(read));
        });
}

void SessionManager::storeLoaded(StoreRead read) {
    loading_ = false;
    if (!read) logWarn(log_, kUnexpectedCacheError);
    // A user change or termination while the file was read has emptied the
    // store already; what the file held no longer counts.
    if (!store_) {
        if (read && !*read) logError(log_, "Error accessing store");
        else if (read) store_ = std::move(read->value());
        if (!store_) emptyStore();
    }
    for (auto& then : std::exchange(waitingForStore_, {})) then();
}

void SessionManager::loadStoreAhead() {
    withStore([] {});
}

void SessionManager::currentSessionId(std::function<void(SessionIdResult)> done) {
    withStore([this, done = std::move(done)]() mutable { lookUpSession(std::move(done)); });
}

void SessionManager::lookUpSession(std::function<void(SessionIdResult)> done) {
    if (auto stored = store_->value(kStoreKey)) {
        session_ = std::move(*stored);
        ensureLogger();
    }
    if (const auto& id = session().sessionId) return done(*id);

    for (auto& creation : creations_) {
        if (creation.partnerUserId != partnerUserId_) continue;
        creation.waiting.push_back(std::move(done));  // the same request is already on its way
        return;
    }
    creations_.push_back({partnerUserId_, {}});
    creations_.back().waiting.push_back(std::move(done));
    LXDevice device = session().device.value_or(newDevice());
    createSession({partnerUserId_, device});
}

void SessionManager::createSession(const LXSessionInputs& inputs) {
    auto url = api_.endpoint(api::kSessionsPath);
    const auto& askedFor = inputs.partnerUserId;
    if (!url) return finishCreation(askedFor, makeError("createSession error accessing server endpoint"), inputs.device);

    auto body = api_.encoder().tryEncode(inputs);
    if (!body) return finishCreation(askedFor, makeError("createSession encoding error"), inputs.device);

    std::weak_ptr<SessionManager> weak = weak_from_this();
    api_.post(*url, std::move(body.value()), std::nullopt,
              [weak, askedFor, device = inputs.device](HttpResult result) {
                  auto self = weak.lock();
                  if (!self) return;
                  self->finishCreation(askedFor, self->readCreation(result), device);
              });
}

LXResult<std::string, LXErrorInfo> SessionManager::readCreation(const HttpResult& result) {
    lastRetryAfter_.reset();
    lastFailurePermanent_ = !result && result.error().permanent;
    if (!result) return makeError(std::string(kCreationTransferFailure) + result.error().description);
    const HttpResponse& response = result.value();
    if (response.status != api::kCreated) {
        lastRetryAfter_ = retryAfter(response);
        return makeError("createSession statusCode error", response.status);
    }
    // The answer is decoded here, on the main context: a body far larger than
    // one short id is refused unread, as text that is not JSON.
    const json::Decoder decoder(json::KeyDecoding::convertFromSnakeCase);
    auto decoded = response.body.size() <= kMaximumSessionAnswerBytes ? decoder.decode<LXSessionResponse>(response.body)
                                                                       : json::Decoder::notValidJson();
    if (!decoded) {
        logWarn(log_, "Error decoding createSession response data:\n" + decoded.error().description());
        return makeError("createSession decoding error");
    }
    return std::move(decoded.value().id);
}

void SessionManager::finishCreation(const std::optional<std::string>& askedFor,
                                    LXResult<std::string, LXErrorInfo> created, const LXDevice& device) {
    std::vector<std::function<void(SessionIdResult)>> waiting;
    for (auto it = creations_.begin(); it != creations_.end(); ++it) {
        if (it->partnerUserId != askedFor) continue;
        waiting = std::move(it->waiting);
        creations_.erase(it);
        break;
    }
    if (askedFor != partnerUserId_) {
        // The user changed while this was asked: the answer is nobody's now.
        // Its callers ask again, for the user of this moment.
        for (auto& done : waiting) lookUpSession(std::move(done));
        return;
    }
    if (!created) {
        const auto& code = created.error().code();
        lastFailureTransient_ = code ? (*code == 429 || (*code >= 500 && *code <= 599))
                                     : created.error().message().starts_with(kCreationTransferFailure) &&
                                           !lastFailurePermanent_;
        const LXErrorInfo failure = makeError(created.error().message());
        for (auto& done : waiting) done(failure);
        return;
    }
    const std::string id = created.value();
    session_ = LXSession{partnerUserId_, id, Date::from(clock_.now()), device};
    store_->insert(*session_, kStoreKey);
    saveStoreInBackground("Error saving sessionStore to disk");
    ensureLogger();
    for (auto& done : waiting) done(id);
}

// Two fsyncs cost milliseconds, and finding the directory may too, which no
// caller must wait for. The queue keeps saves in the order they were asked for.
void SessionManager::saveStoreInBackground(std::string_view failureMessage) {
    auto text = store_->encode();
    if (!text) return logWarn(log_, failureMessage);
    std::weak_ptr<SessionManager> weak = weak_from_this();
    const bool loggerPresent = log_.get() != nullptr;
    computeInBackground(
        background_,
        [cache = cache_, text = std::move(text).value(), gate = saveGate_, generation = saveGate_->generation] {
            std::lock_guard lock(gate->mutex);
            if (gate->generation != generation) return Saved::superseded;
            return writeStore(*cache, text);
        },
        [weak, loggerPresent, message = std::string(failureMessage)](Saved saved) {
            if (auto self = weak.lock()) reportSave(self->log_, loggerPresent, saved, message);
        });
}

void SessionManager::ensureLogger() {
    log_.installOrRenew(makeLoggerConfig(environment_, currentLocale(), session().sessionId), loggerContext_);
}

bool SessionManager::updateUser(const std::optional<std::string>& userId) {
    if (userId == session().userId) return false;
    partnerUserId_ = userId;
    session().sessionId.reset();
    removeStoredSession();
    return true;
}

void SessionManager::dropStoredSession() {
    log_.clear();
    // Emptied whether or not it was loaded: what the file holds no longer counts.
    if (store_) store_->removeAll();
    else emptyStore();
}

// The logger is already gone in both, so a failure to save is, in practice, silent.
void SessionManager::removeStoredSession() {
    dropStoredSession();
    saveStoreInBackground(kRemovalSaveFailure);
}

void SessionManager::removeStoredSessionNow() {
    dropStoredSession();
    auto text = store_->encode();
    if (!text) return logWarn(log_, kRemovalSaveFailure);
    Saved saved;
    {
        std::lock_guard lock(saveGate_->mutex);
        ++saveGate_->generation;
        saved = writeStore(*cache_, text.value());
    }
    reportSave(log_, log_.get() != nullptr, saved, kRemovalSaveFailure);
}

}  // namespace lxhf
