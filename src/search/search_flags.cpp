#include "search/search_flags.h"

namespace morvane {

std::atomic<bool> g_stopRequested{false};
std::atomic<bool> g_abort{false};
std::atomic<bool> g_hasDeadline{false};
std::atomic<std::chrono::steady_clock::time_point> g_deadline{};
std::atomic<bool> g_pruningEnabled{true};
std::atomic<bool> g_pondering{false};
std::atomic<std::uint64_t> g_nodeBudget{UINT64_MAX};

}  // namespace morvane
