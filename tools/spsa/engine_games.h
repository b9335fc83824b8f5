// The games of an iteration with real engines: the plus and minus sides
// each get a folder holding the engine's parameter file (the base file with
// the tuned keys set after it, so they win), and play game pairs through
// the match runner.
#pragma once

#include <atomic>
#include <ostream>
#include <string>
#include <vector>

#include "spsa/run.h"

namespace spsa {

// A parameter file: the base file's text, a comment line, then one line
// per tuned key (a later entry overrides an earlier one).
std::string config_with_keys(const std::string& baseText, const std::vector<TunedKey>& keys,
                             const std::vector<int>& values, const std::string& comment);

// Plays `state.games.pairs` pairs, plus side first, from the openings that
// follow those of earlier iterations; the folders are made in runDir.
// Games are adjudicated by resignation and draw scores, and by the endgame
// tables when `tables` (they must then be loaded).
PlayIteration engine_games(const std::string& runDir, const std::string& baseText,
                           const std::vector<std::string>& openings, bool tables, std::atomic<bool>& stop,
                           std::ostream& log);

}  // namespace spsa
