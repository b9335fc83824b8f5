// Report files held by one test-suite run at a time. Two runs writing the
// same reports would interleave their lines and each one's --continue would
// then trust the other's results; an exclusive lock taken before anything
// is written makes the second run stop instead.
#pragma once

#include <cstddef>
#include <string>

namespace morvane {

// An open, locked report; the lock lasts as long as the object.
class LockedReport {
public:
    LockedReport() = default;
    ~LockedReport();
    LockedReport(const LockedReport&) = delete;
    LockedReport& operator=(const LockedReport&) = delete;

    // Opens `path` for writing (created when missing, never truncated here)
    // and locks it without waiting. "" on success, else why it failed.
    std::string open(const std::string& path);

    // Cuts the file to `length` bytes; false on failure.
    bool truncate(std::size_t length);

private:
    int fd_ = -1;
};

}  // namespace morvane
