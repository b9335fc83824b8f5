// The range each configuration key may take without the arithmetic that
// reads it overflowing or dividing by zero.
#pragma once

#include <string>
#include <string_view>

#include "config/engine_config.h"

namespace morvane {

SafeRange safe_range(std::string_view key);

// Brings every value of the record into its key's range, reporting each
// correction on standard error in the loader's words; returns their count.
int clamp_to_safe_ranges(const std::string& path, EngineConfig& config);

}  // namespace morvane
