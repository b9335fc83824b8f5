// Reading a whole input file that the user names (a configuration, a test
// suite) without ever blocking: a FIFO or a terminal given by mistake would
// otherwise hang the engine in open() or read(), and a huge file would stall
// the command loop.
#pragma once

#include <cstddef>
#include <string>

namespace morvane {

enum class FileRead { Ok, Missing, Refused };

// Reads `path` into `content` when it is a regular file of at most
// `maxBytes` bytes. Missing: it cannot be opened. Refused: it is something
// else (directory, FIFO, device...) or too large; `problem` then says why,
// in words fit for an "info string" line.
FileRead read_regular_file(const std::string& path, std::size_t maxBytes, std::string& content, std::string& problem);

}  // namespace morvane
