#include "infra/SessionStore.h"

#include "infra/LXStoreCoding.h"
#include "infra/LoggerSlot.h"

namespace lxhf {

template class LXStore<std::string, LXSession>;
template class LXStore<std::string, LXEvent>;

std::optional<std::filesystem::path> sessionStoreFile(const CacheDirectory& directory, const LoggerSlot& logger) {
    auto root = directory.path();
    if (!root) {
        logWarn(logger, kUnexpectedCacheError);
        return std::nullopt;
    }
    return *root / kSessionStoreFile;
}

LXResult<std::unique_ptr<SessionStore>, StoreError> readSessionStore(const std::filesystem::path& file,
                                                                     DateProvider dateProvider) {
    auto text = readWholeFile(file);
    if (!text) return StoreError{text.error().description};
    return SessionStore::decode(text.value(), std::move(dateProvider));
}

LXResult<std::unique_ptr<SessionStore>, StoreError> loadSessionStore(const CacheDirectory& directory,
                                                                     const LoggerSlot& logger,
                                                                     DateProvider dateProvider) {
    auto file = sessionStoreFile(directory, logger);
    if (!file) return std::unique_ptr<SessionStore>{};
    return readSessionStore(*file, std::move(dateProvider));
}

}  // namespace lxhf
