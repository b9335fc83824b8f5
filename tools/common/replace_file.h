// Replacing a file as a whole, so that a process killed at any moment (or a
// power cut) leaves either the old content or the new one, never a mixture.
#pragma once

#include <string>

namespace morvane {

// Writes `content` to a temporary file beside `path` (path + suffix), flushes
// it to disk and renames it over `path`. False with a message when any step
// fails; `path` is then as it was.
bool replace_file(const std::string& path, const std::string& content, std::string& error,
                  const std::string& suffix = ".tmp");

}  // namespace morvane
