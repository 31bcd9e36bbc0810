#pragma once

#include <atomic>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/CacheDirectory.h"

namespace lxhf::test {

// A fresh directory under the system's temporary directory, removed with
// everything in it when this goes away.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// The file's bytes, or "<no file>" when it cannot be read.
std::string fileText(const std::filesystem::path& file);

// A cache directory fixed by the test: a path that exists, or none at all.
// Counts how often it was asked for.
class FixedCacheDirectory final : public CacheDirectory {
public:
    explicit FixedCacheDirectory(std::optional<std::filesystem::path> path) : path_(std::move(path)) {}
    std::optional<std::filesystem::path> path() const override {
        ++asks;
        return path_;
    }

    mutable std::atomic<int> asks{0};

private:
    std::optional<std::filesystem::path> path_;
};

}  // namespace lxhf::test
