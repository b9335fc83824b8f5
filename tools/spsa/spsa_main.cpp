// Tunes configuration keys by games between two copies of the engine
// (simultaneous-perturbation stochastic approximation), in a run folder
// that holds everything needed to resume it, and draws its trajectories.
#include <signal.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "common/tool_arguments.h"
#include "core/attacks.h"
#include "core/zobrist.h"
#include "match/cli.h"
#include "match/openings.h"
#include "match/referee.h"
#include "spsa/engine_games.h"
#include "spsa/history.h"
#include "spsa/state_file.h"
#include "spsa/trajectory_plot.h"

using namespace spsa;
using morvane::ToolArguments;
namespace fs = std::filesystem;

namespace {

constexpr const char* Usage =
    "Usage: spsa --run DIR --keys FILE --base FILE --engine PROGRAM --openings FILE (--tc SEC+INC | --nodes N)\n"
    "            [--iterations N] [--pairs N] [--concurrency N] [--seed N] [--A X]\n"
    "       spsa --resume DIR/state.txt [--iterations N]\n"
    "       spsa --plot DIR/history.csv --output FILE.svg\n"
    "       spsa --export DIR/state.txt --output FILE.cfg [--average-last N]\n"
    "A new run copies the engine, the base parameter file and the openings into DIR, then plays\n"
    "--pairs game pairs (default 2) per iteration, --concurrency (default 2) at a time, for\n"
    "--iterations (default 2000); A defaults to a tenth of the iterations. The state is saved\n"
    "after every iteration; Ctrl-C stops the run, losing only the iteration in flight.\n"
    "--export writes the run's base file with the tuned keys' current values after it, or with\n"
    "their means over the last N iterations of the history.\n";

std::atomic<bool> g_stop{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");
extern "C" void on_interrupt(int) { g_stop.store(true); }

std::string read_text(const std::string& path, bool& ok) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    ok = static_cast<bool>(in);
    return text.str();
}

int fail(const std::string& message) {
    std::cerr << "spsa: " << message << '\n';
    return 1;
}

int plot(ToolArguments& args) {
    std::ifstream history(args.text("plot"));
    if (!history || args.text("output").empty()) return fail("--plot needs a readable history and --output");
    std::ofstream svg(args.text("output"));
    std::string error;
    if (!write_trajectory_svg(history, svg, error)) return fail(error);
    return 0;
}

// The values to export: the state's own, or their means over the end of
// the history, where the last row alone carries the final iterations' noise.
bool exported_values(ToolArguments& args, const TunerState& state, const std::string& historyPath,
                     std::vector<double>& values, std::string& how, std::string& error) {
    values = state.values;
    how = "values of iteration " + std::to_string(state.iteration);
    if (!args.has("average-last")) return true;
    const std::int64_t count = args.integer("average-last", 0);
    if (!args.error().empty()) {
        error = args.error();
        return false;
    }
    std::ifstream file(historyPath);
    History history;
    if (!file) {
        error = "cannot read " + historyPath;
        return false;
    }
    if (!read_history(file, history, error)) return false;
    std::vector<std::string> names;
    for (const TunedKey& key : state.keys) names.push_back(key.name);
    if (history.keys != names) {
        error = historyPath + " does not list the state's keys";
        return false;
    }
    if (!mean_of_last_iterations(history, state.iteration, count, values, error)) return false;
    how = "means over iterations " + std::to_string(state.iteration - count + 1) + " to " +
          std::to_string(state.iteration);
    return true;
}

// The candidate parameter file: the run's base file, then each tuned key at
// its exported value (a later entry wins), the start values in a comment.
int export_values(ToolArguments& args) {
    TunerState state;
    std::string error, how;
    std::vector<double> exported;
    const fs::path runDir = fs::path(args.text("export")).parent_path();
    if (args.text("output").empty()) return fail("--export needs --output");
    if (!load_state(args.text("export"), state, error) ||
        !exported_values(args, state, (runDir / "history.csv").string(), exported, how, error))
        return fail(error);
    bool ok = false;
    const std::string base = read_text((runDir / "base.cfg").string(), ok);
    if (!ok) return fail("cannot read the run's base.cfg");
    std::vector<int> values;
    std::ostringstream starts;
    for (std::size_t i = 0; i < state.keys.size(); ++i) {
        values.push_back(playing_value(state.keys[i], exported[i]));
        starts << (i ? ", " : "") << state.keys[i].name << ' ' << state.keys[i].start;
    }
    std::ofstream out(args.text("output"));
    out << config_with_keys(base, state.keys, values,
                            "Tuned by games: " + std::to_string(state.iteration) + " iterations, " +
                                std::to_string(state.total.games()) + " games, " + how + ". Started from: " +
                                starts.str());
    out.flush();
    return out ? 0 : fail("cannot write " + args.text("output"));
}

// A new run folder: the engine, the base file and the openings copied in,
// so that later changes to the originals cannot alter a run over days.
int create_run(ToolArguments& args, TunerState& state, fs::path& runDir) {
    for (const char* required : {"keys", "base", "engine", "openings"})
        if (!args.has(required)) return fail(std::string("--") + required + " is required\n" + Usage);
    if (args.has("tc") == args.has("nodes")) return fail(std::string("give either --tc or --nodes\n") + Usage);
    runDir = fs::absolute(args.text("run"));
    if (fs::exists(runDir / "state.txt")) return fail((runDir / "state.txt").string() + " exists: use --resume");

    std::ifstream keyFile(args.text("keys"));
    std::vector<TunedKey> keys;
    std::string error;
    if (!keyFile) return fail("cannot read " + args.text("keys"));
    if (!read_key_list(keyFile, args.text("keys"), keys, error)) return fail(error);

    GameSettings games;
    if (args.has("tc")) {
        try {
            const match::Effort effort = match::parse_time_control(args.text("tc"));
            games.baseMs = effort.baseMs;
            games.incMs = effort.incMs;
        } catch (const std::exception& e) {
            return fail(e.what());
        }
    } else {
        games.nodes = args.integer("nodes", 0);
        for (const TunedKey& key : keys)
            if (is_clock_key(key.name)) return fail(key.name + " is a clock key: tune it only with --tc");
    }
    games.pairs = static_cast<int>(args.integer("pairs", 2));
    games.concurrency = static_cast<int>(args.integer("concurrency", 2));
    const std::int64_t iterations = args.integer("iterations", 2000);
    Schedule schedule;
    schedule.A = args.real("A", static_cast<double>(iterations) / 10);
    const auto seed = static_cast<std::uint64_t>(args.integer("seed", 1));
    if (!args.error().empty()) return fail(args.error());
    if (games.pairs < 1 || games.concurrency < 1 || iterations < 1 || schedule.A < 0 || (!games.timed() && games.nodes < 1))
        return fail("--pairs, --concurrency, --iterations and --nodes must be positive, --A not negative");

    std::error_code ec;
    fs::create_directories(runDir, ec);
    const fs::path engine = runDir / "morvane", base = runDir / "base.cfg", openings = runDir / "openings.epd";
    const auto copy = fs::copy_options::overwrite_existing;
    if (!fs::copy_file(args.text("engine"), engine, copy, ec) || !fs::copy_file(args.text("base"), base, copy, ec) ||
        !fs::copy_file(args.text("openings"), openings, copy, ec))
        return fail("cannot copy the engine, base file and openings into " + runDir.string() + ": " + ec.message());
    games.engine = engine.string();
    games.openings = openings.string();

    state = start_state(keys, schedule, games, seed, iterations);
    if (!save_state((runDir / "state.txt").string(), state, error) ||
        !start_history((runDir / "history.csv").string(), state, error))
        return fail(error);
    return 0;
}

int resume_run(ToolArguments& args, TunerState& state, fs::path& runDir) {
    std::string error;
    const fs::path statePath = fs::absolute(args.text("resume"));
    runDir = statePath.parent_path();
    if (!load_state(statePath.string(), state, error)) return fail(error);
    state.iterations = args.integer("iterations", state.iterations);
    if (!args.error().empty()) return fail(args.error());
    const std::string history = (runDir / "history.csv").string();
    if (!(fs::exists(history) ? trim_history(history, state.iteration, error) : start_history(history, state, error)))
        return fail(error);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    morvane::init_zobrist();
    morvane::init_attacks();
    ToolArguments args(argc, argv,
                                {"run", "resume", "plot", "export", "output", "keys", "base", "engine", "openings", "tc", "nodes",
                                 "iterations", "pairs", "concurrency", "seed", "A", "average-last"});
    if (!args.error().empty()) return fail(args.error() + "\n" + Usage);
    if (args.has("plot")) return plot(args);
    if (args.has("export")) return export_values(args);
    if (args.has("run") == args.has("resume")) return fail(std::string("give either --run or --resume\n") + Usage);

    TunerState state;
    fs::path runDir;
    if (const int status = args.has("run") ? create_run(args, state, runDir) : resume_run(args, state, runDir))
        return status;

    bool ok = false;
    const std::string baseText = read_text((runDir / "base.cfg").string(), ok);
    if (!ok) return fail("cannot read " + (runDir / "base.cfg").string());
    std::vector<std::string> openings;
    if (!match::load_openings(state.games.openings, openings, std::cerr) || openings.empty())
        return fail("no opening in " + state.games.openings);
    match::shuffle_openings(openings, state.seed);

    const bool tables = match::init_adjudication_tables();
    if (!tables) std::cerr << "spsa: endgame tables unavailable, no table adjudication\n";
    signal(SIGINT, on_interrupt);
    signal(SIGTERM, on_interrupt);
    std::cout << "spsa: " << state.keys.size() << " keys, iteration " << state.iteration << " of "
              << state.iterations << ", " << 2 * state.games.pairs << " games an iteration, run folder "
              << runDir.string() << std::endl;
    const RunFiles files{(runDir / "state.txt").string(), (runDir / "history.csv").string()};
    const RunEnd end = run_tuner(state, files, engine_games(runDir.string(), baseText, openings, tables, g_stop, std::cerr),
                                 g_stop, std::cout);
    if (end == RunEnd::Failed) return 1;
    std::cout << (end == RunEnd::Finished ? "spsa: finished" : "spsa: stopped") << " after iteration "
              << state.iteration << "; resume with: spsa --resume " << files.state << std::endl;
    return 0;
}
