// The tuning loop: iterations played one after the other, the state saved
// after each, a history row and a progress line for each.
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

#include "spsa/tuner.h"

namespace spsa {

struct RunFiles {
    std::string state, history;
};

// Plays the games of one iteration; nothing when they were stopped before
// all of them ended (the iteration is then played again on resuming).
using PlayIteration = std::function<std::optional<Outcome>(const TunerState&, const Trial&)>;

enum class RunEnd { Finished, Stopped, Failed };

// Runs until the planned iterations are done, `stop` is raised, or a file
// cannot be written (reported on `progress`).
RunEnd run_tuner(TunerState& state, const RunFiles& files, const PlayIteration& play, const std::atomic<bool>& stop,
                 std::ostream& progress);

}  // namespace spsa
