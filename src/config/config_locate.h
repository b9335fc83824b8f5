// Where the engine looks for its tuned parameter file when it starts: a GUI
// usually starts it in a folder of its own choosing, so the working
// directory alone would miss the file shipped with the executable.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "config/engine_config.h"

namespace morvane {

inline constexpr const char* DefaultConfigName = "Morvane047.cfg";

// The file that was loaded; an empty path means none was found and the
// built-in defaults play.
struct LoadedConfig {
    std::string path;  // absolute
    int entries = 0;
};

// The places searched, in order: the working directory (the bare name),
// the executable's own folder, then the data folder of an installation
// (<prefix>/share/morvane beside <prefix>/bin). An empty exeDir leaves out
// the last two.
std::vector<std::filesystem::path> config_candidates(const std::filesystem::path& exeDir);

// Loads the first candidate that can be read.
LoadedConfig load_first_config(const std::vector<std::filesystem::path>& candidates, EngineConfig& config);

// The folder of the running executable, empty when the system cannot say.
std::filesystem::path executable_dir();

}  // namespace morvane
