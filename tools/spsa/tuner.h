// Simultaneous-perturbation stochastic approximation by games: every key
// is moved at once by +-c_k with random signs, the plus side plays the
// minus side, and each key steps along the sign it was given in proportion
// to the score difference. Schedules: a_k = a / (A + k + 1)^alpha and
// c_k = c / (k + 1)^gamma, k counted from 0.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "spsa/tuned_key.h"

namespace spsa {

struct Schedule {
    double A = 0;  // stability offset, usually a tenth of the planned iterations
    double alpha = 0.602, gamma = 0.101;
};

double step_size(double a, const Schedule& schedule, std::int64_t k);
double perturbation_size(double c, const Schedule& schedule, std::int64_t k);

// A small generator whose whole state is one integer, so that a state file
// can carry it and a resumed run draws the same signs.
std::uint64_t next_random(std::uint64_t& state);

// Games from the plus side's point of view.
struct Outcome {
    std::int64_t wins = 0, draws = 0, losses = 0;
    std::int64_t games() const { return wins + draws + losses; }
};

// How the games of an iteration are played.
struct GameSettings {
    std::string engine;    // the program
    std::string openings;  // its positions, shuffled by the seed
    std::int64_t baseMs = -1, incMs = 0;  // a clock, or
    std::int64_t nodes = 0;               // a fixed node count when untimed
    int pairs = 2;                        // per iteration
    int concurrency = 2;
    bool timed() const { return baseMs >= 0; }
};

// Everything a run needs to go on exactly where it stopped.
struct TunerState {
    std::vector<TunedKey> keys;
    std::vector<double> values;  // unrounded, one per key
    Schedule schedule;
    GameSettings games;
    std::uint64_t seed = 1, rng = 0;
    std::int64_t iteration = 0;  // completed iterations
    std::int64_t iterations = 0;  // planned
    Outcome total;
    double seconds = 0;  // spent playing, over every session
};

// A new run: values at their starts, the generator seeded.
TunerState start_state(const std::vector<TunedKey>& keys, const Schedule& schedule, const GameSettings& games,
                       std::uint64_t seed, std::int64_t iterations);

// One iteration's two sides: the rounded, bounded values each plays with.
struct Trial {
    std::vector<int> signs;  // +1 or -1 per key
    std::vector<int> plus, minus;
};

// Draws the signs of the next iteration, advancing the generator in state.
Trial draw_trial(TunerState& state);

// Moves every key by the score difference of the plus side and counts the
// games; the iteration is then complete.
void apply_outcome(TunerState& state, const Trial& trial, const Outcome& outcome);

// The integer a key plays with for an unrounded value.
int playing_value(const TunedKey& key, double value);

}  // namespace spsa
