// Match statistics on pairs of games (the same opening played with both
// colours), whose five possible pair scores form the pentanomial
// distribution: the Elo difference with its 95 % interval, the likelihood of
// superiority, and the sequential probability ratio test.
#pragma once

#include <array>
#include <cstdint>

namespace match {

struct Wdl {
    std::int64_t wins = 0, losses = 0, draws = 0;
    std::int64_t games() const { return wins + losses + draws; }
    double score() const { return games() ? (static_cast<double>(wins) + 0.5 * static_cast<double>(draws)) / static_cast<double>(games()) : 0.5; }
    double draw_ratio() const { return games() ? static_cast<double>(draws) / static_cast<double>(games()) : 0; }
};

// Pair counts indexed by the first engine's points in the pair, doubled:
// [0] lost both, [1] a loss and a draw, [2] two draws or a win and a loss,
// [3] a win and a draw, [4] won both.
using Pentanomial = std::array<std::int64_t, 5>;

// Logistic Elo of an expected score in (0, 1).
double elo_from_score(double score);
double score_from_elo(double elo);

struct EloEstimate {
    double score = 0.5;  // points per game
    double elo = 0;      // logistic Elo; infinite at 0 % or 100 %
    double margin = 0;   // half-width of the 95 % interval, in Elo
    double los = 0.5;    // likelihood of superiority, 0..1
};

// The two games of a pair share their opening, so their results are not
// independent: the spread is that of the pair scores, not of single games.
EloEstimate estimate_elo(const Pentanomial& pairs);

struct SprtBounds {
    double elo0 = 0, elo1 = 5;  // logistic Elo
    double alpha = 0.05, beta = 0.05;
    double lower() const;  // log(beta / (1 - alpha)): accept H0 at or below
    double upper() const;  // log((1 - beta) / alpha): accept H1 at or above
};

// Log-likelihood ratio of H1 (the first engine is elo1 stronger) against H0
// (elo0 stronger) from the pair counts, with the normal approximation of
// the generalized SPRT: each pair's score is a sample whose variance is
// estimated from the counts themselves. 0 before the first pair.
double sprt_llr(const Pentanomial& pairs, const SprtBounds& bounds);

// The variance behind the ratio is estimated from the pairs themselves, so
// a handful of pairs that happen to agree (one pair of 3/2 points alone
// gives a ratio beyond the bounds) would decide the test on no evidence:
// no verdict before this many pairs.
constexpr std::int64_t SprtMinPairs = 20;

enum class SprtVerdict { Continue, AcceptH0, AcceptH1 };
SprtVerdict sprt_verdict(const Pentanomial& pairs, double llr, const SprtBounds& bounds);

}  // namespace match
