// Cache extraction of the embedded tables. The temporary directory is shared
// by every local user, so the cache is a directory of our own, checked
// before use and then reached only through its descriptor, by this code and
// by the table reader: another user can neither point it elsewhere nor plant
// a file in it. Every file is compared
// byte for byte with its embedded copy at each start (a damaged table gives
// wrong results without any other sign), and replaced through a temporary
// file and a rename, so that engines starting together never read a file
// that another one is still writing.
#include "tablebase/cache.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "core/fd_write.h"
#include "tablebase/embedded.h"

namespace morvane {

namespace {

// Closes a descriptor on every way out.
struct Fd {
    int fd;
    explicit Fd(int f) : fd(f) {}
    ~Fd() {
        if (fd >= 0) ::close(fd);
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
};

// True when dir/name is a regular file of ours holding exactly `data` (the
// reader refuses a file of another user, so it is written again).
bool holds_embedded_copy(int dirFd, const char* name, const unsigned char* data, std::size_t size) {
    Fd file(::openat(dirFd, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat st;
    if (file.fd < 0 || ::fstat(file.fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_uid != ::geteuid() ||
        static_cast<std::uint64_t>(st.st_size) != size)
        return false;
    unsigned char buffer[1 << 16];
    std::size_t done = 0;
    while (done < size) {
        ssize_t got = ::read(file.fd, buffer, std::min(sizeof buffer, size - done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0 || std::memcmp(buffer, data + done, static_cast<std::size_t>(got)) != 0) return false;
        done += static_cast<std::size_t>(got);
    }
    return true;
}

// Opens the cache directory, creating it private when it does not exist.
// Returns its descriptor, or -1 with `why` set.
int open_cache_dir(const std::filesystem::path& dir, std::string& why) {
    if (::mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
        why = std::string("creation impossible (") + std::strerror(errno) + ")";
        return -1;
    }
    struct stat st;
    if (::lstat(dir.c_str(), &st) != 0) {
        why = std::strerror(errno);
        return -1;
    }
    if (const char* problem = cache_dir_problem(st, ::geteuid())) {
        why = problem;
        return -1;
    }
    // The path may have been swapped between lstat and open: what was opened
    // must be the very directory that passed the checks.
    int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        why = std::string("ouverture impossible (") + std::strerror(errno) + ")";
        return -1;
    }
    struct stat opened;
    if (::fstat(fd, &opened) != 0 || opened.st_dev != st.st_dev || opened.st_ino != st.st_ino) {
        ::close(fd);
        why = "remplace pendant l'ouverture";
        return -1;
    }
    // A directory of ours that others may enter or write is made private.
    if ((opened.st_mode & 077) != 0 && ::fchmod(fd, 0700) != 0 && (opened.st_mode & 022) != 0) {
        ::close(fd);
        why = "ouvert en ecriture a d'autres utilisateurs";
        return -1;
    }
    return fd;
}

// Writes name inside the directory `dirFd` through a fresh temporary file
// renamed over it, so that a reader opening name sees either the old file or
// the complete new one, never a partial write.
bool write_embedded_file(int dirFd, const char* name, const unsigned char* data, std::size_t size) {
    // One temporary name per process and call: concurrent writers, in this
    // process or another, never share a file, and O_EXCL refuses anything
    // already standing there.
    static std::atomic<unsigned> serial{0};
    const std::string tmp = std::string(name) + ".tmp." + std::to_string(::getpid()) + "." + std::to_string(serial++);
    int fd = ::openat(dirFd, tmp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    bool ok = write_all(fd, data, size);
    ok = ::close(fd) == 0 && ok;
    // rename replaces a planted link itself, never what it points to.
    ok = ok && ::renameat(dirFd, tmp.c_str(), dirFd, name) == 0;
    if (!ok) ::unlinkat(dirFd, tmp.c_str(), 0);
    return ok;
}

}  // namespace

const char* cache_dir_problem(const struct stat& st, uid_t user) {
    if (S_ISLNK(st.st_mode)) return "lien symbolique";
    if (!S_ISDIR(st.st_mode)) return "pas un dossier";
    if (st.st_uid != user) return "appartient a un autre utilisateur";
    return nullptr;
}

std::string extract_embedded_to_cache(int* dirFdOut) {
    if (dirFdOut) *dirFdOut = -1;
    const char* prefix = "info string Syzygy (repli embarque) : ";
    std::error_code ec;
    const std::filesystem::path tmp = std::filesystem::temp_directory_path(ec);
    if (ec) {
        std::cerr << prefix << "aucun dossier temporaire, tables embarquees indisponibles\n";
        return "";
    }
    const std::filesystem::path dir = tmp / ("morvane-" + std::to_string(::geteuid()));
    std::string why;
    Fd dirFd(open_cache_dir(dir, why));
    if (dirFd.fd < 0) {
        std::cerr << prefix << "dossier de cache " << dir.string() << " refuse (" << why
                  << "), tables embarquees indisponibles\n";
        return "";
    }

    int extracted = 0, cached = 0, failed = 0;
    auto handle = [&](const syzygy_embedded::EmbeddedFile& f) {
        const auto size = static_cast<std::size_t>(f.size);
        if (holds_embedded_copy(dirFd.fd, f.name, f.data, size)) ++cached;
        else if (write_embedded_file(dirFd.fd, f.name, f.data, size)) ++extracted;
        else ++failed;
    };
    for (const auto& f : syzygy_embedded::files_3) handle(f);
    for (const auto& f : syzygy_embedded::files_4) handle(f);

    std::cerr << prefix << extracted << " fichier(s) extrait(s), " << cached << " deja en cache";
    if (failed > 0) std::cerr << ", " << failed << " ECHEC(s) d'ecriture";
    std::cerr << ", dossier=" << dir.string() << "\n";
    if (dirFdOut) std::swap(*dirFdOut, dirFd.fd);
    return dir.string();
}

}  // namespace morvane
