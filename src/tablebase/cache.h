// Writing the embedded endgame-table files into a cache directory under the
// system's temporary directory, where the reader can open them.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace morvane {

// Writes the missing or wrongly sized files; returns the cache directory,
// or "" when it cannot be determined or created.
std::string extract_embedded_to_cache();

// Writes dir/name in place; true when every byte was written.
bool write_embedded_file(const std::filesystem::path& dir, const char* name, const unsigned char* data,
                         std::size_t size);

}  // namespace morvane
