// Scratch directories and whole-file reads, for tests that check what a
// program wrote.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace morvane::test {

// A fresh directory of its own under /tmp, removed with all it holds.
class ScratchDir {
public:
    ScratchDir() {
        char pattern[] = "/tmp/morvane_test_XXXXXX";
        path_ = mkdtemp(pattern);
    }
    ~ScratchDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
    const std::filesystem::path& path() const { return path_; }
    // A path inside the directory.
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

// The file's bytes, or nothing when it cannot be read.
inline std::string read_file(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

// How many games a PGN text holds.
inline int pgn_game_count(const std::string& pgn) {
    int games = 0;
    for (auto at = pgn.find("[Event "); at != std::string::npos; at = pgn.find("[Event ", at + 1)) ++games;
    return games;
}

}  // namespace morvane::test
