#include "tune/evaluation_tuner.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

#include "tune/linearise.h"
#include "tune/logistic_loss.h"
#include "tune/tuned_keys.h"

namespace morvane {

namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// The training positions' scores as a linear function of the weights x
// around the point `anchor` where the true scores were last measured.
struct Model {
    Linearisation linear;     // slopes of the linear weights, measured once
    Linearisation refreshed;  // true scores at the anchor, slopes of the non-linear weights there
    std::vector<double> anchor;
};

// One position's share of a pass: its modelled score from the weights'
// moves since the anchor, then its loss's gradient along each slope. This
// loop is the whole of an optimisation pass, so it reads each row once,
// in single precision, with no call per slope.
struct RowPass {
    const Model& model;
    const std::vector<float>& moved;  // x - anchor

    float score(std::size_t row) const {
        float s = model.refreshed.base[row];
        for (const Linearisation* part : {&model.linear, &model.refreshed}) {
            const std::uint16_t* param = part->param.data();
            const float* slope = part->slope.data();
            for (std::uint32_t k = part->rowStart[row], end = part->rowStart[row + 1]; k < end; ++k)
                s += slope[k] * moved[param[k]];
        }
        return s;
    }
    void add_gradient(std::size_t row, double factor, double* gradient) const {
        for (const Linearisation* part : {&model.linear, &model.refreshed}) {
            const std::uint16_t* param = part->param.data();
            const float* slope = part->slope.data();
            for (std::uint32_t k = part->rowStart[row], end = part->rowStart[row + 1]; k < end; ++k)
                gradient[param[k]] += factor * slope[k];
        }
    }
};

// The model's mean loss at x, its gradient into `gradient`. Threads share
// the rows in fixed slices and their sums are added in order, so the result
// is the same on every run.
double loss_and_gradient(const Model& model, const std::vector<float>& targets, double scale,
                         const std::vector<double>& x, std::vector<double>& gradient, int threads) {
    const std::size_t rows = targets.size();
    std::vector<float> moved(x.size());
    for (std::size_t k = 0; k < x.size(); ++k) moved[k] = static_cast<float>(x[k] - model.anchor[k]);
    const RowPass pass{model, moved};
    // The loss in natural units of z = c * score: log(1 + e^-z) + (1 - t) z,
    // which costs one exponential and one logarithm per position.
    const double c = scale * 2.302585092994046 / 400.0;
    std::vector<std::vector<double>> partialGradient(threads, std::vector<double>(x.size(), 0.0));
    std::vector<double> partialLoss(threads, 0.0);
    auto work = [&](int t) {
        double loss = 0.0;
        double* g = partialGradient[t].data();
        for (std::size_t row = rows * t / threads; row < rows * (t + 1) / threads; ++row) {
            const double z = c * pass.score(row), target = targets[row];
            const double e = std::exp(-std::abs(z));
            const double p = z >= 0 ? 1.0 / (1.0 + e) : e / (1.0 + e);
            loss += std::max(-z, 0.0) + std::log1p(e) + (1.0 - target) * z;
            pass.add_gradient(row, (p - target) * c, g);
        }
        partialLoss[t] = loss;
    };
    std::vector<std::thread> pool;
    for (int t = 1; t < threads; ++t) pool.emplace_back(work, t);
    work(0);
    for (std::thread& thread : pool) thread.join();
    double loss = 0.0;
    std::fill(gradient.begin(), gradient.end(), 0.0);
    for (int t = 0; t < threads; ++t) {
        loss += partialLoss[t];
        for (std::size_t k = 0; k < x.size(); ++k) gradient[k] += partialGradient[t][k];
    }
    const double n = static_cast<double>(std::max<std::size_t>(rows, 1));
    for (double& g : gradient) g /= n;
    return loss / n;
}

// Adam: each weight moves by about the learning rate per pass, whatever the
// scale of its gradient, which suits weights as different as a queen's value
// and a pin bonus.
struct Adam {
    std::vector<double> m, v;
    int t = 0;

    explicit Adam(std::size_t n) : m(n, 0.0), v(n, 0.0) {}
    void step(std::vector<double>& x, const std::vector<double>& g, double rate, const std::vector<bool>& frozen) {
        constexpr double Beta1 = 0.9, Beta2 = 0.999, Epsilon = 1e-10;
        ++t;
        const double c1 = 1.0 - std::pow(Beta1, t), c2 = 1.0 - std::pow(Beta2, t);
        for (std::size_t k = 0; k < x.size(); ++k) {
            if (frozen[k]) continue;
            m[k] = Beta1 * m[k] + (1 - Beta1) * g[k];
            v[k] = Beta2 * v[k] + (1 - Beta2) * g[k] * g[k];
            x[k] -= rate * (m[k] / c1) / (std::sqrt(v[k] / c2) + Epsilon);
        }
    }
};

// The deeper search's score where a position has one, the game's own
// search score otherwise.
std::vector<float> blended_targets(const std::vector<TrainingSample>& samples, double lambda, double scale) {
    std::vector<float> targets;
    targets.reserve(samples.size());
    for (const TrainingSample& s : samples)
        targets.push_back(static_cast<float>(blended_target(s.result, s.deep.value_or(s.score), lambda, scale)));
    return targets;
}

std::vector<float> results_of(const std::vector<TrainingSample>& samples) {
    std::vector<float> results;
    results.reserve(samples.size());
    for (const TrainingSample& s : samples) results.push_back(s.result);
    return results;
}

// Writes x, rounded and kept in range, into config; returns the rounded x.
std::vector<double> apply_rounded(const std::vector<double>& x, const std::vector<TunedParam>& params,
                                  EngineConfig& config) {
    const std::vector<int*> value = param_pointers(config, params);
    std::vector<double> rounded(x.size());
    for (std::size_t k = 0; k < x.size(); ++k) {
        *value[k] = static_cast<int>(std::clamp<double>(std::lround(x[k]), params[k].range.lo, params[k].range.hi));
        rounded[k] = *value[k];
    }
    return rounded;
}

}  // namespace

std::vector<TunerReport> tune_per_lambda(std::vector<TrainingSample> samples, const EngineConfig& start,
                                         const std::vector<double>& lambdas, std::vector<EngineConfig>& tuned,
                                         const TunerSettings& settings, std::ostream& log) {
    tuned.assign(lambdas.size(), start);
    TunerReport common;
    std::vector<TunedParam> params = tuned_params(settings.keys);
    std::erase_if(params, [&](const TunedParam& p) {
        return std::find(settings.fixed.begin(), settings.fixed.end(), p.key) != settings.fixed.end();
    });
    // Moved, not copied: millions of positions are held once.
    std::vector<TrainingSample> train, heldOut;
    for (TrainingSample& sample : samples) (is_held_out(sample.fen) ? heldOut : train).push_back(std::move(sample));
    samples = {};
    common.trainPositions = static_cast<int>(train.size());
    common.heldOutPositions = static_cast<int>(heldOut.size());
    if (params.empty() || train.empty()) {
        log << "nothing to tune (" << params.size() << " weights, " << train.size() << " training positions)\n";
        return std::vector<TunerReport>(lambdas.size(), common);
    }
    std::vector<int> linearIndex, nonlinearIndex;
    for (int k = 0; k < static_cast<int>(params.size()); ++k)
        (params[k].nonlinear ? nonlinearIndex : linearIndex).push_back(k);
    const int workers = std::max(1, settings.workers);
    const std::vector<int> scoresOnly;

    EngineConfig startConfig = start;
    std::vector<double> startX;
    for (const int* v : param_pointers(startConfig, params)) startX.push_back(*v);
    Model model;
    const auto extractionStart = Clock::now();
    model.linear = linearise(train, start, params, linearIndex, settings.step, workers);
    const double linearSeconds = seconds_since(extractionStart);
    const Linearisation startRefreshed = linearise(train, start, params, nonlinearIndex, settings.step, workers);
    const double extraction = seconds_since(extractionStart);
    log << "slopes of " << params.size() << " weights over " << train.size() << " positions in " << extraction << " s ("
        << static_cast<long long>(train.size() / std::max(extraction, 1e-6)) << " positions/s; " << linearIndex.size()
        << " linear weights " << linearSeconds << " s, " << nonlinearIndex.size() << " non-linear "
        << extraction - linearSeconds << " s; " << model.linear.slope.size() + startRefreshed.slope.size()
        << " non-zero slopes)\n";

    const std::vector<float> heldOutBase = linearise(heldOut, start, params, scoresOnly, settings.step, workers).base;
    const std::vector<float> heldOutResults = results_of(heldOut);
    common.scale = fit_scale(startRefreshed.base, results_of(train));
    common.heldOutResultsBefore = mean_loss(heldOutBase, heldOutResults, common.scale);

    // A weight that moves only a handful of positions would be fitted to
    // their noise.
    std::vector<int> uses(params.size(), 0);
    for (const Linearisation* part : {&std::as_const(model.linear), &startRefreshed})
        for (std::uint16_t p : part->param) ++uses[p];
    std::vector<bool> frozen(params.size());
    for (std::size_t k = 0; k < params.size(); ++k) {
        frozen[k] = uses[k] < settings.minPositions;
        (frozen[k] ? common.frozen : common.tuned) += 1;
    }
    log << common.tuned << " weights tuned, " << common.frozen << " left alone (fewer than " << settings.minPositions
        << " positions)\n";

    // Each lambda starts afresh from the same weights and the same slopes:
    // the slopes of the linear weights, the dearest part, are measured once.
    std::vector<TunerReport> reports;
    for (std::size_t run = 0; run < lambdas.size(); ++run) {
        TunerReport report = common;
        EngineConfig& config = tuned[run];
        std::vector<double> x = startX;
        model.refreshed = startRefreshed;
        model.anchor = startX;
        const std::vector<float> trainTargets = blended_targets(train, lambdas[run], report.scale);
        const std::vector<float> heldOutTargets = blended_targets(heldOut, lambdas[run], report.scale);
        report.trainBefore = mean_loss(model.refreshed.base, trainTargets, report.scale);
        report.heldOutBefore = mean_loss(heldOutBase, heldOutTargets, report.scale);
        log << "lambda " << lambdas[run] << ": K " << report.scale << "; loss before: training " << report.trainBefore
            << ", held out " << report.heldOutBefore << " (" << heldOut.size() << " positions)\n";

        // Every few passes the model is re-anchored on the true scores at the
        // rounded weights, and the held-out positions are scored too: the
        // weights kept are those that predicted them best, so a fit that starts
        // to learn the training games' noise is caught.
        std::vector<double> best = x;
        int bestPass = 0;
        double heldOutBest = report.heldOutBefore;
        report.trainAfter = report.trainBefore;
        report.heldOutResultsAfter = report.heldOutResultsBefore;
        double checkpointSeconds = 0;
        auto checkpoint = [&](int pass) {
            const auto checkpointStart = Clock::now();
            model.anchor = apply_rounded(x, params, config);
            model.refreshed = linearise(train, config, params, nonlinearIndex, settings.step, workers);
            const double trainLoss = mean_loss(model.refreshed.base, trainTargets, report.scale);
            const std::vector<float> heldOutScores =
                linearise(heldOut, config, params, scoresOnly, settings.step, workers).base;
            const double heldOutLoss = mean_loss(heldOutScores, heldOutTargets, report.scale);
            log << "pass " << pass << ": training loss " << trainLoss << ", held out " << heldOutLoss << '\n';
            checkpointSeconds += seconds_since(checkpointStart);
            if (heldOut.empty() || heldOutLoss < heldOutBest) {
                report.heldOutResultsAfter = mean_loss(heldOutScores, heldOutResults, report.scale);
                best = model.anchor;
                bestPass = pass;
                heldOutBest = heldOutLoss;
                report.trainAfter = trainLoss;
            }
        };

        Adam adam(x.size());
        std::vector<double> gradient(x.size());
        const auto fitStart = Clock::now();
        double passSeconds = 0;
        const int refreshEvery = std::max(settings.refreshEvery, 1);
        for (int pass = 1; pass <= settings.epochs; ++pass) {
            const auto passStart = Clock::now();
            const double loss = loss_and_gradient(model, trainTargets, report.scale, x, gradient, workers);
            adam.step(x, gradient, settings.learningRate, frozen);
            for (std::size_t k = 0; k < x.size(); ++k)
                x[k] = std::clamp<double>(x[k], params[k].range.lo, params[k].range.hi);
            passSeconds += seconds_since(passStart);
            if (pass % 10 == 0) log << "pass " << pass << ": model loss " << loss << '\n';
            if (pass % refreshEvery == 0 || pass == settings.epochs) checkpoint(pass);
        }
        apply_rounded(best, params, config);
        report.heldOutAfter = heldOutBest;
        log << "optimisation: " << settings.epochs << " passes in " << passSeconds << " s ("
            << passSeconds / std::max(settings.epochs, 1) << " s per pass); true evaluations " << checkpointSeconds
            << " s; total " << seconds_since(fitStart) << " s\n";
        log << "lambda " << lambdas[run] << ": weights of pass " << bestPass << " kept; loss after: training "
            << report.trainAfter << ", held out " << report.heldOutAfter << '\n';
        reports.push_back(report);
    }
    return reports;
}

TunerReport tune_evaluation(std::vector<TrainingSample> samples, EngineConfig& config, const TunerSettings& settings,
                            std::ostream& log) {
    std::vector<EngineConfig> tuned;
    const TunerReport report =
        tune_per_lambda(std::move(samples), config, {settings.lambda}, tuned, settings, log).front();
    config = tuned.front();
    return report;
}

}  // namespace morvane
