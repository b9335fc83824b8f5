// One engine of the match as the runner sees it: how to start it, how long
// it may think, and a UCI conversation with deadlines on every answer.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/engine_process.h"

namespace match {

using morvane::EngineProcess;
using morvane::ReadStatus;
using morvane::SteadyClock;

// How much an engine may think per move: a clock (base + increment), or a
// fixed number of nodes or a fixed depth, which the runner does not time.
struct Effort {
    std::int64_t baseMs = -1, incMs = 0;
    std::int64_t nodes = 0;
    int depth = 0;
    bool timed() const { return baseMs >= 0; }
};

struct EngineSetup {
    std::string name;
    std::vector<std::string> argv;                             // the program and its arguments
    std::string dir;                                           // working directory; empty: the runner's
    std::vector<std::pair<std::string, std::string>> options;  // setoption name/value
    Effort effort;
};

struct Reply {
    enum class Kind { Move, Timeout, Crashed, Interrupted } kind = Kind::Move;
    std::string move;            // the bestmove text, possibly not a move at all
    std::int64_t elapsedMs = 0;  // from go to bestmove
    std::optional<int> score;    // last reported, centipawns from the mover's side
    std::string detail;          // how a crashed engine ended
};

// A reported score: "score cp X" as is, "score mate N" mapped into the same
// mate range the engine itself prints (30000 minus plies to mate).
std::optional<int> parse_score(const std::string& infoLine);

class UciEngine {
public:
    explicit UciEngine(EngineSetup setup) : setup_(std::move(setup)) {}

    const EngineSetup& setup() const { return setup_; }

    // Ready for a new game: (re)starts the engine when it is not running or
    // did not answer, then ucinewgame and isready. False with a reason in
    // error when the engine cannot be brought up.
    bool prepare_game(std::string& error);

    // Sends the position and go command and waits for bestmove until
    // `deadline` (or until `interrupted` is raised).
    Reply think(const std::string& position, const std::string& go, SteadyClock::time_point deadline,
                const std::atomic<bool>& interrupted);

    // After a reply that came too late or not at all: the engine's state is
    // unknown, so the next prepare_game resynchronises or restarts it.
    void abandon_search();

    void quit();

private:
    bool start(std::string& error);

    EngineSetup setup_;
    EngineProcess process_;
    bool needsResync_ = false;
};

}  // namespace match
