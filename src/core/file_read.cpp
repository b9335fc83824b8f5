#include "core/file_read.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace morvane {

namespace {

const char* kind_of(mode_t mode) {
    if (S_ISDIR(mode)) return "un dossier";
    if (S_ISFIFO(mode)) return "un tube FIFO";
    if (S_ISCHR(mode) || S_ISBLK(mode)) return "un peripherique";
    if (S_ISSOCK(mode)) return "une socket";
    return "pas un fichier ordinaire";
}

}  // namespace

FileRead read_regular_file(const std::string& path, std::size_t maxBytes, std::string& content, std::string& problem) {
    // O_NONBLOCK: opening a FIFO without a writer returns at once instead of
    // waiting; fstat then tells what was opened before anything is read.
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return FileRead::Missing;
    struct stat st;
    FileRead result = FileRead::Refused;
    if (::fstat(fd, &st) != 0) {
        problem = "etat illisible";
    } else if (!S_ISREG(st.st_mode)) {
        problem = kind_of(st.st_mode);
    } else if (static_cast<std::size_t>(st.st_size) > maxBytes) {
        problem = "trop volumineux : " + std::to_string(st.st_size) + " octets pour " + std::to_string(maxBytes) +
                  " au plus";
    } else {
        content.clear();
        char buffer[1 << 16];
        for (;;) {
            const ssize_t got = ::read(fd, buffer, sizeof buffer);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) {
                result = got == 0 ? FileRead::Ok : FileRead::Refused;
                if (got < 0) problem = "lecture impossible";
                break;
            }
            content.append(buffer, static_cast<std::size_t>(got));
            // A file that grows while it is read is held to the same limit.
            if (content.size() > maxBytes) {
                problem = "trop volumineux : plus de " + std::to_string(maxBytes) + " octets";
                break;
            }
        }
    }
    ::close(fd);
    return result;
}

}  // namespace morvane
