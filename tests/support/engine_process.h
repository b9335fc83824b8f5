// Runs the real engine executable as a child process and talks to it
// through pipes, as a GUI or match manager would.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace morvane::test {

// Generous: start-up (attack tables) is slow under the sanitizers.
inline constexpr int StartupMs = 30000;

inline long elapsed_ms(std::chrono::steady_clock::time_point since) {
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - since).count());
}

class EngineProcess {
public:
    // The engine under test by default; the fuzzer passes another binary.
    // A workdir starts it there, as a GUI starts it in a folder of its own.
    explicit EngineProcess(const char* exe = MORVANE_EXE, const char* workdir = nullptr) {
        int toChild[2], fromChild[2];
        if (pipe(toChild) != 0 || pipe(fromChild) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            dup2(toChild[0], STDIN_FILENO);
            dup2(fromChild[1], STDOUT_FILENO);
            // Diagnostics go to a file when asked, for debugging a failure.
            const char* errPath = getenv("MORVANE_TEST_STDERR");
            const int errFd = open(errPath ? errPath : "/dev/null", O_WRONLY | O_CREAT | O_APPEND, 0644);
            dup2(errFd, STDERR_FILENO);
            close(toChild[1]);
            close(fromChild[0]);
            if (workdir && chdir(workdir) != 0) _exit(126);
            execl(exe, exe, static_cast<char*>(nullptr));
            _exit(127);
        }
        close(toChild[0]);
        close(fromChild[1]);
        in_ = toChild[1];
        out_ = fromChild[0];
        signal(SIGPIPE, SIG_IGN);
    }

    ~EngineProcess() {
        close_input();
        if (out_ >= 0) close(out_);
        if (pid_ > 0 && !exited_) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }

    EngineProcess(const EngineProcess&) = delete;
    EngineProcess& operator=(const EngineProcess&) = delete;

    void send(const std::string& line) {
        const std::string text = line + "\n";
        if (in_ >= 0) [[maybe_unused]]
            auto written = write(in_, text.data(), text.size());
    }

    void close_input() {
        if (in_ >= 0) close(in_);
        in_ = -1;
    }

    // Asks whether the engine is ready and waits for it to start up.
    bool ready() {
        send("isready");
        return pid_ > 0 && wait_for("readyok", StartupMs).has_value();
    }

    // Reads lines until one starts with prefix and returns it; nothing when
    // the timeout passes first or the engine closes its output.
    std::optional<std::string> wait_for(const std::string& prefix, int timeoutMs,
                                        std::vector<std::string>* seen = nullptr) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;) {
            for (std::size_t nl; (nl = buffer_.find('\n')) != std::string::npos;) {
                std::string line = buffer_.substr(0, nl);
                buffer_.erase(0, nl + 1);
                if (seen) seen->push_back(line);
                if (line.rfind(prefix, 0) == 0) return line;
            }
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline -
                                                                                    std::chrono::steady_clock::now());
            if (left.count() <= 0) return std::nullopt;
            pollfd pfd{out_, POLLIN, 0};
            if (poll(&pfd, 1, static_cast<int>(left.count())) <= 0) continue;
            char chunk[4096];
            const ssize_t n = read(out_, chunk, sizeof chunk);
            if (n <= 0) return std::nullopt;
            buffer_.append(chunk, static_cast<std::size_t>(n));
        }
    }

    // Waits for the process to end; its exit status, or nothing on timeout.
    std::optional<int> wait_exit(int timeoutMs) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (std::chrono::steady_clock::now() < deadline) {
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                exited_ = true;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
            usleep(2000);
        }
        return std::nullopt;
    }

private:
    pid_t pid_ = -1;
    int in_ = -1, out_ = -1;
    bool exited_ = false;
    std::string buffer_;
};

}  // namespace morvane::test
