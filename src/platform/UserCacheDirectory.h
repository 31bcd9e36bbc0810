#pragma once

#include <filesystem>
#include <optional>

#include "platform/CacheDirectory.h"

namespace lxhf {

// The library's directory under the user's cache directory, or one the host
// chose. Immutable; usable from any thread. Made on first use.
class UserCacheDirectory final : public CacheDirectory {
public:
    UserCacheDirectory();  // g_get_user_cache_dir()/LXHotelsFermo
    explicit UserCacheDirectory(std::filesystem::path directory);

    std::optional<std::filesystem::path> path() const override;
    // Where the directory is or would be, without making it.
    const std::filesystem::path& location() const { return directory_; }

private:
    std::filesystem::path directory_;
};

}  // namespace lxhf
