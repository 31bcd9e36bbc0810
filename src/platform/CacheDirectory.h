#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "LXHotelsFermo/LXResult.h"

namespace lxhf {

// Where the library keeps its files. Whole-file reads and atomic writes.
class CacheDirectory {
public:
    virtual ~CacheDirectory() = default;
    // Absent when the directory does not exist and cannot be made.
    virtual std::optional<std::filesystem::path> path() const = 0;
};

struct FileError {
    std::string description;
};

LXResult<std::string, FileError> readWholeFile(const std::filesystem::path& file);
// Writes a temporary file beside `file`, then renames it over `file`, so a
// crash never leaves a torn file behind. Empty on success.
std::optional<FileError> writeWholeFileAtomically(const std::filesystem::path& file, std::string_view data);

}  // namespace lxhf
