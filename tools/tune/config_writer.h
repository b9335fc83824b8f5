// Writes a configuration in the engine's file format.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "config/engine_config.h"

namespace morvane {

// Every key whose values in `config` differ from the engine's defaults, so
// that the file alone reproduces `config`; each header line goes first as a
// comment. Piece-square tables are written a1 to h8, one rank per line.
void write_config(std::ostream& out, const EngineConfig& config, const std::vector<std::string>& header);

}  // namespace morvane
