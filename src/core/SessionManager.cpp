#include "core/SessionManager.h"

#include <glib.h>

#include "model/ErrorInfo.h"

namespace lxhf {
namespace {
const std::string kStoreKey(kSessionStoreKey);
constexpr std::string_view kStoreName = kSessionStoreName;

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

SessionManager::SessionManager(ServiceApi& api, const Clock& clock, CacheDirectory& cache,
                               BackgroundQueue& background, LoggerSlot& log, LoggerContext loggerContext,
                               LXEnvironmentType environment, Device device)
    : api_(api), clock_(clock), cache_(cache), background_(background), log_(log),
      loggerContext_(std::move(loggerContext)),
      environment_(environment), device_(device) {}

LXDevice SessionManager::newDevice() const { return {newUuid(), device_.platform, device_.type}; }

LXSession& SessionManager::session() {
    if (!session_) session_ = LXSession{std::nullopt, std::nullopt, Date::from(clock_.now()), newDevice()};
    return *session_;
}

SessionStore& SessionManager::store() {
    if (store_) return *store_;
    auto loaded = loadSessionStore(cache_, log_, dateProviderOf(clock_));
    if (!loaded) logError(log_, "Error accessing store");
    else store_ = std::move(loaded.value());  // null without a cache directory
    if (!store_) store_ = std::make_unique<SessionStore>(dateProviderOf(clock_), kEntryLifetime, kSessionStoreCountLimit);
    return *store_;
}

std::optional<std::string> SessionManager::inMemorySessionId() const {
    return session_ ? session_->sessionId : std::nullopt;
}

void SessionManager::currentSessionId(std::function<void(SessionIdResult)> done) {
    if (auto stored = store().value(kStoreKey)) {
        session_ = std::move(*stored);
        ensureLogger();
    }
    if (const auto& id = session().sessionId) return done(*id);

    waiting_.push_back(std::move(done));
    if (waiting_.size() > 1) return;  // a request is already on its way
    LXDevice device = session().device.value_or(newDevice());
    createSession({partnerUserId_, device});
}

void SessionManager::createSession(const LXSessionInputs& inputs) {
    auto url = api_.endpoint(api::kSessionsPath);
    if (!url) return finishCreation(makeError("createSession error accessing server endpoint"), inputs.device);

    std::weak_ptr<SessionManager> weak = weak_from_this();
    api_.post(*url, api_.encoder().encode(inputs), std::nullopt, [weak, device = inputs.device](HttpResult result) {
        auto self = weak.lock();
        if (!self) return;
        if (!result)
            return self->finishCreation(makeError("createSession URLRequest error: " + result.error().description),
                                        device);
        const HttpResponse& response = result.value();
        if (response.status != api::kCreated)
            return self->finishCreation(makeError("createSession statusCode error", response.status), device);
        auto decoded = json::Decoder(json::KeyDecoding::convertFromSnakeCase).decode<LXSessionResponse>(response.body);
        if (!decoded) {
            logWarn(self->log_, "Error decoding createSession response data:\n" + decoded.error().description());
            return self->finishCreation(makeError("createSession decoding error"), device);
        }
        self->finishCreation(std::move(decoded.value().id), device);
    });
}

void SessionManager::finishCreation(LXResult<std::string, LXErrorInfo> created, const LXDevice& device) {
    auto waiting = std::exchange(waiting_, {});
    if (!created) {
        const LXErrorInfo failure = makeError(created.error().message());
        for (auto& done : waiting) done(failure);
        return;
    }
    const std::string id = created.value();
    session_ = LXSession{partnerUserId_, id, Date::from(clock_.now()), device};
    store().insert(*session_, kStoreKey);
    saveStoreInBackground();
    ensureLogger();
    for (auto& done : waiting) done(id);
}

// Two fsyncs cost milliseconds, which the first offers must not wait for.
void SessionManager::saveStoreInBackground() {
    auto form = store().fileForm(kStoreName, cache_, log_);
    if (!form) return logWarn(log_, "Error saving sessionStore to disk");
    if (!form.value()) return;
    std::weak_ptr<SessionManager> weak = weak_from_this();
    // The warning belongs to the moment of saving: with no logger then, the
    // one made right after must not carry it.
    const bool loggerPresent = log_.get() != nullptr;
    computeInBackground(
        background_, [form = std::move(*form.value())] { return writeWholeFileAtomically(form.file, form.text); },
        [weak, loggerPresent](std::optional<FileError> failed) {
            auto self = weak.lock();
            if (self && failed && loggerPresent) logWarn(self->log_, "Error saving sessionStore to disk");
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

void SessionManager::removeStoredSession() {
    log_.clear();
    store().removeAll();
    // An earlier save still on its way must not land after this one.
    background_.waitUntilIdle();
    // The logger is already gone, so a failure here is, in practice, silent.
    if (store().saveToDisk(kStoreName, cache_, log_)) logWarn(log_, "Error saving sessionStore to disk on termination");
}

}  // namespace lxhf
