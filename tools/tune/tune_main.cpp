// Tunes the evaluation's weights on self-play data and writes them as a
// configuration file.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>

#include "common/tool_arguments.h"
#include "config/config_loader.h"
#include "core/attacks.h"
#include "core/zobrist.h"
#include "tune/config_writer.h"
#include "tune/evaluation_tuner.h"
#include "tune/tuned_keys.h"

using namespace morvane;

namespace {

constexpr const char* Usage =
    "Usage: tune (--data FILE | --corpus DIR) [more --data, --corpus] --output FILE [--config START]\n"
    "            [--lambda L] [--epochs N] [--refresh N] [--lr R] [--step H] [--min-positions N]\n"
    "            [--workers N] [--keys KEY,KEY,...] [--fixed KEY,KEY,...]\n"
    "Fits the evaluation weights (--keys, default all; --fixed, default material_pawn, are\n"
    "left alone) to L * result + (1 - L) * expectation of the deeper score (the game's score\n"
    "where a position has none); L defaults to 1, the results alone. Writes every key that\n"
    "differs from the engine's defaults.\n";

std::vector<std::string> split_commas(const std::string& text) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, ',');)
        if (!part.empty()) parts.push_back(part);
    return parts;
}

std::string utc_now() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::ostringstream text;
    text << std::put_time(std::gmtime(&now), "%Y-%m-%d %H:%M UTC");
    return text.str();
}

}  // namespace

int main(int argc, char** argv) {
    init_zobrist();
    init_attacks();
    ToolArguments args(argc, argv,
                       {"data", "corpus", "output", "config", "lambda", "epochs", "refresh", "lr", "step", "min-positions",
                        "workers", "keys", "fixed"});
    TunerSettings settings;
    settings.lambda = std::clamp(args.real("lambda", settings.lambda), 0.0, 1.0);
    settings.epochs = static_cast<int>(std::max(0LL, args.integer("epochs", settings.epochs)));
    settings.refreshEvery = static_cast<int>(std::max(1LL, args.integer("refresh", settings.refreshEvery)));
    settings.learningRate = args.real("lr", settings.learningRate);
    settings.step = static_cast<int>(std::clamp(args.integer("step", settings.step), 1LL, 1000LL));
    settings.minPositions = static_cast<int>(args.integer("min-positions", settings.minPositions));
    settings.workers = static_cast<int>(std::clamp(args.integer("workers", settings.workers), 1LL, 64LL));
    settings.keys = split_commas(args.text("keys"));
    if (args.has("fixed")) settings.fixed = split_commas(args.text("fixed"));
    const std::vector<std::string> dataFiles = args.all("data"), corpora = args.all("corpus");
    const std::string output = args.text("output");
    if (!args.error().empty() || (dataFiles.empty() && corpora.empty()) || output.empty()) {
        if (!args.error().empty()) std::cerr << args.error() << '\n';
        std::cerr << Usage;
        return 1;
    }

    for (const std::string& key : settings.keys)
        if (!is_evaluation_weight(key)) {
            std::cerr << "--keys: " << key << " is not an evaluation weight\n";
            return 1;
        }

    EngineConfig config;
    if (args.has("config") && !load_config(args.text("config"), config)) {
        std::cerr << "cannot read " << args.text("config") << '\n';
        return 1;
    }
    std::vector<TrainingSample> samples = read_training_data(dataFiles);
    for (const std::string& dir : corpora) {
        std::vector<TrainingSample> more = read_corpus(dir);
        samples.insert(samples.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    }
    const auto labelled = std::count_if(samples.begin(), samples.end(), [](const auto& s) { return s.deep.has_value(); });
    std::cerr << samples.size() << " positions read, " << labelled << " with a deeper score\n";
    const TunerReport report = tune_evaluation(std::move(samples), config, settings, std::cerr);
    if (report.tuned == 0) return 1;

    std::string command;
    for (int i = 0; i < argc; ++i) command += (i ? " " : "") + std::string(argv[i]);
    std::string data;
    for (const std::string& file : dataFiles) data += (data.empty() ? "" : ", ") + file;
    for (const std::string& dir : corpora) data += (data.empty() ? "corpus " : ", corpus ") + dir;
    std::ostringstream losses;
    losses << "lambda " << settings.lambda << ": held-out loss " << report.heldOutBefore << " -> "
           << report.heldOutAfter << ", against results alone " << report.heldOutResultsBefore << " -> "
           << report.heldOutResultsAfter << " (K " << report.scale << ", " << report.trainPositions
           << " training and " << report.heldOutPositions << " held-out positions)";
    std::ofstream out(output);
    write_config(out, config,
                 {"Evaluation weights tuned on self-play positions.", "command: " + command, "data: " + data,
                  "date: " + utc_now(), losses.str()});
    if (!out) {
        std::cerr << "cannot write " << output << '\n';
        return 1;
    }
    std::cout << "written " << output << " (" << losses.str() << ")\n";
    return 0;
}
