// Start positions for self-play, one per line of a FEN or EPD file.
#pragma once

#include <string>
#include <vector>

namespace morvane {

// The playable positions of the file, as FENs. A line gives its position in
// its first four fields (EPD operations and move counters may follow);
// blank lines and lines starting with '#' are skipped, and so, with a
// message on standard error, are positions the engine cannot play from.
// Empty when the file cannot be read.
std::vector<std::string> read_openings(const std::string& path);

}  // namespace morvane
