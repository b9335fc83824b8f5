#include "common/worker_processes.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <vector>

namespace morvane {

bool run_worker_processes(int workers, const std::function<bool(int)>& job) {
    if (workers <= 1) return job(0);
    // Whatever sits in the stream buffers now would be printed once by each
    // child as well.
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    std::vector<pid_t> children;
    bool ok = true;
    for (int w = 0; w < workers; ++w) {
        const pid_t pid = fork();
        if (pid < 0) {
            std::perror("fork");
            ok = false;
            break;
        }
        if (pid == 0) {
            bool done = false;
            try {
                done = job(w);
            } catch (const std::exception& e) {
                std::cerr << "worker " << w << ": " << e.what() << '\n';
            }
            std::cout.flush();
            std::cerr.flush();
            std::fflush(nullptr);
            // No exit handlers: they belong to the parent (a test runner's
            // reports, the sanitizers' leak check of the parent's memory).
            _exit(done ? 0 : 1);
        }
        children.push_back(pid);
    }
    for (pid_t pid : children) {
        int status = 0;
        if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) ok = false;
    }
    return ok;
}

}  // namespace morvane
