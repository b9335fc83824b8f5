// The UCI check options that switch groups of evaluation terms and search
// techniques on and off, in the order the "uci" reply lists them.
#pragma once

#include <span>

#include "config/engine_config.h"

namespace morvane {

struct CheckOption {
    const char* name;
    // The switch it sets; null for UsePruning, which drives the search's
    // process-wide pruning flag rather than a configuration field.
    int EngineConfig::*field;
};

std::span<const CheckOption> check_options();

}  // namespace morvane
