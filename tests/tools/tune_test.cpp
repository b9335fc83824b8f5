#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <random>
#include <sstream>

#include "config/config_loader.h"
#include "eval/evaluate.h"
#include "support/capture.h"
#include "support/files.h"
#include "support/test_positions.h"
#include "tune/config_writer.h"
#include "tune/evaluation_tuner.h"
#include "tune/linearise.h"
#include "tune/logistic_loss.h"
#include "tune/training_data.h"
#include "tune/tuned_keys.h"

using namespace morvane;

namespace {

// Self-play positions written by datagen.
const std::vector<TrainingSample>& sample_data() {
    static const std::vector<TrainingSample> samples = read_training_data({MORVANE_SELFPLAY_SAMPLE});
    return samples;
}

std::vector<TrainingSample> first_samples(std::size_t n) {
    const std::vector<TrainingSample>& all = sample_data();
    return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(std::min(n, all.size()))};
}

std::vector<float> scores_under(const EngineConfig& config, const std::vector<TrainingSample>& samples) {
    return linearise(samples, config, {}, {}, 1, 1).base;
}

}  // namespace

// A weight no position reads is a term wired to nothing; a key outside the
// list that moves the score is left untuned.
TEST(TunedKeys, ExactlyTheEvaluationWeightsMoveTheEvaluation) {
    ASSERT_GE(sample_data().size(), 500u);
    std::vector<TrainingSample> samples = first_samples(200);
    // What self-play rarely reaches (pawn storms, queen against minors,
    // opposite bishops); random play adds exposed kings and hanging pieces.
    for (const char* fen : {"6k1/5ppp/8/6P1/4PP2/8/8/3Q2K1 w - - 0 1", "3qk3/pppp1p2/8/8/8/8/PPP5/1B2K2R w - - 0 1",
                            "3qk3/ppp5/8/8/8/8/PPP5/1N2K2R w - - 0 1", "3qk3/ppp5/8/8/8/8/PPP5/1NN1KB2 w - - 0 1",
                            "3qk3/ppp5/8/8/8/8/PPP5/1NB1KB2 w - - 0 1", "3rk3/pp6/8/8/8/8/PPP5/2B1K3 w - - 0 1",
                            "4k1b1/p7/8/8/8/8/PP6/2B1K3 w - - 0 1"})
        samples.push_back({fen, 0.5f, 0});
    std::mt19937_64 rng(8);
    Board board;
    test::walk_random_games(board, rng, 60, 50, [&](Board& b, const ScoredMove*, int) {
        if (rng() % 10 == 0) samples.push_back({b.fen(), 0.5f, 0});
    });
    // The hanging-piece rate is read only when the exchange threats are off.
    EngineConfig defaults, noSee;
    noSee.threat_see_enabled = 0;
    const std::vector<float> base[2] = {scores_under(defaults, samples), scores_under(noSee, samples)};
    const std::vector<ConfigField> keys = all_fields(defaults);
    for (std::size_t k = 0; k < keys.size(); ++k) {
        if (keys[k].name.ends_with("_enabled")) continue;  // switches are for games to decide
        bool moved = false;
        for (int c = 0; c < 2; ++c) {
            EngineConfig changed = c ? noSee : defaults;
            const ConfigField field = all_fields(changed)[k];
            for (int i = 0; i < field.count; ++i) field.ptr[i] += 37 + i;
            moved = moved || scores_under(changed, samples) != base[c];
        }
        EXPECT_EQ(moved, is_evaluation_weight(keys[k].name))
            << keys[k].name << (moved ? " moves the evaluation but is not tuned" : " moves no evaluation");
    }
}

TEST(Linearise, SlopesPredictTheEvaluationAfterSmallChanges) {
    const std::vector<TrainingSample> samples = first_samples(300);
    const std::vector<TunedParam> params = tuned_params();
    std::vector<int> linear;
    for (int k = 0; k < static_cast<int>(params.size()); ++k)
        if (!params[k].nonlinear) linear.push_back(k);
    const EngineConfig defaults;
    const Linearisation model = linearise(samples, defaults, params, linear, 4, 1);
    ASSERT_EQ(model.base, scores_under(defaults, samples));

    std::mt19937_64 rng(3);
    EngineConfig moved = defaults;
    const std::vector<int*> value = param_pointers(moved, params);
    std::vector<int> delta(params.size(), 0);
    for (int k : linear) *value[k] += delta[k] = static_cast<int>(rng() % 11) - 5;
    const std::vector<float> truth = scores_under(moved, samples);
    double error = 0, change = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        double predicted = model.base[i];
        for (std::uint32_t e = model.rowStart[i]; e < model.rowStart[i + 1]; ++e)
            predicted += model.slope[e] * delta[model.param[e]];
        error += std::abs(predicted - truth[i]);
        change += std::abs(truth[i] - model.base[i]);
    }
    EXPECT_GT(change / samples.size(), 10.0);
    EXPECT_LT(error, 0.15 * change);

    // Forked workers give exactly what one process gives.
    const std::vector<TrainingSample> few = first_samples(60);
    const Linearisation one = linearise(few, defaults, params, linear, 4, 1);
    const Linearisation two = linearise(few, defaults, params, linear, 4, 2);
    EXPECT_EQ(one.base, two.base);
    EXPECT_EQ(one.rowStart, two.rowStart);
    EXPECT_EQ(one.param, two.param);
    EXPECT_EQ(one.slope, two.slope);
}

TEST(LogisticLoss, FittedScaleIsTheOneThatMadeTheTargets) {
    std::vector<float> scores, targets;
    for (int s = -800; s <= 800; s += 5) {
        scores.push_back(static_cast<float>(s));
        targets.push_back(static_cast<float>(expected_result(s, 1.37)));
    }
    EXPECT_NEAR(fit_scale(scores, targets), 1.37, 0.01);
    EXPECT_NEAR(expected_result(0, 1.0), 0.5, 1e-12);
    EXPECT_NEAR(expected_result(400, 1.0), 10.0 / 11.0, 1e-12);
    // The slope is the derivative of the loss.
    const double h = 1e-3;
    EXPECT_NEAR(loss_slope(120, 0.25, 1.1),
                (position_loss(120 + h, 0.25, 1.1) - position_loss(120 - h, 0.25, 1.1)) / (2 * h), 1e-7);
}

TEST(EvaluationTuner, RecoversTheWeightsThatLabelledTheData) {
    const std::vector<TrainingSample>& samples = sample_data();
    // Five weights start wrong and two right.
    const EngineConfig defaults;
    struct Weight {
        const char* key;
        int EngineConfig::*field;
        int truth;
    };
    const Weight weights[] = {
        {"material_knight", &EngineConfig::material_knight, defaults.material_knight + 80},
        {"mobility_bishop_mg", &EngineConfig::mobility_bishop_mg, 16},
        {"bishop_pair_bonus_mg", &EngineConfig::bishop_pair_bonus_mg, 30},
        {"passed_pawn_free_bonus_eg", &EngineConfig::passed_pawn_free_bonus_eg, 70},
        {"king_danger_scale_mg_pct", &EngineConfig::king_danger_scale_mg_pct, 130},
        {"isolated_pawn_penalty_mg", &EngineConfig::isolated_pawn_penalty_mg, defaults.isolated_pawn_penalty_mg},
        {"rook_open_file_bonus_mg", &EngineConfig::rook_open_file_bonus_mg, defaults.rook_open_file_bonus_mg},
    };
    EngineConfig truth;
    TunerSettings settings;
    settings.keys = {"material_pawn"};  // fixed by default: the unit stays put
    for (const Weight& w : weights) {
        truth.*w.field = w.truth;
        settings.keys.push_back(w.key);
    }
    // Each position's result is White's expected score under the true
    // weights, so the true weights are the loss's minimum.
    const std::vector<float> labels = scores_under(truth, samples);
    std::vector<TrainingSample> labelled = samples;
    for (std::size_t i = 0; i < labelled.size(); ++i)
        labelled[i].result = static_cast<float>(expected_result(labels[i], 1.0));

    settings.epochs = 200;
    settings.refreshEvery = 40;
    settings.minPositions = 20;
    EngineConfig tuned;
    std::ostringstream log;
    const TunerReport report = tune_evaluation(labelled, tuned, settings, log);
    SCOPED_TRACE(log.str());
    EXPECT_EQ(report.tuned, 7);
    EXPECT_GT(report.heldOutPositions, static_cast<int>(samples.size() / 20));
    EXPECT_LT(report.heldOutAfter, report.heldOutBefore);

    // Wrong weights moved at least halfway to the truth, right ones stayed;
    // nothing else moved, nor did the configuration the engine plays with.
    for (const Weight& w : weights) {
        const int start = defaults.*w.field, found = tuned.*w.field;
        if (start == w.truth) EXPECT_NEAR(found, start, 8) << w.key;
        else EXPECT_LT(std::abs(found - w.truth), std::abs(start - w.truth) / 2) << w.key << " became " << found;
        tuned.*w.field = start;
    }
    std::ostringstream rest, globals;
    write_config(rest, tuned, {});
    write_config(globals, g_config, {});
    EXPECT_EQ(rest.str(), "");
    EXPECT_EQ(globals.str(), "");
}

// What the tuner writes loads back as written: only the changed keys, and
// tuned values anywhere in their ranges without the loader correcting them.
TEST(ConfigWriter, WrittenFilesLoadBackUnchanged) {
    EngineConfig tuned;
    tuned.material_knight = 350;
    tuned.pst_knight_mg[10] = -3;  // c2
    tuned.pst_knight_mg[63] = 12;  // h8
    tuned.passed_pawn_bonus_eg[5] = 90;
    tuned.time_movestogo_opening = 30;  // carried over from a starting file
    const test::ScratchDir scratch;
    const std::string file = scratch / "written.cfg";
    auto write_and_load = [&](const EngineConfig& config, EngineConfig& loaded) {
        {
            std::ofstream out(file);
            write_config(out, config, {"tuned by a test", "data: none"});
        }
        test::CapturedStreams io;
        EXPECT_TRUE(load_config(file, loaded));
        std::ostringstream expected, actual;
        write_config(expected, config, {});
        write_config(actual, loaded, {});
        EXPECT_EQ(actual.str(), expected.str());
        return io.err();
    };
    EngineConfig loaded;
    EXPECT_EQ(write_and_load(tuned, loaded), "info string " + file + " charge (4 entrees)\n");
    EXPECT_EQ(test::read_file(file).rfind("# tuned by a test\n# data: none\n", 0), 0u);

    EngineConfig pushed, reloaded;
    const std::vector<TunedParam> params = tuned_params();
    const std::vector<int*> value = param_pointers(pushed, params);
    for (std::size_t k = 0; k < params.size(); ++k)
        *value[k] = std::clamp(*value[k] < 50 ? -1000 : 1000, params[k].range.lo, params[k].range.hi);
    const std::string err = write_and_load(pushed, reloaded);
    EXPECT_EQ(err.find("hors bornes"), std::string::npos) << err;
}

TEST(TrainingData, BadLinesAreSkippedAndOneInTenPositionsIsHeldOut) {
    const test::ScratchDir scratch;
    const std::string file = scratch / "data.txt";
    std::ofstream(file) << "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1 | 0.5 | 3\n"
                           "4k3/8/8/8/8/8/4P3/4X3 b - - 0 1 | 0.5 | 3\n"  // no such piece
                           "8/8/8/8/8/8/4P3/4K3 b - - 0 1 | 0.5 | 3\n"    // no black king
                           "garbage\n";
    test::CapturedStreams io;
    EXPECT_EQ(read_training_data({file, "/no/such/data"}).size(), 1u);
    EXPECT_NE(io.err().find("3 malformed line(s) skipped"), std::string::npos) << io.err();
    EXPECT_NE(io.err().find("cannot read /no/such/data"), std::string::npos) << io.err();

    // A tenth is held out, by position: move counters do not change it.
    int heldOut = 0;
    for (const TrainingSample& s : sample_data()) heldOut += is_held_out(s.fen);
    EXPECT_NEAR(static_cast<double>(heldOut) / sample_data().size(), 0.1, 0.02);
    for (const TrainingSample& s : sample_data()) {
        const std::string board = s.fen.substr(0, s.fen.rfind(' ', s.fen.rfind(' ') - 1));
        EXPECT_EQ(is_held_out(s.fen), is_held_out(board + " 0 1")) << s.fen;
        EXPECT_EQ(is_held_out(s.fen), is_held_out(board + " 37 60")) << s.fen;
    }
}
