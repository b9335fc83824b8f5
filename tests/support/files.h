// Whole-file reads, for tests that check what a program wrote.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace morvane::test {

// The file's bytes, or nothing when it cannot be read.
inline std::string read_file(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

}  // namespace morvane::test
