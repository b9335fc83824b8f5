// Parallel work for the developer tools. The engine keeps its configuration,
// transposition table and search flags in process-wide globals, so two
// searches or two evaluations under different weights cannot share a
// process: each worker is a forked child with its own copy of them.
#pragma once

#include <functional>

namespace morvane {

// Runs job(0) .. job(workers - 1), each in its own child process, and waits
// for them all; a single worker runs in this process. True when every job
// returned true (a child that crashed or threw counts as failed).
bool run_worker_processes(int workers, const std::function<bool(int)>& job);

}  // namespace morvane
