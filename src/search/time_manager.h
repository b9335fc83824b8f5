// Time management: how long a move may take, and when a running search must
// stop. The deadline itself lives in the shared flags, since "ponderhit" on
// the UCI thread may set it while the search runs.
#pragma once

#include <chrono>
#include <cstdint>

#include "search/search.h"

namespace morvane {

// Milliseconds the clock allows for this move; negative when the limits
// set no deadline.
std::int64_t allocate_time_ms(const Board& board, const SearchLimits& limits);

// Sets (or clears) the deadline of a search that starts at `start`. A
// pondering search keeps whatever deadline "ponderhit" may already have set.
void set_search_deadline(const Board& board, const SearchLimits& limits, std::chrono::steady_clock::time_point start);

// Whether iteration `depth` may start, given what the previous one took.
// An iteration that could not finish before the deadline is not started,
// and the deadline is then dropped so that the search ends at once.
bool iteration_fits(int depth, std::uint64_t previousIterationMs);

// Polled by every node with the node count of the current root search: once
// per node-mask period it checks the stop flag, the node budget and the
// deadline, and raises the abort flag when one of them says stop.
bool time_to_stop(std::uint64_t nodes);

}  // namespace morvane
