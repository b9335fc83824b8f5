#include "sts/report_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace morvane {

LockedReport::~LockedReport() {
    if (fd_ >= 0) ::close(fd_);
}

std::string LockedReport::open(const std::string& path) {
    // O_NONBLOCK: a FIFO with no reader fails at once instead of hanging.
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0644);
    if (fd_ < 0) return std::strerror(errno);
    struct stat st;
    if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) return "pas un fichier ordinaire";
    if (::flock(fd_, LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? "deja utilise par un autre lancement" : std::strerror(errno);
    return "";
}

bool LockedReport::truncate(std::size_t length) { return ::ftruncate(fd_, static_cast<off_t>(length)) == 0; }

}  // namespace morvane
