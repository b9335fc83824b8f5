#include <gtest/gtest.h>

#include <sstream>

#include "tune/evaluation_tuner.h"
#include "tune/linearise.h"
#include "tune/logistic_loss.h"
#include "tune/training_data.h"

using namespace morvane;

// The target is lambda * result + (1 - lambda) * expectation of the deeper score.
TEST(BlendedTarget, AtLambdaOneTheLossIsTheResultsLossAndLabelsCountBelowIt) {
    const std::vector<TrainingSample> samples = read_training_data({MORVANE_SELFPLAY_SAMPLE});
    ASSERT_GE(samples.size(), 500u);
    std::vector<TrainingSample> heldOut;
    for (const TrainingSample& s : samples)
        if (is_held_out(s.fen)) heldOut.push_back(s);
    ASSERT_GT(heldOut.size(), 50u);

    auto report_for = [&](const std::vector<TrainingSample>& data, double lambda) {
        TunerSettings settings;
        settings.lambda = lambda;
        settings.epochs = 0;
        settings.keys = {"material_knight"};
        EngineConfig config;
        std::ostringstream log;
        return tune_evaluation(data, config, settings, log);
    };
    // Today's loss: the mean cross-entropy of the held-out positions'
    // evaluations against their game results, at the fitted K.
    const TunerReport plain = report_for(samples, 1.0);
    const std::vector<float> scores = linearise(heldOut, EngineConfig{}, {}, {}, 1, 1).base;
    double sum = 0;
    for (std::size_t i = 0; i < heldOut.size(); ++i) sum += position_loss(scores[i], heldOut[i].result, plain.scale);
    EXPECT_EQ(plain.heldOutBefore, sum / static_cast<double>(heldOut.size()));
    EXPECT_EQ(plain.heldOutResultsBefore, plain.heldOutBefore);
    EXPECT_EQ(plain.heldOutPositions, static_cast<int>(heldOut.size()));

    // Deeper labels that contradict every result change nothing at 1 ...
    std::vector<TrainingSample> labelled = samples;
    for (TrainingSample& s : labelled) s.deep = s.result > 0.5f ? -600.0f : 600.0f;
    const TunerReport ignored = report_for(labelled, 1.0);
    EXPECT_EQ(ignored.heldOutBefore, plain.heldOutBefore);
    EXPECT_EQ(ignored.scale, plain.scale);

    // ... and below 1 they, not the game's own scores, make the target;
    // the loss against the results alone stays the common yardstick.
    const TunerReport blendedGame = report_for(samples, 0.5), blendedDeep = report_for(labelled, 0.5);
    EXPECT_GT(blendedDeep.heldOutBefore, blendedGame.heldOutBefore + 0.05);
    EXPECT_EQ(blendedDeep.heldOutResultsBefore, plain.heldOutBefore);
    EXPECT_EQ(blendedGame.scale, plain.scale);  // K is fitted to the results whatever the target
}
