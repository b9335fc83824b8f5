// The real engine executable as a child process, talked to through pipes as
// a GUI or match manager would, with the waits the tests need in plain
// milliseconds.
#pragma once

#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "common/engine_process.h"

namespace morvane::test {

// Generous: start-up (attack tables) is slow under the sanitizers.
inline constexpr int StartupMs = 30000;

inline long elapsed_ms(std::chrono::steady_clock::time_point since) {
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - since).count());
}

inline SteadyClock::time_point in_ms(int ms) { return SteadyClock::now() + std::chrono::milliseconds(ms); }

class EngineUnderTest : public EngineProcess {
public:
    // The engine under test by default; a workdir starts it there, as a GUI
    // starts it in a folder of its own. Its diagnostics go to the file
    // MORVANE_TEST_STDERR names, when set, for debugging a failure.
    explicit EngineUnderTest(const char* exe = MORVANE_EXE, const char* workdir = nullptr) {
        const char* errorLog = std::getenv("MORVANE_TEST_STDERR");
        start({exe}, workdir ? workdir : "", errorLog ? errorLog : "");
    }

    // A line the engine must read; it never blocks a test for long.
    void send(const std::string& line) { EngineProcess::send(line, in_ms(5000)); }

    // Asks whether the engine is ready and waits for it to start up.
    bool ready() {
        send("isready");
        return running() && wait_for("readyok", StartupMs).has_value();
    }

    using EngineProcess::wait_for;
    std::optional<std::string> wait_for(const std::string& prefix, int timeoutMs,
                                        std::vector<std::string>* seen = nullptr) {
        return wait_for(prefix, in_ms(timeoutMs), seen);
    }

    std::optional<int> wait_exit(int timeoutMs) { return EngineProcess::wait_exit(in_ms(timeoutMs)); }
};

}  // namespace morvane::test
