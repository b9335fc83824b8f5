// Writing a whole buffer to a descriptor: write() may take only part of it
// (a pipe, a signal), and every caller that hands data to a file or another
// process needs all of it or a clear failure.
#pragma once

#include <cstddef>
#include <string>

namespace morvane {

// Writes all `size` bytes, retrying after interruptions; false on an error
// or a descriptor that takes nothing.
bool write_all(int fd, const void* data, std::size_t size);
inline bool write_all(int fd, const std::string& text) { return write_all(fd, text.data(), text.size()); }

}  // namespace morvane
