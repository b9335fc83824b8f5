// Match statistics against values worked out by hand.
#include <gtest/gtest.h>

#include <cmath>

#include "match/stats.h"

using namespace match;

TEST(MatchStats, EloIntervalAndLosFromWinsLossesDraws) {
    // 3 wins, 1 loss, 2 draws: score 4/6, Elo -400 log10(1/2) = 120.41.
    // Per-game variance (3 (1/3)^2 + 2 (1/6)^2 + (2/3)^2) / 6 = 5/36, so
    // the score interval is 2/3 +- 1.96 sqrt(5/216) = [0.3685, 0.9649], or
    // Elo [-93.6, 575.6]: half-width 334.55. LOS = Phi(2 / sqrt(4)) = 0.8413.
    const EloEstimate e = estimate_elo({3, 1, 2});
    EXPECT_NEAR(e.score, 2.0 / 3, 1e-12);
    EXPECT_NEAR(e.elo, 120.412, 1e-3);
    EXPECT_NEAR(e.margin, 334.546, 1e-3);
    EXPECT_NEAR(e.los, 0.841345, 1e-6);
    EXPECT_NEAR(e.drawRatio, 1.0 / 3, 1e-12);

    const EloEstimate even = estimate_elo({5, 5, 10});
    EXPECT_NEAR(even.elo, 0, 1e-9);
    EXPECT_NEAR(even.los, 0.5, 1e-12);
    // A clean sweep has no finite Elo; nothing must turn into NaN.
    EXPECT_TRUE(std::isinf(estimate_elo({4, 0, 0}).elo));
    EXPECT_TRUE(std::isinf(estimate_elo({0, 4, 0}).margin));
    EXPECT_FALSE(std::isnan(estimate_elo({0, 0, 0}).los));
}

TEST(MatchStats, SprtLogLikelihoodRatioOfPairCounts) {
    // Pairs 1, 2, 3, 4, 2 (0 to 2 points): mean pair score per game 7/12,
    // variance 1.041667 / 12 = 0.086806. For bounds 0 and 5 Elo, s0 = 0.5
    // and s1 = 0.507196, so LLR = 12 (s1 - s0)(2 * 7/12 - s0 - s1) /
    // (2 * 0.086806) = 0.079309.
    const Pentanomial pairs{1, 2, 3, 4, 2};
    EXPECT_NEAR(sprt_llr(pairs, {0, 5}), 0.0793091, 1e-6);
    EXPECT_NEAR(sprt_llr(pairs, {-2, 3}), 0.0821758, 1e-6);
    // Mirrored results mirror the evidence.
    EXPECT_NEAR(sprt_llr({2, 4, 3, 2, 1}, {-5, 5}), -sprt_llr(pairs, {-5, 5}), 1e-12);

    const SprtBounds b{0, 5, 0.05, 0.05};
    EXPECT_NEAR(b.lower(), -2.944439, 1e-6);  // log(0.05 / 0.95)
    EXPECT_NEAR(b.upper(), 2.944439, 1e-6);
    const Pentanomial enough{5, 5, 5, 5, 5};
    EXPECT_EQ(sprt_verdict(enough, 3.0, b), SprtVerdict::AcceptH1);
    EXPECT_EQ(sprt_verdict(enough, -3.0, b), SprtVerdict::AcceptH0);
    EXPECT_EQ(sprt_verdict(enough, 0.5, b), SprtVerdict::Continue);
    // One lucky pair gives a ratio past the bounds, but decides nothing.
    const Pentanomial onePair{0, 0, 0, 1, 0};
    const SprtBounds wide{0, 10};
    EXPECT_GE(sprt_llr(onePair, wide), wide.upper());
    EXPECT_EQ(sprt_verdict(onePair, sprt_llr(onePair, wide), wide), SprtVerdict::Continue);
}

TEST(MatchStats, OneSidedMatchStillReachesADecision) {
    // Every pair won: the estimated variance must not collapse to zero and
    // leave the test undecided forever, nor decide on the first pair.
    const SprtBounds b{0, 5};
    EXPECT_LT(sprt_llr({0, 0, 0, 0, 1}, b), b.upper());
    EXPECT_GE(sprt_llr({0, 0, 0, 0, 40}, b), b.upper());
    EXPECT_LE(sprt_llr({40, 0, 0, 0, 0}, b), b.lower());
    EXPECT_EQ(sprt_llr({0, 0, 0, 0, 0}, b), 0);
}
