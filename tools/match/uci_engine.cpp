#include "match/uci_engine.h"

#include <sstream>

namespace match {

namespace {

// An engine that first writes its endgame tables to disk needs a while.
constexpr auto StartupTimeout = std::chrono::seconds(30);
constexpr auto ReadyTimeout = std::chrono::seconds(10);
// How often a waiting game thread looks at the interrupt flag.
constexpr auto InterruptPoll = std::chrono::milliseconds(100);

std::int64_t ms_since(SteadyClock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(SteadyClock::now() - start).count();
}

}  // namespace

std::optional<int> parse_score(const std::string& infoLine) {
    std::istringstream in(infoLine);
    std::string token;
    in >> token;
    if (token != "info") return std::nullopt;
    while (in >> token) {
        if (token == "string") return std::nullopt;  // free text to the end of the line
        if (token != "score") continue;
        std::string kind;
        long value;
        if (!(in >> kind >> value)) return std::nullopt;
        if (kind == "cp") return static_cast<int>(value);
        if (kind == "mate")
            return value > 0 ? 30000 - static_cast<int>(2 * value - 1) : -30000 - static_cast<int>(2 * value);
        return std::nullopt;
    }
    return std::nullopt;
}

bool UciEngine::start(std::string& error) {
    if (!process_.start(setup_.argv, setup_.dir)) {
        error = "cannot start " + setup_.argv.front() + (setup_.dir.empty() ? "" : " in " + setup_.dir);
        return false;
    }
    const auto deadline = SteadyClock::now() + StartupTimeout;
    if (!process_.send("uci", deadline) || !process_.wait_for("uciok", deadline)) {
        error = "no uciok from " + setup_.name;
        process_.terminate();
        return false;
    }
    for (const auto& [name, value] : setup_.options)
        process_.send("setoption name " + name + " value " + value, deadline);
    return true;
}

bool UciEngine::prepare_game(std::string& error) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!process_.running() && !start(error)) return false;
        const auto deadline = SteadyClock::now() + ReadyTimeout;
        // A `stop` first settles a search left running after a time loss;
        // its late bestmove is skipped while waiting for readyok.
        if ((!needsResync_ || process_.send("stop", deadline)) && process_.send("ucinewgame", deadline) &&
            process_.send("isready", deadline) && process_.wait_for("readyok", deadline)) {
            needsResync_ = false;
            return true;
        }
        process_.terminate();
        needsResync_ = false;
        error = setup_.name + " did not answer isready";
    }
    return false;
}

Reply UciEngine::think(const std::string& position, const std::string& go, SteadyClock::time_point deadline,
                       const std::atomic<bool>& interrupted) {
    Reply reply;
    const auto start = SteadyClock::now();
    if (!process_.send(position, deadline) || !process_.send(go, deadline)) {
        reply.kind = Reply::Kind::Crashed;
        reply.detail = process_.collect_exit();
        return reply;
    }
    std::string line;
    for (;;) {
        // Checked before every read, not only when the engine is silent: an
        // engine that keeps printing info lines must still lose on time.
        if (interrupted.load(std::memory_order_relaxed)) {
            reply.kind = Reply::Kind::Interrupted;
            abandon_search();
            break;
        }
        if (SteadyClock::now() >= deadline) {
            reply.kind = Reply::Kind::Timeout;
            abandon_search();
            break;
        }
        const auto slice = std::min(deadline, SteadyClock::now() + InterruptPoll);
        const ReadStatus status = process_.read_line(line, slice);
        if (status == ReadStatus::Closed) {
            reply.kind = Reply::Kind::Crashed;
            reply.detail = process_.collect_exit();
            break;
        }
        if (status == ReadStatus::Timeout) continue;
        if (line.rfind("info", 0) == 0) {
            if (auto s = parse_score(line)) reply.score = s;
        } else if (line == "bestmove" || line.rfind("bestmove ", 0) == 0) {
            std::istringstream in(line.substr(8));
            in >> reply.move;
            break;
        }
    }
    reply.elapsedMs = ms_since(start);
    return reply;
}

void UciEngine::abandon_search() {
    needsResync_ = true;
    process_.send("stop", SteadyClock::now() + std::chrono::milliseconds(100));
}

void UciEngine::quit() {
    if (!process_.running()) return;
    process_.send("quit", SteadyClock::now() + std::chrono::milliseconds(100));
    process_.collect_exit();
}

}  // namespace match
