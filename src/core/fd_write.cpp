#include "core/fd_write.h"

#include <unistd.h>

#include <cerrno>

namespace morvane {

bool write_all(int fd, const void* data, std::size_t size) {
    const char* next = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t put = ::write(fd, next, size);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        next += put;
        size -= static_cast<std::size_t>(put);
    }
    return true;
}

}  // namespace morvane
