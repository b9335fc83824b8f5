// The tuner's state on disk: a text file replaced as a whole after every
// iteration, so that a run killed at any moment leaves either the previous
// state or the new one, never a mixture.
#pragma once

#include <string>

#include "spsa/tuner.h"

namespace spsa {

// Writes a temporary file beside `path`, flushes it to disk and renames it
// over `path`. False with a message when any step fails; `path` is then as
// it was.
bool save_state(const std::string& path, const TunerState& state, std::string& error);

// False with a message when the file is missing, unreadable or incomplete.
bool load_state(const std::string& path, TunerState& state, std::string& error);

}  // namespace spsa
