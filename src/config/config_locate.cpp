#include "config/config_locate.h"

#include <system_error>

#include "config/config_loader.h"

namespace morvane {

std::vector<std::filesystem::path> config_candidates(const std::filesystem::path& exeDir) {
    std::vector<std::filesystem::path> candidates{DefaultConfigName};
    if (!exeDir.empty()) {
        candidates.push_back(exeDir / DefaultConfigName);
        candidates.push_back((exeDir.parent_path() / "share" / "morvane" / DefaultConfigName).lexically_normal());
    }
    return candidates;
}

LoadedConfig load_first_config(const std::vector<std::filesystem::path>& candidates, EngineConfig& config) {
    for (const std::filesystem::path& candidate : candidates) {
        int entries = 0;
        if (!load_config(candidate.string(), config, &entries)) continue;
        std::error_code ec;
        const std::filesystem::path absolute = std::filesystem::absolute(candidate, ec);
        return {ec ? candidate.string() : absolute.lexically_normal().string(), entries};
    }
    return {};
}

std::filesystem::path executable_dir() {
    std::error_code ec;
    const std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::filesystem::path() : exe.parent_path();
}

}  // namespace morvane
