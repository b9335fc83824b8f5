// Flags shared between the UCI thread and the search thread. Each has one
// writer at a time; relaxed atomics make the polling race-free without locks.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace morvane {

extern std::atomic<bool> g_stopRequested;  // raised by "stop" and "quit"
extern std::atomic<bool> g_abort;          // the running search must unwind now
extern std::atomic<bool> g_hasDeadline;
extern std::atomic<std::chrono::steady_clock::time_point> g_deadline;
extern std::atomic<bool> g_pruningEnabled;  // the UsePruning option
// A "go ponder" search: its clock starts only at "ponderhit", and its
// answer waits for "ponderhit" or "stop".
extern std::atomic<bool> g_pondering;
// Nodes the current root search may still count before it must unwind; the
// iterations of a "go nodes" search share one budget.
extern std::atomic<std::uint64_t> g_nodeBudget;

}  // namespace morvane
