#include "infra/SessionStore.h"

#include "infra/LXStoreCoding.h"
#include "infra/LoggerSlot.h"

namespace lxhf {

template class LXStore<std::string, LXSession>;

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
    // Only a plain file is read: a FIFO would block the reader for good and a
    // device never ends. One session is a few hundred bytes, so a file this
    // large is no session store, and reading it whole would only cost time.
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (!error && std::filesystem::exists(status)) {
        if (!std::filesystem::is_regular_file(status)) return StoreError{file.string() + " is not a regular file"};
        if (const auto size = std::filesystem::file_size(file, error); !error && size > kSessionStoreMaximumSize)
            return StoreError{file.string() + " is " + std::to_string(size) + " bytes, larger than any session store"};
    }
    auto text = readWholeFile(file);
    if (!text) return StoreError{text.error().description};
    return SessionStore::decode(text.value(), std::move(dateProvider));
}

}  // namespace lxhf
