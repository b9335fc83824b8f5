#include "spsa/run.h"

#include <chrono>
#include <iomanip>
#include <sstream>

#include "spsa/history.h"
#include "spsa/state_file.h"

namespace spsa {

namespace {

std::string progress_line(const TunerState& s, double gamesPerHour) {
    std::ostringstream line;
    line << "iteration " << s.iteration << '/' << s.iterations << "  games " << s.total.games() << "  +"
         << s.total.wins << " -" << s.total.losses << " =" << s.total.draws << std::fixed << std::setprecision(0)
         << "  " << gamesPerHour << " games/h" << std::setprecision(1);
    for (std::size_t i = 0; i < s.keys.size(); ++i) line << "  " << s.keys[i].name << ' ' << s.values[i];
    return line.str();
}

}  // namespace

RunEnd run_tuner(TunerState& state, const RunFiles& files, const PlayIteration& play, const std::atomic<bool>& stop,
                 std::ostream& progress) {
    using Clock = std::chrono::steady_clock;
    const auto sessionStart = Clock::now();
    std::int64_t sessionGames = 0;
    while (state.iteration < state.iterations && !stop.load()) {
        // The signs are drawn from a copy: an iteration stopped in flight
        // leaves the saved generator where it was, so it is replayed as is.
        TunerState next = state;
        const Trial trial = draw_trial(next);
        const auto start = Clock::now();
        const std::optional<Outcome> outcome = play(next, trial);
        if (!outcome) return RunEnd::Stopped;
        apply_outcome(next, trial, *outcome);
        next.seconds += std::chrono::duration<double>(Clock::now() - start).count();
        std::string error;
        // History first: a row without its state is trimmed on resuming,
        // while a state without its row would leave a gap.
        if (!append_history(files.history, next, error) || !save_state(files.state, next, error)) {
            progress << error << '\n';
            return RunEnd::Failed;
        }
        state = std::move(next);
        sessionGames += outcome->games();
        const double hours = std::chrono::duration<double>(Clock::now() - sessionStart).count() / 3600;
        progress << progress_line(state, hours > 0 ? static_cast<double>(sessionGames) / hours : 0) << std::endl;
    }
    return state.iteration >= state.iterations ? RunEnd::Finished : RunEnd::Stopped;
}

}  // namespace spsa
