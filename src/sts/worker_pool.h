// Independent tasks run in forked worker processes, their results handed
// back in task order. Processes rather than threads: the search keeps its
// state in globals and stays single-threaded. A worker that dies or stops
// answering costs only the task it held; a fresh one takes its place.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace morvane {

struct TaskResult {
    bool done = false;    // false: the worker failed and `text` says how
    std::string text;     // what the work returned
};

// Turns task number i into bytes; runs in a worker process.
using TaskWork = std::function<std::string(std::size_t)>;
// Receives task i's result; called in the parent for i = 0, 1, 2... in order.
using TaskDone = std::function<void(std::size_t, const TaskResult&)>;

// Runs tasks 0..count-1 on `jobs` workers; `jobs` 1 runs them here, one
// after the other, with no process of its own. A task that runs longer
// than `hangLimit` has its worker killed.
void run_in_workers(std::size_t count, int jobs, std::chrono::milliseconds hangLimit, const TaskWork& work,
                    const TaskDone& done);

}  // namespace morvane
