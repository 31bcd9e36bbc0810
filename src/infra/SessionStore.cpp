#include "infra/SessionStore.h"

#include "infra/LXStoreCoding.h"
#include "infra/LoggerSlot.h"

namespace lxhf {

template class LXStore<std::string, LXSession>;
template class LXStore<std::string, LXEvent>;

LXResult<std::unique_ptr<SessionStore>, StoreError> loadSessionStore(const CacheDirectory& directory,
                                                                     const LoggerSlot& logger,
                                                                     DateProvider dateProvider) {
    auto root = directory.path();
    if (!root) {
        logWarn(logger, kUnexpectedCacheError);
        return std::unique_ptr<SessionStore>{};
    }
    auto text = readWholeFile(*root / kSessionStoreFile);
    if (!text) return StoreError{text.error().description};
    return SessionStore::decode(text.value(), std::move(dateProvider));
}

}  // namespace lxhf
