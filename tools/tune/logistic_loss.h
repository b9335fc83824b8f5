// How well scores predict results: a score s is read as White's expected
// result 1 / (1 + 10^(-K s / 400)), and a set of positions is judged by the
// mean cross-entropy between those expectations and the targets.
#pragma once

#include <vector>

namespace morvane {

double expected_result(double score, double scale);

// One position's loss, and its derivative with respect to the score.
double position_loss(double score, double target, double scale);
double loss_slope(double score, double target, double scale);

// What a position is fitted to: lambda * result + (1 - lambda) * the
// expectation of a search score. At lambda 1 it is the result exactly.
double blended_target(double result, double score, double lambda, double scale);

double mean_loss(const std::vector<float>& scores, const std::vector<float>& targets, double scale);

// The scale K that fits the scores best to the targets, by golden-section
// search over a range wide enough for any centipawn-valued evaluation.
double fit_scale(const std::vector<float>& scores, const std::vector<float>& targets);

}  // namespace morvane
