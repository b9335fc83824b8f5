// Writing the embedded endgame-table files into a private cache directory
// under the system's temporary directory, where the reader can open them.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <string>

namespace morvane {

// Makes sure that every embedded file stands, complete and byte for byte, in
// the user's own cache directory (temp dir / "morvane-<uid>"), rewriting the
// missing or altered ones. Returns the directory, or "" when no cache can be
// trusted; every outcome is reported on one "info string" line. With
// `dirFd`, the caller also gets (and then owns) a descriptor of the very
// directory that passed the checks, -1 when none did: the path may have been
// swapped since, the descriptor cannot.
std::string extract_embedded_to_cache(int* dirFd = nullptr);

// Why a directory with this status cannot hold the cache of `user`, or
// nullptr when it can: it must be a real directory (not a symbolic link)
// owned by that user.
const char* cache_dir_problem(const struct stat& st, uid_t user);

}  // namespace morvane
