#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "config/config_loader.h"
#include "eval/evaluate.h"
#include "support/capture.h"
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

std::vector<int> indices_where(const std::vector<TunedParam>& params, bool nonlinear) {
    std::vector<int> chosen;
    for (int k = 0; k < static_cast<int>(params.size()); ++k)
        if (params[k].nonlinear == nonlinear) chosen.push_back(k);
    return chosen;
}

struct TempFile {
    std::filesystem::path path;
    explicit TempFile(const std::string& name)
        : path(std::filesystem::temp_directory_path() / (name + std::to_string(::getpid()))) {}
    ~TempFile() { std::filesystem::remove(path); }
};

}  // namespace

TEST(TunedKeys, EveryKeyLeftOutIsASwitchOrDoesNotMoveTheEvaluation) {
    ASSERT_GE(sample_data().size(), 500u);
    const std::vector<TrainingSample> samples = first_samples(200);
    const EngineConfig defaults;
    const std::vector<float> base = scores_under(defaults, samples);
    EngineConfig changed = defaults;
    for (const ConfigField& field : all_fields(changed)) {
        const bool isSwitch = field.name.ends_with("_enabled");
        if (is_evaluation_weight(field.name) || isSwitch) continue;
        for (int i = 0; i < field.count; ++i) field.ptr[i] += 37;
        EXPECT_EQ(scores_under(changed, samples), base) << field.name << " changes the evaluation";
        for (int i = 0; i < field.count; ++i) field.ptr[i] -= 37;
    }
    // Switches are for games to decide, and the lazy margins never touch a
    // full evaluation.
    for (const char* key : {"pins_enabled", "kaufman_enabled", "threat_see_enabled", "lazy_eval_margin_min",
                            "king_threat_bonus_score", "time_movestogo_opening", "lmr_min_depth"})
        EXPECT_FALSE(is_evaluation_weight(key)) << key;
    for (const char* key : {"material_pawn", "pst_king_eg", "passed_pawn_bonus_mg", "king_danger_scale_eg_pct",
                            "opposite_bishop_scale_pct", "initiative_both_flanks_bonus", "space_bonus_per_square"})
        EXPECT_TRUE(is_evaluation_weight(key)) << key;
}

TEST(TunedKeys, RangesKeepTheLoaderFromCorrectingTunedValues) {
    EngineConfig pushed;
    const std::vector<TunedParam> params = tuned_params();
    const std::vector<int*> value = param_pointers(pushed, params);
    for (std::size_t k = 0; k < params.size(); ++k)
        *value[k] = std::clamp(*value[k] < 50 ? -1000 : 1000, params[k].range.lo, params[k].range.hi);
    TempFile file("morvane_ranges_");
    {
        std::ofstream out(file.path);
        write_config(out, pushed, {});
    }
    test::CapturedStreams io;
    EngineConfig loaded;
    ASSERT_TRUE(load_config(file.path.string(), loaded));
    EXPECT_EQ(io.err().find("hors bornes"), std::string::npos) << io.err();
}

TEST(Linearise, SlopesPredictTheEvaluationAfterSmallChanges) {
    const std::vector<TrainingSample> samples = first_samples(300);
    const std::vector<TunedParam> params = tuned_params();
    const std::vector<int> linear = indices_where(params, false);
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
    EngineConfig truth;
    truth.material_knight += 80;
    truth.mobility_bishop_mg = 16;
    truth.bishop_pair_bonus_mg = 30;
    truth.passed_pawn_free_bonus_eg = 70;
    truth.king_danger_scale_mg_pct = 130;
    // Each position's result is White's expected score under the true
    // weights, so the true weights are the loss's minimum.
    const std::vector<float> labels = scores_under(truth, samples);
    std::vector<TrainingSample> labelled = samples;
    for (std::size_t i = 0; i < labelled.size(); ++i)
        labelled[i].result = static_cast<float>(expected_result(labels[i], 1.0));

    TunerSettings settings;
    settings.epochs = 200;
    settings.refreshEvery = 40;
    settings.minPositions = 20;
    settings.keys = {"material_knight",          "mobility_bishop_mg",
                     "bishop_pair_bonus_mg",     "passed_pawn_free_bonus_eg",
                     "king_danger_scale_mg_pct", "isolated_pawn_penalty_mg",
                     "rook_open_file_bonus_mg",  "material_pawn"};  // fixed by default: the unit stays put
    EngineConfig tuned;
    std::ostringstream log;
    const TunerReport report = tune_evaluation(labelled, tuned, settings, log);
    SCOPED_TRACE(log.str());
    EXPECT_EQ(report.tuned, 7);
    EXPECT_GT(report.heldOutPositions, static_cast<int>(samples.size() / 20));
    EXPECT_LT(report.heldOutAfter, report.heldOutBefore);

    const EngineConfig defaults;
    auto closer = [](int start, int target, int found) {
        return std::abs(found - target) < std::abs(start - target) / 2;
    };
    EXPECT_TRUE(closer(defaults.material_knight, truth.material_knight, tuned.material_knight))
        << tuned.material_knight;
    EXPECT_TRUE(closer(defaults.mobility_bishop_mg, truth.mobility_bishop_mg, tuned.mobility_bishop_mg))
        << tuned.mobility_bishop_mg;
    EXPECT_TRUE(closer(defaults.bishop_pair_bonus_mg, truth.bishop_pair_bonus_mg, tuned.bishop_pair_bonus_mg))
        << tuned.bishop_pair_bonus_mg;
    EXPECT_TRUE(
        closer(defaults.passed_pawn_free_bonus_eg, truth.passed_pawn_free_bonus_eg, tuned.passed_pawn_free_bonus_eg))
        << tuned.passed_pawn_free_bonus_eg;
    EXPECT_TRUE(
        closer(defaults.king_danger_scale_mg_pct, truth.king_danger_scale_mg_pct, tuned.king_danger_scale_mg_pct))
        << tuned.king_danger_scale_mg_pct;
    // Weights that were right stay near their values.
    EXPECT_NEAR(tuned.isolated_pawn_penalty_mg, defaults.isolated_pawn_penalty_mg, 8);
    EXPECT_NEAR(tuned.rook_open_file_bonus_mg, defaults.rook_open_file_bonus_mg, 8);
    // Nothing else moved, the fixed pawn neither, and the global configuration
    // the engine plays with is untouched.
    tuned.material_knight = defaults.material_knight;
    tuned.mobility_bishop_mg = defaults.mobility_bishop_mg;
    tuned.bishop_pair_bonus_mg = defaults.bishop_pair_bonus_mg;
    tuned.passed_pawn_free_bonus_eg = defaults.passed_pawn_free_bonus_eg;
    tuned.king_danger_scale_mg_pct = defaults.king_danger_scale_mg_pct;
    tuned.isolated_pawn_penalty_mg = defaults.isolated_pawn_penalty_mg;
    tuned.rook_open_file_bonus_mg = defaults.rook_open_file_bonus_mg;
    std::ostringstream rest, globals;
    write_config(rest, tuned, {});
    write_config(globals, g_config, {});
    EXPECT_EQ(rest.str(), "");
    EXPECT_EQ(globals.str(), "");
}

TEST(ConfigWriter, WrittenFileLoadsCleanlyWithOnlyTheChangedKeys) {
    EngineConfig tuned;
    tuned.material_knight = 350;
    tuned.pst_knight_mg[10] = -3;  // c2
    tuned.pst_knight_mg[63] = 12;  // h8
    tuned.passed_pawn_bonus_eg[5] = 90;
    tuned.time_movestogo_opening = 30;  // carried over from a starting file
    TempFile file("morvane_written_");
    {
        std::ofstream out(file.path);
        write_config(out, tuned, {"tuned by a test", "data: none"});
    }
    std::ifstream in(file.path);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text.rfind("# tuned by a test\n# data: none\n", 0), 0u) << text;

    test::CapturedStreams io;
    EngineConfig loaded;
    ASSERT_TRUE(load_config(file.path.string(), loaded));
    EXPECT_EQ(io.err(), "info string " + file.path.string() + " charge (4 entrees)\n");
    std::ostringstream expected, actual;
    write_config(expected, tuned, {});
    write_config(actual, loaded, {});
    EXPECT_EQ(actual.str(), expected.str());
    EXPECT_EQ(loaded.pst_knight_mg[10], -3);
    EXPECT_EQ(loaded.pst_knight_mg[63], 12);
}

TEST(TrainingData, LinesParseAndOneInTenIsHeldOut) {
    TrainingSample sample;
    ASSERT_TRUE(parse_training_line("4k3/8/8/8/8/8/4P3/4K3 b - - 0 1 | 1.0 | -35", sample));
    EXPECT_EQ(sample.fen, "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1");
    EXPECT_EQ(sample.result, 1.0f);
    EXPECT_EQ(sample.score, -35.0f);
    for (const char* bad : {"4k3/8/8/8/8/8/4P3/4K3 b - - 0 1 | 1.0", "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1 | 2 | 5",
                            "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1 | 0.5 | x", " | 0.5 | 3", ""})
        EXPECT_FALSE(parse_training_line(bad, sample)) << bad;

    TempFile file("morvane_data_");
    std::ofstream(file.path) << "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1 | 0.5 | 3\n"
                                "4k3/8/8/8/8/8/4P3/4X3 b - - 0 1 | 0.5 | 3\n"  // no such piece
                                "8/8/8/8/8/8/4P3/4K3 b - - 0 1 | 0.5 | 3\n"    // no black king
                                "garbage\n";
    test::CapturedStreams io;
    EXPECT_EQ(read_training_data({file.path.string(), "/no/such/data"}).size(), 1u);
    EXPECT_NE(io.err().find("3 malformed line(s) skipped"), std::string::npos) << io.err();
    EXPECT_NE(io.err().find("cannot read /no/such/data"), std::string::npos) << io.err();

    // A tenth is held out, in ten stretches of consecutive lines: the
    // positions of one game stay on one side but where a stretch begins.
    int heldOut = 0, stretches = 0;
    for (std::size_t i = 0; i < sample_data().size(); ++i) {
        heldOut += is_held_out(i, sample_data().size());
        stretches += is_held_out(i, sample_data().size()) && (i == 0 || !is_held_out(i - 1, sample_data().size()));
    }
    EXPECT_EQ(stretches, 10);
    EXPECT_NEAR(static_cast<double>(heldOut) / sample_data().size(), 0.1, 0.01);
}
