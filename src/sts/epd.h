// EPD test-suite files: positions with expected best moves (bm), an id and
// an optional table of partial credit for alternative moves (c0).
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace morvane {

struct StsPosition {
    std::string fen;
    std::vector<std::string> best_moves;
    std::string id;
    std::vector<std::pair<std::string, int>> alternatives;
    int line = 0;
};

std::string trim(const std::string& text);
// Text strictly between the first two double quotes; empty without them.
std::string extract_quoted(const std::string& text);

// Positions in file order; bad lines are reported on standard error and skipped.
std::vector<StsPosition> parse_epd_file(const std::string& path);

}  // namespace morvane
