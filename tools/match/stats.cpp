#include "match/stats.h"

#include <cmath>
#include <limits>

namespace match {

namespace {

constexpr double Z95 = 1.959963984540054;  // two-sided 95 % quantile of the normal law

}  // namespace

double elo_from_score(double score) {
    if (score <= 0) return -std::numeric_limits<double>::infinity();
    if (score >= 1) return std::numeric_limits<double>::infinity();
    return 400.0 * std::log10(score / (1.0 - score));
}

double score_from_elo(double elo) { return 1.0 / (1.0 + std::pow(10.0, -elo / 400.0)); }

EloEstimate estimate_elo(const Pentanomial& pairs) {
    EloEstimate e;
    double n = 0, mean = 0;
    for (int k = 0; k < 5; ++k) {
        n += static_cast<double>(pairs[k]);
        mean += static_cast<double>(pairs[k]) * (k / 4.0);  // a pair scores 0, 1/4, ..., 1 per game
    }
    if (n == 0) return e;
    mean /= n;
    double variance = 0;
    for (int k = 0; k < 5; ++k) variance += static_cast<double>(pairs[k]) * (k / 4.0 - mean) * (k / 4.0 - mean);
    variance /= n;
    e.score = mean;
    e.elo = elo_from_score(mean);
    // The interval of the mean score mapped through the Elo curve (not
    // symmetric in Elo, hence the half-width).
    const double deviation = std::sqrt(variance / n);
    const double spread = Z95 * deviation;
    // A clean sweep says nothing about how large the difference is.
    e.margin = mean <= 0 || mean >= 1 ? std::numeric_limits<double>::infinity()
                                      : (elo_from_score(mean + spread) - elo_from_score(mean - spread)) / 2;
    e.los = deviation > 0 ? 0.5 * (1 + std::erf((mean - 0.5) / (deviation * std::sqrt(2.0))))
                          : (mean > 0.5 ? 1.0 : mean < 0.5 ? 0.0 : 0.5);
    return e;
}

double SprtBounds::lower() const { return std::log(beta / (1 - alpha)); }
double SprtBounds::upper() const { return std::log((1 - beta) / alpha); }

double sprt_llr(const Pentanomial& pairs, const SprtBounds& bounds) {
    std::int64_t total = 0;
    for (auto c : pairs) total += c;
    if (total == 0) return 0;
    // An empty pair class would make the estimated variance too small (zero
    // when one engine wins every pair); a token count keeps it honest.
    std::array<double, 5> count;
    double n = 0;
    for (int k = 0; k < 5; ++k) n += count[k] = pairs[k] > 0 ? static_cast<double>(pairs[k]) : 1e-3;
    // A pair scores 0, 1/4, 1/2, 3/4 or 1 per game.
    double mean = 0;
    for (int k = 0; k < 5; ++k) mean += count[k] * (k / 4.0);
    mean /= n;
    double variance = 0;
    for (int k = 0; k < 5; ++k) variance += count[k] * (k / 4.0 - mean) * (k / 4.0 - mean);
    variance /= n;
    const double s0 = score_from_elo(bounds.elo0), s1 = score_from_elo(bounds.elo1);
    // Log-ratio of two normal likelihoods with the same variance and means
    // s1 and s0, summed over the n pairs.
    return n * (s1 - s0) * (2 * mean - s0 - s1) / (2 * variance);
}

SprtVerdict sprt_verdict(const Pentanomial& pairs, double llr, const SprtBounds& bounds) {
    std::int64_t total = 0;
    for (auto c : pairs) total += c;
    if (total < SprtMinPairs) return SprtVerdict::Continue;
    if (llr >= bounds.upper()) return SprtVerdict::AcceptH1;
    if (llr <= bounds.lower()) return SprtVerdict::AcceptH0;
    return SprtVerdict::Continue;
}

}  // namespace match
