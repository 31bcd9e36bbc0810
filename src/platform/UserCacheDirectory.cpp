#include "platform/UserCacheDirectory.h"

#include <glib.h>

#include <utility>

namespace lxhf {

namespace {
constexpr const char* libraryDirectoryName = "LXHotelsFermo";
}

UserCacheDirectory::UserCacheDirectory()
    : directory_(std::filesystem::path(g_get_user_cache_dir()) / libraryDirectoryName) {}

UserCacheDirectory::UserCacheDirectory(std::filesystem::path directory) : directory_(std::move(directory)) {}

std::optional<std::filesystem::path> UserCacheDirectory::path() const {
    if (directory_.empty()) return std::nullopt;
    // Made on each ask, so a directory removed while running comes back.
    if (g_mkdir_with_parents(directory_.c_str(), 0700) != 0) return std::nullopt;
    return directory_;
}

}  // namespace lxhf
