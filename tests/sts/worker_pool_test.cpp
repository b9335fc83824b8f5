#include "sts/worker_pool.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace morvane;
using namespace std::chrono_literals;

namespace {

struct Received {
    std::vector<std::size_t> order;
    std::vector<TaskResult> results;
};

Received run_all(std::size_t count, int jobs, std::chrono::milliseconds hangLimit, const TaskWork& work) {
    Received got;
    run_in_workers(count, jobs, hangLimit, work, [&](std::size_t task, const TaskResult& result) {
        got.order.push_back(task);
        got.results.push_back(result);
    });
    return got;
}

}  // namespace

// Early tasks finish last, yet results come back in task order, each from
// a process other than the caller's.
TEST(WorkerPool, ResultsComeBackInTaskOrder) {
    const pid_t caller = getpid();
    const TaskWork work = [&](std::size_t task) {
        std::this_thread::sleep_for(std::chrono::milliseconds(40 - 5 * static_cast<int>(task)));
        return std::to_string(task) + (getpid() == caller ? " here" : " elsewhere");
    };
    for (int jobs : {1, 3}) {
        const Received got = run_all(8, jobs, 60s, work);
        ASSERT_EQ(got.order, (std::vector<std::size_t>{0, 1, 2, 3, 4, 5, 6, 7})) << jobs;
        for (std::size_t i = 0; i < 8; ++i) {
            EXPECT_TRUE(got.results[i].done);
            EXPECT_EQ(got.results[i].text, std::to_string(i) + (jobs == 1 ? " here" : " elsewhere"));
        }
    }
    EXPECT_TRUE(run_all(0, 3, 60s, work).order.empty());
}

// A worker killed by a signal, one that hangs and one whose work throws
// each cost their own task only, with a reason; the others all complete.
TEST(WorkerPool, FailedWorkersCostOnlyTheirTask) {
    const TaskWork work = [](std::size_t task) -> std::string {
        if (task == 1) raise(SIGKILL);
        if (task == 3) pause();
        if (task == 4) throw std::runtime_error("plus de memoire");
        if (task == 6) _exit(3);
        return "ok " + std::to_string(task);
    };
    const Received got = run_all(9, 2, 500ms, work);
    ASSERT_EQ(got.order, (std::vector<std::size_t>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
    for (std::size_t i : {0u, 2u, 5u, 7u, 8u}) {
        EXPECT_TRUE(got.results[i].done) << i;
        EXPECT_EQ(got.results[i].text, "ok " + std::to_string(i));
    }
    for (std::size_t i : {1u, 3u, 4u, 6u}) EXPECT_FALSE(got.results[i].done) << i;
    EXPECT_EQ(got.results[1].text.rfind("processus de recherche tue par le signal 9 (", 0), 0u) << got.results[1].text;
    EXPECT_EQ(got.results[3].text, "processus de recherche sans reponse apres 0.5 s, arrete");
    EXPECT_EQ(got.results[4].text, "exception dans le processus de recherche : plus de memoire");
    EXPECT_EQ(got.results[6].text, "processus de recherche termine avec le code 3");
}
