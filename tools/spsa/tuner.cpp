#include "spsa/tuner.h"

#include <algorithm>
#include <cmath>

namespace spsa {

double step_size(double a, const Schedule& schedule, std::int64_t k) {
    return a / std::pow(schedule.A + static_cast<double>(k) + 1, schedule.alpha);
}

double perturbation_size(double c, const Schedule& schedule, std::int64_t k) {
    return c / std::pow(static_cast<double>(k) + 1, schedule.gamma);
}

// SplitMix64: a fixed, well-mixed sequence on every machine and compiler.
std::uint64_t next_random(std::uint64_t& state) {
    std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

TunerState start_state(const std::vector<TunedKey>& keys, const Schedule& schedule, const GameSettings& games,
                       std::uint64_t seed, std::int64_t iterations) {
    TunerState state;
    state.keys = keys;
    for (const TunedKey& key : keys) state.values.push_back(key.start);
    state.schedule = schedule;
    state.games = games;
    state.seed = state.rng = seed;
    state.iterations = iterations;
    return state;
}

int playing_value(const TunedKey& key, double value) {
    return static_cast<int>(std::clamp(std::llround(value), static_cast<long long>(key.min),
                                       static_cast<long long>(key.max)));
}

Trial draw_trial(TunerState& state) {
    Trial trial;
    for (std::size_t i = 0; i < state.keys.size(); ++i) {
        const TunedKey& key = state.keys[i];
        const int sign = (next_random(state.rng) >> 63) ? 1 : -1;
        const double c = perturbation_size(key.c, state.schedule, state.iteration);
        trial.signs.push_back(sign);
        trial.plus.push_back(playing_value(key, state.values[i] + sign * c));
        trial.minus.push_back(playing_value(key, state.values[i] - sign * c));
    }
    return trial;
}

void apply_outcome(TunerState& state, const Trial& trial, const Outcome& outcome) {
    // The plus side's score minus the minus side's, in points: W - L.
    const double difference = static_cast<double>(outcome.wins - outcome.losses);
    for (std::size_t i = 0; i < state.keys.size(); ++i) {
        const TunedKey& key = state.keys[i];
        const double a = step_size(key.a, state.schedule, state.iteration);
        const double c = perturbation_size(key.c, state.schedule, state.iteration);
        const double gradient = difference / (2 * c * trial.signs[i]);
        state.values[i] = std::clamp(state.values[i] + a * gradient, static_cast<double>(key.min),
                                     static_cast<double>(key.max));
    }
    state.total.wins += outcome.wins;
    state.total.draws += outcome.draws;
    state.total.losses += outcome.losses;
    ++state.iteration;
}

}  // namespace spsa
