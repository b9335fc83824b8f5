#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <sstream>

#include "config/config_loader.h"
#include "spsa/engine_games.h"
#include "spsa/history.h"
#include "spsa/run.h"
#include "spsa/state_file.h"
#include "spsa/trajectory_plot.h"
#include "support/capture.h"
#include "support/files.h"

using namespace spsa;
using morvane::test::read_file;
using morvane::test::ScratchDir;

namespace {

// Games with a known optimum: Elo falls with the squared distance from
// `optimum` in units of `scale`; the noise is fixed by the iteration number,
// so that a resumed run sees the same games.
struct NoisyObjective {
    std::vector<double> optimum, scale;
    int games = 4;

    double elo(const std::vector<int>& values) const {
        double elo = 0;
        for (std::size_t i = 0; i < values.size(); ++i) elo -= 100 * std::pow((values[i] - optimum[i]) / scale[i], 2);
        return elo;
    }

    std::optional<Outcome> operator()(const TunerState& state, const Trial& trial) const {
        const double expected = 1 / (1 + std::pow(10, (elo(trial.minus) - elo(trial.plus)) / 400));
        const double drawRate = 0.3;
        std::uint64_t noise = 0xC0FFEE + static_cast<std::uint64_t>(state.iteration);
        Outcome outcome;
        for (int g = 0; g < games; ++g) {
            const double u = static_cast<double>(next_random(noise) >> 11) / 9007199254740992.0;
            const double win = expected - drawRate / 2;
            if (u < win) ++outcome.wins;
            else if (u < win + drawRate) ++outcome.draws;
            else ++outcome.losses;
        }
        return outcome;
    }
};

TunedKey key(const std::string& name, double start, double c, int min, int max) {
    return {name, start, c, 4 * c * c, min, max};
}

TunerState synthetic_run(std::int64_t iterations) {
    const std::vector<TunedKey> keys = {key("margin", 60, 20, -1000, 1000), key("bonus", 10, 15, -1000, 1000),
                                        key("depth", 3, 1.5, 0, 20)};
    GameSettings games;
    games.engine = "/nowhere/engine";
    games.openings = "/nowhere/book.epd";
    return start_state(keys, Schedule{iterations / 10.0}, games, 42, iterations);
}

const NoisyObjective objective{{120, -40, 7}, {60, 50, 5}};

RunFiles files_in(const ScratchDir& dir) { return {dir / "state.txt", dir / "history.csv"}; }

RunEnd run_quietly(TunerState& state, const RunFiles& files, const PlayIteration& play) {
    std::atomic<bool> stop{false};
    std::ostringstream progress;
    return run_tuner(state, files, play, stop, progress);
}

std::vector<TunedKey> read_keys(const std::string& text, std::string& error) {
    std::istringstream in(text);
    std::vector<TunedKey> keys;
    read_key_list(in, "keys.txt", keys, error);
    return keys;
}

}  // namespace

TEST(SpsaKeyList, ReadsKeysAndRefusesWhatGamesCannotTune) {
    std::string error;
    const auto keys = read_keys("# pruning\nrfp_margin_per_depth 90 10 400\nlmp_base 3 1 4 1 8  # narrowed\n", error);
    ASSERT_EQ(keys.size(), 2u) << error;
    EXPECT_EQ(keys[0].min, -100000);  // the safe range by default
    EXPECT_EQ(keys[0].max, 100000);
    EXPECT_DOUBLE_EQ(keys[0].a, 400);
    EXPECT_EQ(keys[1].min, 1);
    EXPECT_EQ(keys[1].max, 8);

    const std::pair<const char*, const char*> refused[] = {
        {"no_such_key 1 1 1\n", "unknown key"},
        {"rfp_enabled 1 1 1\n", "switch"},
        {"lmr_dynamic_enabled 5 1 1\n", "switch"},
        {"pst_pawn_mg 0 1 1\n", "table"},
        {"null_move_reduction 2 1 1 -1 10\n", "safe range"},
        {"lmp_base 30 1 1 1 8\n", "outside its bounds"},
        {"lmp_base 3 0 1\n", "positive"},
        {"lmp_base 3 1\n", "expected"},
        {"lmp_base 3 1 1 2\n", "maximum"},
        {"lmp_base 3 1 1\nlmp_base 4 1 1\n", "twice"},
        {"# nothing\n", "no keys"},
    };
    for (const auto& [text, why] : refused) {
        error.clear();
        read_keys(text, error);
        EXPECT_NE(error.find(why), std::string::npos) << text << " gave: " << error;
    }
    EXPECT_TRUE(read_keys("\nlmp_base x 1 1\n", error).empty());
    EXPECT_EQ(error.rfind("keys.txt:2:", 0), 0u);
    EXPECT_TRUE(is_clock_key("time_increment_safety_margin_ms"));
    EXPECT_FALSE(is_clock_key("lmp_base"));
}

TEST(SpsaKeyList, CommittedSearchListIsValidForTimedGames) {
    std::ifstream in(std::string(MORVANE_SOURCE_DIR) + "/tools/spsa/search-keys.txt");
    std::vector<TunedKey> keys;
    std::string error;
    ASSERT_TRUE(read_key_list(in, "search-keys.txt", keys, error)) << error;
    // Each start is the value the shipped file plays with.
    morvane::EngineConfig shipped;
    {
        morvane::test::CapturedStreams quiet;
        ASSERT_TRUE(morvane::load_config(std::string(MORVANE_SOURCE_DIR) + "/Morvane047.cfg", shipped));
    }
    for (const morvane::ConfigField& field : morvane::all_fields(shipped))
        for (const TunedKey& k : keys)
            if (k.name == field.name) {
                EXPECT_EQ(k.start, *field.ptr) << k.name;
            }
}

TEST(SpsaTuner, ConvergesNearTheOptimumOfANoisyObjective) {
    TunerState state = synthetic_run(3000);
    while (state.iteration < state.iterations) {
        const Trial trial = draw_trial(state);
        apply_outcome(state, trial, *objective(state, trial));
    }
    EXPECT_EQ(state.total.games(), 4 * 3000);
    for (std::size_t i = 0; i < state.keys.size(); ++i)
        EXPECT_NEAR(state.values[i], objective.optimum[i], 0.35 * objective.scale[i]) << state.keys[i].name;
}

TEST(SpsaTuner, ValuesAndPlayedValuesStayInsideTheirBounds) {
    // The optimum lies far outside the bounds and the steps are huge.
    std::vector<TunedKey> keys = {{"low", 0, 30, 5000, -10, 10}, {"high", 9, 4, 500, 0, 10}};
    TunerState state = start_state(keys, Schedule{5}, GameSettings{}, 7, 200);
    const NoisyObjective far{{-500, 500}, {10, 10}};
    for (int k = 0; k < 200; ++k) {
        const Trial trial = draw_trial(state);
        for (std::size_t i = 0; i < keys.size(); ++i) {
            EXPECT_GE(std::min(trial.plus[i], trial.minus[i]), keys[i].min);
            EXPECT_LE(std::max(trial.plus[i], trial.minus[i]), keys[i].max);
        }
        apply_outcome(state, trial, *far(state, trial));
        for (std::size_t i = 0; i < keys.size(); ++i) {
            EXPECT_GE(state.values[i], keys[i].min);
            EXPECT_LE(state.values[i], keys[i].max);
        }
    }
    EXPECT_EQ(playing_value(keys[0], state.values[0]), -10);
    EXPECT_EQ(playing_value(keys[1], state.values[1]), 10);
    EXPECT_EQ(playing_value(keys[1], 2.5), 3);  // halves round away from zero
}

TEST(SpsaResume, StoppedAndResumedRunFollowsTheUninterruptedTrajectory) {
    ScratchDir whole, parts;
    TunerState uninterrupted = synthetic_run(60);
    std::string error;
    ASSERT_TRUE(start_history(whole / "history.csv", uninterrupted, error));
    ASSERT_EQ(run_quietly(uninterrupted, files_in(whole), objective), RunEnd::Finished);

    TunerState first = synthetic_run(60);
    ASSERT_TRUE(start_history(parts / "history.csv", first, error));
    // Stopped while the games of iteration 26 are in flight.
    std::atomic<bool> stop{false};
    std::ostringstream progress;
    const PlayIteration interrupted = [&](const TunerState& s, const Trial& t) -> std::optional<Outcome> {
        if (s.iteration == 25) return stop = true, std::nullopt;
        return objective(s, t);
    };
    ASSERT_EQ(run_tuner(first, files_in(parts), interrupted, stop, progress), RunEnd::Stopped);
    // A row whose state never reached the disk (killed between the two).
    std::ofstream(parts / "history.csv", std::ios::app) << "26,104,1,1,1,1.0,2.0,3.0\n27,10";

    TunerState resumed;
    ASSERT_TRUE(load_state(parts / "state.txt", resumed, error)) << error;
    EXPECT_EQ(resumed.iteration, 25);
    ASSERT_TRUE(trim_history(parts / "history.csv", resumed.iteration, error));
    ASSERT_EQ(run_quietly(resumed, files_in(parts), objective), RunEnd::Finished);

    EXPECT_EQ(resumed.values, uninterrupted.values);
    EXPECT_EQ(resumed.rng, uninterrupted.rng);
    EXPECT_EQ(resumed.total.wins, uninterrupted.total.wins);
    EXPECT_EQ(resumed.total.losses, uninterrupted.total.losses);
    EXPECT_EQ(read_file(parts / "history.csv"), read_file(whole / "history.csv"));
}

TEST(SpsaStateFile, RoundTripsExactlyAndNoFailedOrKilledWriteLeavesAPartialFile) {
    ScratchDir dir;
    TunerState state = synthetic_run(100);
    state.values = {0.1, -1.0 / 3, 1e-300};
    state.rng = 0xFFFFFFFFFFFFFFFFULL;
    state.games.engine = "/path with spaces/morvane";
    state.games.baseMs = 10000, state.games.incMs = 100;
    std::string error;
    ASSERT_TRUE(save_state(dir / "state.txt", state, error)) << error;
    TunerState loaded;
    ASSERT_TRUE(load_state(dir / "state.txt", loaded, error)) << error;
    EXPECT_EQ(loaded.values, state.values);
    EXPECT_EQ(loaded.rng, state.rng);
    EXPECT_EQ(loaded.games.engine, state.games.engine);
    EXPECT_EQ(loaded.games.incMs, 100);
    EXPECT_EQ(loaded.keys[2].max, 20);

    // Every prefix of a state file, as a killed writer would leave it, is
    // refused rather than read as a run.
    const std::string before = read_file(dir / "state.txt");
    for (std::size_t cut : {std::size_t{0}, before.size() / 3, before.find("key "), before.size() - 4}) {
        std::ofstream(dir / "cut.txt", std::ios::trunc) << before.substr(0, cut);
        EXPECT_FALSE(load_state(dir / "cut.txt", loaded, error)) << "cut at " << cut;
    }

    // The temporary file cannot be made: the save fails and says so.
    std::filesystem::create_directory(dir / "state.txt.tmp");
    state.iteration = 5;
    EXPECT_FALSE(save_state(dir / "state.txt", state, error));
    EXPECT_NE(error.find("state.txt.tmp"), std::string::npos);
    EXPECT_EQ(read_file(dir / "state.txt"), before);
    std::filesystem::remove(dir / "state.txt.tmp");

    // A writer killed at arbitrary moments leaves the last complete state.
    for (int attempt = 0; attempt < 5; ++attempt) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            TunerState s = synthetic_run(100);
            s.keys.resize(200, s.keys[0]);  // a larger file, slower to write
            s.values.resize(200, 1.5);
            std::string e;
            for (s.iteration = 1;; ++s.iteration) save_state(dir / "state.txt", s, e);
        }
        usleep(20000 + 7000 * static_cast<useconds_t>(attempt));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        EXPECT_TRUE(load_state(dir / "state.txt", loaded, error)) << error;
    }
}

TEST(SpsaEngineGames, SideFileKeepsTheBaseAndOverridesTheTunedKeys) {
    ScratchDir dir;
    std::vector<TunedKey> keys = {{"rfp_margin_per_depth", 90, 10, 400, 0, 1000}, {"lmp_base", 3, 1, 4, 1, 8}};
    const std::string base = "material_knight 360\nrfp_margin_per_depth 90\nlmp_base 3";  // no final line end
    std::ofstream(dir / "side.cfg") << config_with_keys(base, keys, {97, 4}, "plus side");
    morvane::EngineConfig config;
    morvane::test::CapturedStreams captured;
    ASSERT_TRUE(morvane::load_config(dir / "side.cfg", config));
    EXPECT_EQ(captured.err().find("erreur"), std::string::npos) << captured.err();
    EXPECT_EQ(config.material_knight, 360);
    EXPECT_EQ(config.rfp_margin_per_depth, 97);
    EXPECT_EQ(config.lmp_base, 4);
}

TEST(SpsaPlot, DrawsOnePanelPerKeyAndRefusesAnEmptyHistory) {
    std::istringstream history("iteration,games,wins,draws,losses,a,b,c\n0,0,0,0,0,1,2,3\n1,4,1,2,1,1.5,2,2.5\n2,8");
    std::ostringstream svg;
    std::string error;
    ASSERT_TRUE(write_trajectory_svg(history, svg, error)) << error;
    const std::string image = svg.str();
    std::size_t panels = 0;
    for (auto at = image.find("<polyline"); at != std::string::npos; at = image.find("<polyline", at + 1)) ++panels;
    EXPECT_EQ(panels, 3u);
    EXPECT_NE(image.find("c: 3 &#8594; 2.5"), std::string::npos);

    std::istringstream empty("iteration,games,wins,draws,losses,a\n");
    EXPECT_FALSE(write_trajectory_svg(empty, svg, error));
}

TEST(SpsaHistory, MeansExactlyTheLastIterationsAndRefusesAWindowItDoesNotHold) {
    // Rows past the state's iteration (a run killed before saving) and rows
    // cut short stay out of the mean.
    std::istringstream text("iteration,games,wins,draws,losses,a,b\n0,0,0,0,0,10,1\n1,4,1,2,1,20,2\n"
                            "2,8,2,4,2,30,4\n3,12,3,6,3,50,8\n4,16,4,8,4,1000,1000\n5,2");
    History history;
    std::string error;
    ASSERT_TRUE(read_history(text, history, error)) << error;
    ASSERT_EQ(history.iterations.size(), 5u);
    std::vector<double> means;
    ASSERT_TRUE(mean_of_last_iterations(history, 3, 2, means, error)) << error;
    EXPECT_EQ(means, (std::vector<double>{40, 6}));
    ASSERT_TRUE(mean_of_last_iterations(history, 3, 4, means, error)) << error;
    EXPECT_EQ(means, (std::vector<double>{27.5, 3.75}));
    EXPECT_FALSE(mean_of_last_iterations(history, 3, 5, means, error));
    EXPECT_FALSE(mean_of_last_iterations(history, 3, 0, means, error));
    EXPECT_FALSE(mean_of_last_iterations(history, 7, 2, means, error));
}
