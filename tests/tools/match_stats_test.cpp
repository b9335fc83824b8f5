// Match statistics against values worked out by hand.
#include <gtest/gtest.h>

#include <cmath>

#include "match/stats.h"

using namespace match;

TEST(MatchStats, EloIntervalAndLosFromPairScores) {
    // Pairs 1, 2, 3, 4, 2 (0 to 2 points): mean 7/12 per game, Elo
    // 400 log10(1.4) = 58.451; pair variance 0.086806, so the score interval
    // is 7/12 +- 1.96 sqrt(0.086806 / 12) = [0.41663, 0.75003], or Elo
    // [-58.90, 190.45]: half-width 124.676. LOS = Phi(0.08333 / 0.085052).
    const EloEstimate e = estimate_elo(Pentanomial{1, 2, 3, 4, 2});
    EXPECT_NEAR(e.score, 7.0 / 12, 1e-12);
    EXPECT_NEAR(e.elo, 58.451, 1e-3);
    EXPECT_NEAR(e.margin, 124.676, 1e-3);
    EXPECT_NEAR(e.los, 0.836407, 1e-6);

    // Ten pairs each won by one side (2-0 or 0-2): as twenty independent
    // games they would give +-163 Elo; the pairs say the results depend on
    // the opening, and the interval is about sqrt(2) times wider.
    EXPECT_NEAR(estimate_elo(Pentanomial{5, 0, 0, 0, 5}).margin, 251.777, 1e-3);
    // Every pair split 1-1: the openings decide everything, no spread.
    EXPECT_NEAR(estimate_elo(Pentanomial{0, 0, 10, 0, 0}).margin, 0, 1e-12);
    EXPECT_NEAR(estimate_elo(Pentanomial{0, 0, 10, 0, 0}).los, 0.5, 1e-12);
    // A clean sweep has no finite Elo; nothing must turn into NaN.
    EXPECT_TRUE(std::isinf(estimate_elo(Pentanomial{0, 0, 0, 0, 3}).elo));
    EXPECT_TRUE(std::isinf(estimate_elo(Pentanomial{3, 0, 0, 0, 0}).margin));
    EXPECT_FALSE(std::isnan(estimate_elo(Pentanomial{}).los));

    const Wdl wdl{3, 1, 2};
    EXPECT_NEAR(wdl.score(), 2.0 / 3, 1e-12);
    EXPECT_NEAR(wdl.draw_ratio(), 1.0 / 3, 1e-12);
}

TEST(MatchStats, SprtLogLikelihoodRatioOfPairCountsDecidesOneSidedMatches) {
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

    // Every pair won: the estimated variance must not collapse to zero and
    // leave the test undecided forever, nor decide on the first pair.
    EXPECT_LT(sprt_llr({0, 0, 0, 0, 1}, b), b.upper());
    EXPECT_GE(sprt_llr({0, 0, 0, 0, 40}, b), b.upper());
    EXPECT_LE(sprt_llr({40, 0, 0, 0, 0}, b), b.lower());
    EXPECT_EQ(sprt_llr({0, 0, 0, 0, 0}, b), 0);
}
