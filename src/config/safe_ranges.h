// Keeping every loaded value inside its key's safe range, so that no tuning
// can make the evaluation or the search overflow or divide by zero.
#pragma once

#include <string>

#include "config/engine_config.h"

namespace morvane {

// Brings every value of the record into its key's range, reporting each
// correction on standard error in the loader's words; returns their count.
int clamp_to_safe_ranges(const std::string& path, EngineConfig& config);

}  // namespace morvane
