// A child process spoken to through pipes, line by line. Every read and
// write has a deadline, so an engine that stops answering or stops reading
// can never block the match runner; the child runs in its own process group
// so that killing it also kills anything it started.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace morvane {

using SteadyClock = std::chrono::steady_clock;

enum class ReadStatus { Line, Timeout, Closed };

class EngineProcess {
public:
    EngineProcess() = default;
    ~EngineProcess() { terminate(); }
    EngineProcess(const EngineProcess&) = delete;
    EngineProcess& operator=(const EngineProcess&) = delete;

    // Starts argv[0] (a path, or a name looked up in PATH) in directory dir;
    // its standard error is appended to errorLog, or discarded when that is
    // empty. False when the process could not be created or the program
    // could not be executed.
    bool start(const std::vector<std::string>& argv, const std::string& dir, const std::string& errorLog = "");

    // False when the engine no longer reads its input (it died, or its pipe
    // stayed full until the deadline).
    bool send(const std::string& line, SteadyClock::time_point deadline);

    // Closes the engine's input, as a GUI that goes away does.
    void close_input();

    // Next output line, without its line ending; Timeout once `deadline`
    // passes, Closed when the engine closed its output (it died).
    ReadStatus read_line(std::string& line, SteadyClock::time_point deadline);

    // Reads lines until one starts with prefix and returns it; nothing when
    // the deadline passes first or the engine closes its output. Every line
    // read, the matching one included, is appended to seen when given.
    std::optional<std::string> wait_for(const std::string& prefix, SteadyClock::time_point deadline,
                                        std::vector<std::string>* seen = nullptr);

    // Waits for the process to end by itself: its exit status (-1 when a
    // signal ended it), or nothing when it still runs at the deadline.
    std::optional<int> wait_exit(SteadyClock::time_point deadline);

    bool running() const { return pid_ > 0; }

    // Kills the process group and reaps the child; returns how it ended
    // ("exit status 1", "signal 11"), or "" when it was not running.
    std::string terminate();

    // How the child ended when it closed its output on its own: waits
    // briefly for it, then kills it.
    std::string collect_exit();

private:
    pid_t pid_ = -1;
    int toChild_ = -1, fromChild_ = -1;
    std::string buffer_;
};

}  // namespace morvane
