#include "common/replace_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "core/fd_write.h"

namespace morvane {

namespace {

// Makes the rename itself durable: until the directory is flushed, a crash
// may bring back the old name.
void sync_directory(const std::string& path) {
    const std::string dir = std::filesystem::path(path).parent_path().string();
    const int fd = ::open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace

bool replace_file(const std::string& path, const std::string& content, std::string& error, const std::string& suffix) {
    const std::string temporary = path + suffix;
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) {
        error = "cannot write " + temporary + ": " + std::strerror(errno);
        return false;
    }
    // The data must be on disk before the name says the file is complete.
    const bool written = write_all(fd, content) && ::fsync(fd) == 0;
    const int savedErrno = errno;
    const bool closed = ::close(fd) == 0;
    if (!written || !closed) {
        error = "cannot write " + temporary + ": " + std::strerror(written ? errno : savedErrno);
        ::unlink(temporary.c_str());
        return false;
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        error = "cannot rename " + temporary + " to " + path + ": " + std::strerror(errno);
        ::unlink(temporary.c_str());
        return false;
    }
    sync_directory(path);
    return true;
}

}  // namespace morvane
