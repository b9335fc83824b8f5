// Flags shared between the UCI thread and the search thread. Each has one
// writer at a time; relaxed atomics make the polling race-free without locks.
#pragma once

#include <atomic>
#include <chrono>

namespace morvane {

extern std::atomic<bool> g_stopRequested;  // raised by "stop" and "quit"
extern std::atomic<bool> g_abort;          // the running search must unwind now
extern std::atomic<bool> g_hasDeadline;
extern std::atomic<std::chrono::steady_clock::time_point> g_deadline;
extern std::atomic<bool> g_pruningEnabled;  // the UsePruning option

}  // namespace morvane
