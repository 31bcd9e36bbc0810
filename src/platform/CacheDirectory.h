#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "LXHotelsFermo/LXResult.h"

namespace lxhf {

// Where the library keeps its files. Whole-file reads and atomic writes.
class CacheDirectory {
public:
    virtual ~CacheDirectory() = default;
    // Absent when the directory does not exist and cannot be made. Asked on
    // the background worker, since making the directory waits on the disk.
    virtual std::optional<std::filesystem::path> path() const = 0;
};

struct FileError {
    std::string description;
};

LXResult<std::string, FileError> readWholeFile(const std::filesystem::path& file);
// Writes a temporary file beside `file`, then renames it over `file`, so a
// crash never leaves a torn file behind. Temporary files that an interrupted
// write left beside `file` are removed first. Empty on success.
std::optional<FileError> writeWholeFileAtomically(const std::filesystem::path& file, std::string_view data);

// The first half of writeWholeFileAtomically, alone, as a write killed
// before its rename leaves it: a test's stand-in for a crash. The name starts
// with "." and has ".tmp" and a random part after the name; readers never
// look at it.
LXResult<std::filesystem::path, FileError> writeTemporaryFileBeside(const std::filesystem::path& file,
                                                                    std::string_view data);

// How old an unlocked temporary file made under its name (where the
// filesystem has no unnamed files) must be before it counts as left over: its
// writer locks it right after making it, and this covers that moment.
inline constexpr std::chrono::seconds kStaleTemporaryAge{1};

}  // namespace lxhf
