// The run's history: one CSV row per completed iteration (the games so far
// and every key's unrounded value), for plotting the trajectories and for
// averaging the end of a run.
#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <vector>

#include "spsa/tuner.h"

namespace spsa {

// A new history: its header and the start values as row 0.
bool start_history(const std::string& path, const TunerState& state, std::string& error);

// Appends the row of the iteration the state has just completed.
bool append_history(const std::string& path, const TunerState& state, std::string& error);

// On resuming: drops rows of iterations the state does not hold (written
// just before a run died), so that none is counted twice.
bool trim_history(const std::string& path, std::int64_t iteration, std::string& error);

struct History {
    std::vector<std::string> keys;
    std::vector<double> iterations;
    std::vector<std::vector<double>> values;  // one series per key, one value per row
};

// Rows cut short by a killed run are skipped. False with a message when the
// history has no key column, no row or an unreadable row.
bool read_history(std::istream& in, History& history, std::string& error);

// Each key's mean over the rows of the last `count` iterations up to
// `lastIteration`. Late SPSA values wander by the perturbations' noise
// around the optimum; their mean lies closer to it than any single row.
// False with a message when the history does not hold those rows.
bool mean_of_last_iterations(const History& history, std::int64_t lastIteration, std::int64_t count,
                             std::vector<double>& means, std::string& error);

}  // namespace spsa
