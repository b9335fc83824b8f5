#include "tune/logistic_loss.h"

#include <algorithm>
#include <cmath>

namespace morvane {

namespace {

constexpr double Ln10 = 2.302585092994046;
// Keeps the logarithms finite for scores no result could contradict.
constexpr double Epsilon = 1e-12;

}  // namespace

double expected_result(double score, double scale) { return 1.0 / (1.0 + std::pow(10.0, -scale * score / 400.0)); }

double position_loss(double score, double target, double scale) {
    const double p = std::clamp(expected_result(score, scale), Epsilon, 1.0 - Epsilon);
    return -(target * std::log(p) + (1.0 - target) * std::log(1.0 - p));
}

double loss_slope(double score, double target, double scale) {
    return (expected_result(score, scale) - target) * scale * Ln10 / 400.0;
}

double blended_target(double result, double score, double lambda, double scale) {
    // Written so that lambda 1 adds an exact zero to the result.
    return lambda * result + (1.0 - lambda) * expected_result(score, scale);
}

double mean_loss(const std::vector<float>& scores, const std::vector<float>& targets, double scale) {
    if (scores.empty()) return 0.0;
    double sum = 0.0;
    for (std::size_t i = 0; i < scores.size(); ++i) sum += position_loss(scores[i], targets[i], scale);
    return sum / static_cast<double>(scores.size());
}

double fit_scale(const std::vector<float>& scores, const std::vector<float>& targets) {
    const double ratio = (std::sqrt(5.0) - 1.0) / 2.0;
    double lo = 0.01, hi = 10.0;
    double a = hi - ratio * (hi - lo), b = lo + ratio * (hi - lo);
    double la = mean_loss(scores, targets, a), lb = mean_loss(scores, targets, b);
    while (hi - lo > 1e-4) {
        if (la < lb) {
            hi = b;
            b = a;
            lb = la;
            a = hi - ratio * (hi - lo);
            la = mean_loss(scores, targets, a);
        } else {
            lo = a;
            a = b;
            la = lb;
            b = lo + ratio * (hi - lo);
            lb = mean_loss(scores, targets, b);
        }
    }
    return (lo + hi) / 2.0;
}

}  // namespace morvane
