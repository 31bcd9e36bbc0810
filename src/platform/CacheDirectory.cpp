#include "platform/CacheDirectory.h"

#include <glib.h>
#include <glib/gstdio.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
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

LXResult<std::filesystem::path, FileError> writeTemporaryFileBeside(const std::filesystem::path& file,
                                                                    std::string_view data) {
    std::filesystem::path pattern = file;
    pattern.replace_filename("." + file.filename().string() + ".tmp-XXXXXX");
    std::string name = pattern.string();
    int fd = g_mkstemp_full(name.data(), O_WRONLY | O_CLOEXEC, 0600);
    if (fd < 0) return errnoError("Cannot create a temporary file for", file, errno);
    std::filesystem::path temporary = name;

    const char* next = data.data();
    size_t left = data.size();
    while (left > 0) {
        ssize_t written = write(fd, next, left);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            int code = written < 0 ? errno : EIO;
            close(fd);
            g_unlink(temporary.c_str());
            return errnoError("Cannot write", temporary, code);
        }
        next += written;
        left -= static_cast<size_t>(written);
    }
    // The data must be on disk before the rename makes it the real file.
    int code = fsync(fd) == 0 ? 0 : errno;
    if (close(fd) != 0 && code == 0) code = errno;
    if (code != 0) {
        g_unlink(temporary.c_str());
        return errnoError("Cannot flush", temporary, code);
    }
    return temporary;
}

std::optional<FileError> replaceWithTemporaryFile(const std::filesystem::path& temporary,
                                                  const std::filesystem::path& file) {
    if (std::rename(temporary.c_str(), file.c_str()) != 0) {
        int code = errno;
        g_unlink(temporary.c_str());
        return errnoError("Cannot replace", file, code);
    }
    syncDirectoryOf(file);
    return std::nullopt;
}

std::optional<FileError> writeWholeFileAtomically(const std::filesystem::path& file, std::string_view data) {
    auto temporary = writeTemporaryFileBeside(file, data);
    if (!temporary) return temporary.error();
    return replaceWithTemporaryFile(*temporary, file);
}

}  // namespace lxhf
