// Self-play training data for the evaluation tuner. Every worker process
// plays its own games from its own seed and appends each finished game's
// quiet positions to the output file in one write, so that the workers'
// lines never interleave.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <memory>

#include "common/tool_arguments.h"
#include "common/worker_processes.h"
#include "config/config_loader.h"
#include "core/attacks.h"
#include "core/zobrist.h"
#include "datagen/self_play.h"
#include "match/openings.h"
#include "tablebase/syzygy.h"

using namespace morvane;

namespace {

constexpr const char* Usage =
    "Usage: datagen --output FILE (--games N | --positions N) [--openings FILE] [--depth D | --nodes N]\n"
    "               [--random-plies N] [--seed S] [--workers N] [--config FILE]\n"
    "Appends lines \"FEN | result | score\" (White's view) to FILE. The games are\n"
    "played with the built-in weights, or with those of the configuration FILE.\n";

// Giving up after this many starts in a row too lopsided to play.
constexpr int MaxDroppedStarts = 1000;

struct Plan {
    std::string output;
    std::vector<std::string> openings;  // empty: the starting position
    SelfPlaySettings settings;
    long long games = -1, positions = -1;  // negative: no such limit
    long long seed = 1;
    int workers = 2;
};

// This worker's part of a total, the first workers taking the remainder.
long long share(long long total, int workers, int worker) {
    if (total < 0) return -1;
    return total / workers + (worker < total % workers ? 1 : 0);
}

bool write_all(int fd, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

bool generate(const Plan& plan, int worker) {
    const long long games = share(plan.games, plan.workers, worker);
    const long long positions = share(plan.positions, plan.workers, worker);
    const int fd = ::open(plan.output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (fd < 0) {
        std::cerr << "cannot write " << plan.output << '\n';
        return false;
    }
    std::seed_seq seeds{static_cast<std::uint64_t>(plan.seed), static_cast<std::uint64_t>(worker)};
    std::mt19937_64 rng(seeds);
    const auto board = std::make_unique<Board>();
    const auto ctx = std::make_unique<SearchContext>();
    long long played = 0, written = 0;
    int wins = 0, draws = 0, losses = 0, droppedInRow = 0;
    bool ok = true;
    while (ok && (games < 0 || played < games) && (positions < 0 || written < positions)) {
        board->set_fen(plan.openings.empty() ? StartFen : plan.openings[rng() % plan.openings.size()]);
        const std::optional<GameRecord> game = play_game(*board, *ctx, rng, plan.settings);
        if (!game) {
            if (++droppedInRow < MaxDroppedStarts) continue;
            std::cerr << "worker " << worker << ": every start is too lopsided to play\n";
            ok = false;
            break;
        }
        droppedInRow = 0;
        std::string block;
        for (const TrainingPosition& p : game->positions) block += training_line(p, game->result);
        ok = write_all(fd, block);
        ++played;
        written += static_cast<long long>(game->positions.size());
        (game->result > 0.75 ? wins : game->result < 0.25 ? losses : draws) += 1;
    }
    ::close(fd);
    std::cerr << "worker " << worker << ": " << played << " games (White +" << wins << " =" << draws << " -" << losses
              << "), " << written << " positions\n";
    return ok;
}

long long file_size(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    return file ? static_cast<long long>(file.tellg()) : 0;
}

long long lines_after(const std::string& path, long long offset) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(offset);
    return std::count(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>(), '\n');
}

}  // namespace

int main(int argc, char** argv) {
    init_zobrist();
    init_attacks();
    ToolArguments args(
        argc, argv,
        {"output", "openings", "games", "positions", "depth", "nodes", "random-plies", "seed", "workers", "config"});
    Plan plan;
    plan.output = args.text("output");
    plan.games = args.integer("games", -1);
    plan.positions = args.integer("positions", -1);
    plan.seed = args.integer("seed", 1);
    plan.workers = static_cast<int>(std::clamp<long long>(args.integer("workers", 2), 1, 64));
    plan.settings.depth = static_cast<int>(std::clamp<long long>(args.integer("depth", 7), 1, 30));
    plan.settings.nodes = static_cast<std::uint64_t>(std::max<long long>(args.integer("nodes", 0), 0));
    // A book already varies the starts; from the bare starting position
    // only random moves do.
    const long long randomPlies = args.integer("random-plies", args.has("openings") ? 2 : 8);
    plan.settings.randomPlies = static_cast<int>(std::clamp<long long>(randomPlies, 0, 40));
    if (!args.error().empty() || plan.output.empty() || (plan.games < 0 && plan.positions < 0)) {
        if (!args.error().empty()) std::cerr << args.error() << '\n';
        std::cerr << Usage;
        return 1;
    }
    if (args.has("openings")) {
        if (!match::load_openings(args.text("openings"), plan.openings, std::cerr) || plan.openings.empty()) {
            std::cerr << "no playable opening in " << args.text("openings") << '\n';
            return 1;
        }
    }
    // Games played with better weights give positions and results nearer to
    // those the tuned engine meets; the workers inherit the loaded record.
    if (args.has("config") && !load_config(args.text("config"), g_config)) {
        std::cerr << "cannot read " << args.text("config") << '\n';
        return 1;
    }
    syzygy_init("");

    std::cerr << "datagen: "
              << (plan.settings.nodes ? std::to_string(plan.settings.nodes) + " nodes"
                                      : "depth " + std::to_string(plan.settings.depth))
              << " a move, " << plan.workers << " worker(s), seed " << plan.seed << ", "
              << (plan.openings.empty() ? std::string("starting position")
                                        : std::to_string(plan.openings.size()) + " openings")
              << ", " << plan.settings.randomPlies << " random plies, "
              << (args.has("config") ? "weights of " + args.text("config") : std::string("built-in weights")) << '\n';
    const long long startSize = file_size(plan.output);
    const auto start = std::chrono::steady_clock::now();
    const bool ok = run_worker_processes(plan.workers, [&](int worker) { return generate(plan, worker); });
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const long long written = lines_after(plan.output, startSize);
    std::cout << written << " positions in " << seconds
              << " s: " << static_cast<long long>(written * 3600.0 / std::max(seconds, 1e-3))
              << " positions per hour\n";
    return ok ? 0 : 1;
}
