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

// The two halves of writeWholeFileAtomically, apart so a test can stop
// between them as a crash would. The temporary file's name starts with "."
// and ends in ".tmp" plus a random part; readers never look at it.
LXResult<std::filesystem::path, FileError> writeTemporaryFileBeside(const std::filesystem::path& file,
                                                                    std::string_view data);
std::optional<FileError> replaceWithTemporaryFile(const std::filesystem::path& temporary,
                                                  const std::filesystem::path& file);

}  // namespace lxhf
