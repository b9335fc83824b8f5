#include "common/engine_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>

namespace morvane {

namespace {

// An engine line longer than this is not UCI; keeping it would only let a
// runaway engine exhaust the runner's memory.
constexpr std::size_t MaxLineBytes = 1 << 20;

int ms_until(SteadyClock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - SteadyClock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 1000 * 1000));
}

std::string describe_status(int status) {
    if (WIFEXITED(status)) return "exit status " + std::to_string(WEXITSTATUS(status));
    if (WIFSIGNALED(status)) return "signal " + std::to_string(WTERMSIG(status));
    return "unknown end";
}

}  // namespace

bool EngineProcess::start(const std::vector<std::string>& argv, const std::string& dir, const std::string& errorLog) {
    terminate();
    // An engine that dies must show as a failed write, not kill the runner.
    signal(SIGPIPE, SIG_IGN);
    // Close-on-exec everywhere: a child started by another game thread must
    // not inherit this engine's pipe ends, or this engine's death would
    // never show as end of file.
    int in[2], out[2], status[2];
    if (pipe2(in, O_CLOEXEC) != 0) return false;
    if (pipe2(out, O_CLOEXEC) != 0) {
        close(in[0]), close(in[1]);
        return false;
    }
    if (pipe2(status, O_CLOEXEC) != 0) {
        close(in[0]), close(in[1]), close(out[0]), close(out[1]);
        return false;
    }
    // Everything the child needs is prepared before fork: between fork and
    // exec a multithreaded program may only make async-signal-safe calls.
    std::vector<char*> args;
    for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    const char* directory = dir.empty() ? nullptr : dir.c_str();
    const char* errorPath = errorLog.empty() ? "/dev/null" : errorLog.c_str();

    const pid_t pid = fork();
    if (pid == 0) {
        setpgid(0, 0);
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        const int errorFd = open(errorPath, O_WRONLY | O_CREAT | O_APPEND, 0644);
        if (errorFd >= 0) dup2(errorFd, STDERR_FILENO);
        int error = 0;
        if (directory && chdir(directory) != 0) error = errno;
        else {
            execvp(args[0], args.data());
            error = errno;
        }
        // Tell the parent why exec failed; on success close-on-exec closes
        // this pipe and the parent reads end of file.
        [[maybe_unused]] auto written = write(status[1], &error, sizeof error);
        _exit(127);
    }
    close(in[0]);
    close(out[1]);
    close(status[1]);
    if (pid < 0) {
        close(in[1]), close(out[0]), close(status[0]);
        return false;
    }
    int error = 0;
    ssize_t got;
    do got = read(status[0], &error, sizeof error);
    while (got < 0 && errno == EINTR);
    close(status[0]);
    pid_ = pid;
    toChild_ = in[1];
    fromChild_ = out[0];
    buffer_.clear();
    if (got > 0) {
        terminate();
        return false;
    }
    // Writes must never block: an engine that stops reading would otherwise
    // freeze its game thread once the pipe fills.
    fcntl(toChild_, F_SETFL, fcntl(toChild_, F_GETFL) | O_NONBLOCK);
    return true;
}

bool EngineProcess::send(const std::string& line, SteadyClock::time_point deadline) {
    if (toChild_ < 0) return false;
    const std::string text = line + "\n";
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = write(toChild_, text.data() + done, text.size() - done);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno != EAGAIN) return false;  // EPIPE: the engine is gone
        pollfd pfd{toChild_, POLLOUT, 0};
        const int wait = ms_until(deadline);
        if (wait == 0) return false;
        const int ready = poll(&pfd, 1, wait);
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return false;
    }
    return true;
}

void EngineProcess::close_input() {
    if (toChild_ >= 0) close(toChild_);
    toChild_ = -1;
}

std::optional<std::string> EngineProcess::wait_for(const std::string& prefix, SteadyClock::time_point deadline,
                                                   std::vector<std::string>* seen) {
    std::string line;
    while (read_line(line, deadline) == ReadStatus::Line) {
        if (seen) seen->push_back(line);
        if (line.rfind(prefix, 0) == 0) return line;
    }
    return std::nullopt;
}

std::optional<int> EngineProcess::wait_exit(SteadyClock::time_point deadline) {
    if (pid_ <= 0) return std::nullopt;
    for (;;) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            kill(-pid_, SIGKILL);  // whatever the engine itself started
            pid_ = -1;
            terminate();  // closes the pipes
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        if (SteadyClock::now() >= deadline) return std::nullopt;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

ReadStatus EngineProcess::read_line(std::string& line, SteadyClock::time_point deadline) {
    for (;;) {
        if (const auto nl = buffer_.find('\n'); nl != std::string::npos) {
            line.assign(buffer_, 0, nl);
            if (!line.empty() && line.back() == '\r') line.pop_back();
            buffer_.erase(0, nl + 1);
            return ReadStatus::Line;
        }
        if (fromChild_ < 0) return ReadStatus::Closed;
        if (buffer_.size() > MaxLineBytes) {
            line = buffer_.substr(0, 200);
            buffer_.clear();
            return ReadStatus::Line;
        }
        pollfd pfd{fromChild_, POLLIN, 0};
        const int ready = poll(&pfd, 1, ms_until(deadline));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return ReadStatus::Timeout;
        char chunk[4096];
        const ssize_t n = read(fromChild_, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            // A last line without its newline still counts.
            close(fromChild_);
            fromChild_ = -1;
            if (!buffer_.empty()) buffer_ += '\n';
            continue;
        }
        buffer_.append(chunk, static_cast<std::size_t>(n));
    }
}

std::string EngineProcess::collect_exit() {
    if (pid_ <= 0) return "";
    // A process that closed its output is usually exiting; give it a moment
    // so the report can say how it ended, then stop waiting.
    const auto deadline = SteadyClock::now() + std::chrono::milliseconds(500);
    int status = 0;
    while (SteadyClock::now() < deadline) {
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            kill(-pid_, SIGKILL);  // whatever the engine itself started
            pid_ = -1;
            terminate();
            return describe_status(status);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return terminate();
}

std::string EngineProcess::terminate() {
    if (toChild_ >= 0) close(toChild_);
    if (fromChild_ >= 0) close(fromChild_);
    toChild_ = fromChild_ = -1;
    buffer_.clear();
    if (pid_ <= 0) return "";
    kill(-pid_, SIGKILL);
    kill(pid_, SIGKILL);
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return describe_status(status);
}

}  // namespace morvane
