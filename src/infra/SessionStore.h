#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "LXHotelsFermo/LXResult.h"
#include "infra/LXStore.h"
#include "model/SessionRecords.h"
#include "platform/CacheDirectory.h"

namespace lxhf {

class LoggerSlot;

using SessionStore = LXStore<std::string, LXSession>;
// Built once inside the library; everyone else links to that copy.
extern template class LXStore<std::string, LXSession>;

inline constexpr std::string_view kSessionStoreName = "sessionStore";
inline constexpr std::string_view kSessionStoreFile = "sessionStore.cache";
inline constexpr std::string_view kSessionStoreKey = "session";
inline constexpr std::size_t kSessionStoreCountLimit = 1;
inline constexpr std::uintmax_t kSessionStoreMaximumSize = 1 << 20;

// Where "sessionStore.cache" lives; absent, after "Unexpected cache error",
// when there is no cache directory.
std::optional<std::filesystem::path> sessionStoreFile(const CacheDirectory& directory,
                                                                  const LoggerSlot& logger);
// Reads and decodes that file. Touches nothing shared, so it may run off the
// main context; a missing, unreadable or malformed file is an error.
LXResult<std::unique_ptr<SessionStore>, StoreError> readSessionStore(const std::filesystem::path& file,
                                                                                 DateProvider dateProvider);

}  // namespace lxhf
