// Fits the evaluation's weights to self-play results: minimises the mean
// logistic loss of the evaluation against each position's target (the
// game's result, or a blend of it with a search's score).
//
// Evaluating every position under every trial weight would take hours, so
// the tuner works on a linear model of the evaluation: the slopes of the
// (near-)linear weights are measured once, the model is optimised with Adam
// in a fraction of a second per pass, and every few passes the true scores
// and the slopes of the non-linear weights are measured afresh at the
// current (rounded) weights, so that the model never drifts far from the
// real evaluation. The held-out tenth of the data is scored at the same
// moments, and the weights that scored it best are the ones returned.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "config/engine_config.h"
#include "tune/training_data.h"

namespace morvane {

struct TunerSettings {
    double lambda = 1.0;            // weight of the game's result in the target (see blended_target)
    int epochs = 300;               // optimisation passes over the training positions
    int refreshEvery = 50;          // passes between true evaluations
    double learningRate = 1.0;      // Adam's step, in units of the weights
    int step = 4;                   // half-width of the finite differences
    int minPositions = 100;         // weights moving fewer training positions stay put
    int workers = 2;                // processes for evaluation, threads for the model
    std::vector<std::string> keys;  // empty: every evaluation weight
    // Left as they are. The pawn is the unit of the search's centipawn
    // margins, so by default its value stays put and the fitted K and the
    // other weights take up the scale.
    std::vector<std::string> fixed = {"material_pawn"};
};

struct TunerReport {
    double scale = 0;                            // K, fitted to the game results at the starting weights, then kept
    double trainBefore = 0, trainAfter = 0;      // true losses, at the start and at the weights returned
    double heldOutBefore = 0, heldOutAfter = 0;  // against the tuned target
    // Against the game results alone, whatever the target: the yardstick
    // that compares runs with different lambdas.
    double heldOutResultsBefore = 0, heldOutResultsAfter = 0;
    int trainPositions = 0, heldOutPositions = 0;
    int tuned = 0, frozen = 0;  // weights optimised, and left alone for lack of data
};

// Tunes the evaluation weights of `config` in place, starting from its
// values; progress and timings go to `log`. The held-out tenth is chosen
// by is_held_out. Pass the samples by std::move when they are many.
TunerReport tune_evaluation(std::vector<TrainingSample> samples, EngineConfig& config, const TunerSettings& settings,
                            std::ostream& log);

// One fit per lambda of `lambdas` (settings.lambda is not read), each from
// `start`, sharing the one measurement of the slopes: tuned[i] receives the
// weights fitted for lambdas[i], and the i-th report says how they fared.
std::vector<TunerReport> tune_per_lambda(std::vector<TrainingSample> samples, const EngineConfig& start,
                                         const std::vector<double>& lambdas, std::vector<EngineConfig>& tuned,
                                         const TunerSettings& settings, std::ostream& log);

}  // namespace morvane
