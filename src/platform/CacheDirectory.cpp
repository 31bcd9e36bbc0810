#include "platform/CacheDirectory.h"

#include <glib.h>
#include <glib/gstdio.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <utility>
#include <sys/file.h>
#include <unistd.h>

namespace lxhf {

namespace {

FileError errnoError(const std::string& what, const std::filesystem::path& file, int code) {
    return FileError{what + " " + file.string() + ": " + std::strerror(code)};
}

// Makes a completed rename survive a power cut; failure here is not fatal.
void syncDirectoryOf(const std::filesystem::path& file) {
    std::filesystem::path directory = file.parent_path().empty() ? "." : file.parent_path();
    int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    fsync(fd);
    close(fd);
}

// Every temporary file beside `file` starts so. One named only once locked
// goes on with kLockedFirst; one made under its name, by mkstemp, with "-".
std::string temporaryPrefix(const std::filesystem::path& file) { return "." + file.filename().string() + ".tmp"; }
constexpr char kLockedFirst = '=';

// An open temporary file beside the real one. Where the filesystem allows,
// it has no name until its data is on disk, so a write killed midway leaves
// nothing behind; it gets its temporary name only just before the rename.
// Its writer holds an exclusive lock on it from before it has a name until
// the rename is done, so another writer (in this process or another one
// sharing the cache) can tell a live file from a left-over one.
class TemporaryFile {
public:
    static LXResult<TemporaryFile, FileError> create(const std::filesystem::path& file) {
        const std::filesystem::path directory = file.parent_path().empty() ? "." : file.parent_path();
        int fd = open(directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
        if (fd >= 0 && access(kProcFds, X_OK) == 0) {
            flock(fd, LOCK_EX);
            return TemporaryFile(fd, file, {});
        }
        if (fd >= 0) close(fd);
        std::string name = (directory / (temporaryPrefix(file) + "-XXXXXX")).string();
        fd = g_mkstemp_full(name.data(), O_WRONLY | O_CLOEXEC, 0600);
        if (fd < 0) return errnoError("Cannot create a temporary file for", file, errno);
        flock(fd, LOCK_EX);
        return TemporaryFile(fd, file, name);
    }
    TemporaryFile(TemporaryFile&& other) noexcept
        : fd_(std::exchange(other.fd_, -1)), file_(std::move(other.file_)), path_(std::move(other.path_)) {}
    TemporaryFile& operator=(TemporaryFile&&) = delete;
    ~TemporaryFile() {
        if (fd_ < 0) return;
        if (!kept_ && !path_.empty()) g_unlink(path_.c_str());
        close(fd_);
    }

    const std::filesystem::path& path() const { return path_; }

    // Writes everything and flushes it to disk: the data must be there before
    // a rename makes it the real file.
    std::optional<FileError> write(std::string_view data) {
        for (const char* next = data.data(); !data.empty();) {
            ssize_t written = ::write(fd_, next, data.size());
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) return errnoError("Cannot write", file_, written < 0 ? errno : EIO);
            next += written;
            data.remove_prefix(static_cast<size_t>(written));
        }
        if (fsync(fd_) != 0) return errnoError("Cannot flush", file_, errno);
        return std::nullopt;
    }

    std::optional<FileError> name() {
        if (!path_.empty()) return std::nullopt;
        const std::string fdPath = std::string(kProcFds) + "/" + std::to_string(fd_);
        for (int attempt = 0; attempt < 100; ++attempt) {
            gchar* suffix = g_strdup_printf("%c%08x", kLockedFirst, g_random_int());
            std::filesystem::path candidate = file_.parent_path() / (temporaryPrefix(file_) + suffix);
            g_free(suffix);
            if (linkat(AT_FDCWD, fdPath.c_str(), AT_FDCWD, candidate.c_str(), AT_SYMLINK_FOLLOW) == 0) {
                path_ = std::move(candidate);
                return std::nullopt;
            }
            if (errno != EEXIST) return errnoError("Cannot name a temporary file for", file_, errno);
        }
        return errnoError("Cannot name a temporary file for", file_, EEXIST);
    }

    std::optional<FileError> renameOver() {
        if (auto failed = name()) return failed;
        if (std::rename(path_.c_str(), file_.c_str()) != 0) return errnoError("Cannot replace", file_, errno);
        kept_ = true;
        syncDirectoryOf(file_);
        return std::nullopt;
    }

    // Closes it under its temporary name, as a writer killed before its
    // rename would.
    std::optional<FileError> abandon() {
        if (auto failed = name()) return failed;
        kept_ = true;
        return std::nullopt;
    }

private:
    static constexpr const char* kProcFds = "/proc/self/fd";

    TemporaryFile(int fd, std::filesystem::path file, std::filesystem::path path)
        : fd_(fd), file_(std::move(file)), path_(std::move(path)) {}
    int fd_;
    std::filesystem::path file_;
    std::filesystem::path path_;  // empty while unnamed
    bool kept_ = false;
};

bool lockedByItsWriter(const std::filesystem::path& temporary) {
    int fd = open(temporary.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return true;  // gone already, or not ours to judge
    const bool locked = flock(fd, LOCK_EX | LOCK_NB) != 0;
    close(fd);
    return locked;
}

// A killed or crashed write leaves its temporary file behind; without this
// they would pile up, one per interrupted write. A file that was locked
// before it had a name is left over as soon as nobody holds it; one made
// under its name may be a live write that has not locked it yet, unless old.
void removeStaleTemporaryFiles(const std::filesystem::path& file) {
    const std::string prefix = temporaryPrefix(file);
    std::error_code error;
    const auto now = std::filesystem::file_time_type::clock::now();
    for (const auto& entry : std::filesystem::directory_iterator(file.parent_path(), error)) {
        const std::string name = entry.path().filename().string();
        if (name.size() <= prefix.size() || name.compare(0, prefix.size(), prefix) != 0) continue;
        if (name[prefix.size()] != kLockedFirst) {
            std::error_code timeError;
            const auto modified = entry.last_write_time(timeError);
            if (timeError || now - modified < kStaleTemporaryAge) continue;
        }
        if (!lockedByItsWriter(entry.path())) g_unlink(entry.path().c_str());
    }
}

}  // namespace

LXResult<std::string, FileError> readWholeFile(const std::filesystem::path& file) {
    gchar* contents = nullptr;
    gsize length = 0;
    GError* error = nullptr;
    if (!g_file_get_contents(file.c_str(), &contents, &length, &error)) {
        FileError failure{error != nullptr ? error->message : "Cannot read " + file.string()};
        if (error != nullptr) g_error_free(error);
        return failure;
    }
    std::string data(contents, length);
    g_free(contents);
    return data;
}

std::optional<FileError> writeWholeFileAtomically(const std::filesystem::path& file, std::string_view data) {
    removeStaleTemporaryFiles(file);
    auto temporary = TemporaryFile::create(file);
    if (!temporary) return temporary.error();
    if (auto failed = temporary->write(data)) return failed;
    return temporary->renameOver();
}

LXResult<std::filesystem::path, FileError> writeTemporaryFileBeside(const std::filesystem::path& file,
                                                                    std::string_view data) {
    auto temporary = TemporaryFile::create(file);
    if (!temporary) return temporary.error();
    if (auto failed = temporary->write(data)) return *failed;
    if (auto failed = temporary->abandon()) return *failed;
    return temporary->path();
}

}  // namespace lxhf
