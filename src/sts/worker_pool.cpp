#include "sts/worker_pool.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "core/fd_write.h"

namespace morvane {

namespace {

using Clock = std::chrono::steady_clock;

struct Worker {
    pid_t pid = -1;
    int toWorker = -1, fromWorker = -1;
    bool busy = false;
    std::size_t task = 0;
    Clock::time_point started;
    std::string inbox;
};

// A frame from a worker: done flag and length, then the text.
constexpr std::size_t frameHeader = 2 * sizeof(std::uint64_t);
// Far above any one position's outcome; more means a broken worker.
constexpr std::uint64_t maxFrameText = std::uint64_t{1} << 24;

bool read_all(int fd, char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t got = ::read(fd, data, size);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        data += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

[[noreturn]] void worker_main(int in, int out, const TaskWork& work) {
    for (;;) {
        std::uint64_t task = 0;
        if (!read_all(in, reinterpret_cast<char*>(&task), sizeof task)) ::_exit(0);
        std::uint64_t header[2] = {0, 0};
        std::string text;
        try {
            text = work(static_cast<std::size_t>(task));
            header[0] = 1;
        } catch (const std::exception& e) {
            text = std::string("exception dans le processus de recherche : ") + e.what();
        }
        header[1] = text.size();
        if (!write_all(out, header, sizeof header) ||
            !write_all(out, text.data(), text.size()))
            ::_exit(1);
    }
}

void close_fds(Worker& w) {
    if (w.toWorker >= 0) ::close(w.toWorker);
    if (w.fromWorker >= 0) ::close(w.fromWorker);
    w.toWorker = w.fromWorker = -1;
}

bool spawn(std::vector<Worker>& workers, Worker& slot, const TaskWork& work) {
    int down[2], up[2];
    if (::pipe2(down, O_CLOEXEC) != 0) return false;
    if (::pipe2(up, O_CLOEXEC) != 0) {
        ::close(down[0]);
        ::close(down[1]);
        return false;
    }
    const pid_t parent = ::getpid();
    const pid_t pid = ::fork();
    if (pid == 0) {
        // A worker outlives neither the run nor its pipes: a run killed
        // mid-way must not leave searches behind holding the report lock.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) ::_exit(0);
        for (Worker& other : workers) close_fds(other);
        ::close(down[1]);
        ::close(up[0]);
        worker_main(down[0], up[1], work);
    }
    ::close(down[0]);
    ::close(up[1]);
    if (pid < 0) {
        ::close(down[1]);
        ::close(up[0]);
        return false;
    }
    slot = Worker{};
    slot.pid = pid;
    slot.toWorker = down[1];
    slot.fromWorker = up[0];
    ::fcntl(slot.fromWorker, F_SETFL, O_NONBLOCK);
    return true;
}

std::string exit_text(int status) {
    if (WIFSIGNALED(status))
        return "tue par le signal " + std::to_string(WTERMSIG(status)) + " (" + ::strsignal(WTERMSIG(status)) + ")";
    if (WIFEXITED(status)) return "termine avec le code " + std::to_string(WEXITSTATUS(status));
    return "arrete";
}

// Writing to a worker that has just died must fail, not kill the runner.
class IgnoreBrokenPipes {
public:
    IgnoreBrokenPipes() {
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        ::sigaction(SIGPIPE, &ignore, &saved_);
    }
    ~IgnoreBrokenPipes() { ::sigaction(SIGPIPE, &saved_, nullptr); }
    IgnoreBrokenPipes(const IgnoreBrokenPipes&) = delete;
    IgnoreBrokenPipes& operator=(const IgnoreBrokenPipes&) = delete;

private:
    struct sigaction saved_ {};
};

class Pool {
public:
    Pool(std::size_t count, int jobs, std::chrono::milliseconds hangLimit, const TaskWork& work, const TaskDone& done)
        : count_(count), hangLimit_(hangLimit), work_(work), done_(done), workers_(static_cast<std::size_t>(jobs)) {}
    // Reached with workers alive only when the caller's callback threw.
    ~Pool() {
        for (Worker& w : workers_)
            if (w.pid > 0) {
                ::kill(w.pid, SIGKILL);
                close_fds(w);
                ::waitpid(w.pid, nullptr, 0);
            }
    }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

    void run() {
        while (emitted_ < count_) {
            hand_out();
            if (std::none_of(workers_.begin(), workers_.end(), [](const Worker& w) { return w.busy; })) {
                // No process can be started: the rest is searched here.
                for (; next_ < count_; ++next_) store(next_, TaskResult{true, work_(next_)});
                break;
            }
            wait_for_answers();
        }
        // Idle workers leave when their pipe closes.
        for (Worker& w : workers_)
            if (w.pid > 0) {
                close_fds(w);
                ::waitpid(w.pid, nullptr, 0);
                w.pid = -1;
            }
    }

private:
    void hand_out() {
        for (Worker& w : workers_) {
            if (next_ >= count_) return;
            if (w.busy) continue;
            if (w.pid <= 0 && !spawn(workers_, w, work_)) continue;
            const std::uint64_t task = next_;
            if (!write_all(w.toWorker, &task, sizeof task)) {
                retire(w, "");  // died while idle: nothing lost, a new one is started next round
                continue;
            }
            w.busy = true;
            w.task = next_++;
            w.started = Clock::now();
            w.inbox.clear();
        }
    }

    void wait_for_answers() {
        std::vector<pollfd> fds;
        std::vector<Worker*> owners;
        auto wait = hangLimit_;
        const auto now = Clock::now();
        for (Worker& w : workers_)
            if (w.busy) {
                fds.push_back({w.fromWorker, POLLIN, 0});
                owners.push_back(&w);
                const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(w.started + hangLimit_ - now);
                wait = std::min(wait, std::max(left, std::chrono::milliseconds(0)));
            }
        const int waitMs = static_cast<int>(std::min<long long>(wait.count() + 1, 60000));
        if (::poll(fds.data(), fds.size(), waitMs) < 0 && errno != EINTR) throw std::runtime_error("poll");
        for (std::size_t i = 0; i < fds.size(); ++i)
            if (fds[i].revents != 0) read_from(*owners[i]);
        for (Worker* w : owners)
            if (w->busy && Clock::now() - w->started > hangLimit_) {
                ::kill(w->pid, SIGKILL);
                std::ostringstream why;
                why << "processus de recherche sans reponse apres " << static_cast<double>(hangLimit_.count()) / 1000
                    << " s, arrete";
                retire(*w, why.str());
            }
    }

    void read_from(Worker& w) {
        char buffer[1 << 14];
        bool closed = false;
        for (;;) {
            const ssize_t got = ::read(w.fromWorker, buffer, sizeof buffer);
            if (got < 0 && errno == EINTR) continue;
            if (got < 0 && errno == EAGAIN) break;
            if (got <= 0) {
                closed = true;
                break;
            }
            w.inbox.append(buffer, static_cast<std::size_t>(got));
        }
        // A whole answer counts even when the worker died right after it.
        if (w.inbox.size() >= frameHeader) {
            std::uint64_t header[2];
            std::memcpy(header, w.inbox.data(), sizeof header);
            if (header[1] > maxFrameText) {
                ::kill(w.pid, SIGKILL);
                retire(w, "processus de recherche incoherent, arrete");
                return;
            }
            if (w.inbox.size() >= frameHeader + header[1]) {
                w.busy = false;
                store(w.task, TaskResult{header[0] == 1, w.inbox.substr(frameHeader, header[1])});
            }
        }
        if (closed) retire(w, "processus de recherche ");
    }

    // Ends a worker; a task it held fails with `why` (its exit status
    // added when `why` ends with a blank).
    void retire(Worker& w, const std::string& why) {
        close_fds(w);
        int status = 0;
        ::waitpid(w.pid, &status, 0);
        w.pid = -1;
        if (!w.busy) return;
        w.busy = false;
        store(w.task, TaskResult{false, !why.empty() && why.back() == ' ' ? why + exit_text(status) : why});
    }

    void store(std::size_t task, TaskResult result) {
        ready_[task] = std::move(result);
        for (auto it = ready_.find(emitted_); it != ready_.end(); it = ready_.find(emitted_)) {
            done_(emitted_++, it->second);
            ready_.erase(it);
        }
    }

    std::size_t count_;
    std::chrono::milliseconds hangLimit_;
    const TaskWork& work_;
    const TaskDone& done_;
    std::vector<Worker> workers_;
    std::map<std::size_t, TaskResult> ready_;
    std::size_t next_ = 0, emitted_ = 0;
};

}  // namespace

void run_in_workers(std::size_t count, int jobs, std::chrono::milliseconds hangLimit, const TaskWork& work,
                    const TaskDone& done) {
    if (jobs <= 1) {
        for (std::size_t i = 0; i < count; ++i) done(i, TaskResult{true, work(i)});
        return;
    }
    IgnoreBrokenPipes guard;
    Pool(count, jobs, hangLimit, work, done).run();
}

}  // namespace morvane
