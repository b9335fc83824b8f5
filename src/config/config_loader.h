// Reading a configuration file of named integer parameters into a record.
#pragma once

#include <string>

#include "config/engine_config.h"

namespace morvane {

// False when the file cannot be opened (silently) or is not a regular file
// of sane size (reported), the record then unchanged; true otherwise,
// however many entries were bad. Every problem is reported on one
// "info string" line of standard error and skipped; past a few of them (or
// a few kilobytes of them) the rest are only counted in the summary line.
// Messages quote at most the first 80 characters of a token. loadedEntries,
// when given, receives the number of entries applied.
bool load_config(const std::string& path, EngineConfig& config, int* loadedEntries = nullptr);

// Rescales every centipawn-valued key so that a pawn is worth exactly 100.
void rescale_to_pawn_100(EngineConfig& config);

}  // namespace morvane
