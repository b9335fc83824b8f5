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

// A new history: its header and the start values as row 0.
bool start_history(const std::string& path, const TunerState& state, std::string& error);

// On resuming: drops rows of iterations the state does not hold (written
// just before a run died), so that none is counted twice.
bool trim_history(const std::string& path, std::int64_t iteration, std::string& error);

}  // namespace spsa
