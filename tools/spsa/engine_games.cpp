#include "spsa/engine_games.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "match/match_runner.h"

namespace spsa {

namespace {

bool write_file(const std::filesystem::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::trunc);
    out << text << std::flush;
    return static_cast<bool>(out);
}

match::EngineSetup side_setup(const std::string& name, const std::string& dir, const GameSettings& games) {
    match::EngineSetup setup;
    setup.name = name;
    setup.argv = {games.engine};
    setup.dir = dir;
    setup.effort.baseMs = games.baseMs;
    setup.effort.incMs = games.incMs;
    setup.effort.nodes = games.timed() ? 0 : games.nodes;
    return setup;
}

}  // namespace

std::string config_with_keys(const std::string& baseText, const std::vector<TunedKey>& keys,
                             const std::vector<int>& values, const std::string& comment) {
    std::ostringstream text;
    text << baseText;
    if (!baseText.empty() && baseText.back() != '\n') text << '\n';
    text << "\n# " << comment << '\n';
    for (std::size_t i = 0; i < keys.size(); ++i) text << keys[i].name << ' ' << values[i] << '\n';
    return text.str();
}

PlayIteration engine_games(const std::string& runDir, const std::string& baseText,
                           const std::vector<std::string>& openings, bool tables, std::atomic<bool>& stop,
                           std::ostream& log) {
    return [=, &stop, &log](const TunerState& state, const Trial& trial) -> std::optional<Outcome> {
        const std::filesystem::path plusDir = std::filesystem::path(runDir) / "plus";
        const std::filesystem::path minusDir = std::filesystem::path(runDir) / "minus";
        std::error_code ec;
        std::filesystem::create_directories(plusDir, ec);
        std::filesystem::create_directories(minusDir, ec);
        const std::string iteration = "Tuner, iteration " + std::to_string(state.iteration + 1);
        if (!write_file(plusDir / "Morvane047.cfg",
                        config_with_keys(baseText, state.keys, trial.plus, iteration + ", plus side")) ||
            !write_file(minusDir / "Morvane047.cfg",
                        config_with_keys(baseText, state.keys, trial.minus, iteration + ", minus side"))) {
            log << "cannot write the engines' parameter files in " << runDir << '\n';
            stop.store(true);
            return std::nullopt;
        }
        match::MatchConfig config;
        config.engines[0] = side_setup("plus", plusDir.string(), state.games);
        config.engines[1] = side_setup("minus", minusDir.string(), state.games);
        // Each iteration takes the next openings of the shuffled book, so a
        // long run goes through all of them before repeating any.
        const auto pairs = static_cast<std::size_t>(state.games.pairs);
        for (std::size_t p = 0; p < pairs; ++p)
            config.openings.push_back(openings[(static_cast<std::size_t>(state.iteration) * pairs + p) % openings.size()]);
        config.games = 2 * state.games.pairs;
        config.concurrency = state.games.concurrency;
        config.rules.resign = config.rules.draw = true;
        config.rules.tables = tables;
        const match::MatchSummary summary = match::run_match(config, stop, log);
        if (summary.interrupted || summary.wdl.games() < config.games) return std::nullopt;
        // Games forfeited by an engine that never started say nothing
        // about the keys: stop rather than tune on them.
        for (const auto& [reason, count] : summary.reasons)
            if (reason.find("could not start") != std::string::npos) {
                log << "spsa: " << reason << '\n';
                stop.store(true);
                return std::nullopt;
            }
        return Outcome{summary.wdl.wins, summary.wdl.draws, summary.wdl.losses};
    };
}

}  // namespace spsa
