// Each position's evaluation as a linear function of the tuned integers
// around one configuration: its score there, and the slope of the score
// along each parameter that moves it. Most parameters do not touch a given
// position, so the slopes are stored sparsely.
#pragma once

#include <cstdint>
#include <vector>

#include "config/engine_config.h"
#include "tune/training_data.h"
#include "tune/tuned_keys.h"

namespace morvane {

struct Linearisation {
    std::vector<float> base;              // full evaluation, White's view
    std::vector<std::uint32_t> rowStart;  // position i's slopes: [rowStart[i], rowStart[i + 1])
    std::vector<std::uint16_t> param;     // index into the parameter list
    std::vector<float> slope;             // centipawns of score per unit of the parameter
};

// Evaluates every sample under `config` (lazy exits off) and estimates the
// slope along each parameter of `params` listed in `which`: by a central
// difference of +-step for the non-linear ones, by a forward difference of
// 2 * step for the others. Work is shared among `workers` processes; the
// result does not depend on their number. The caller's global
// configuration is left as it was.
Linearisation linearise(const std::vector<TrainingSample>& samples, const EngineConfig& config,
                        const std::vector<TunedParam>& params, const std::vector<int>& which, int step, int workers);

}  // namespace morvane
