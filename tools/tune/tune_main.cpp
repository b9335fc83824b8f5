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
    "            [--lambda L[,L...]] [--epochs N] [--refresh N] [--lr R] [--step H] [--min-positions N]\n"
    "            [--workers N] [--keys KEY,KEY,...] [--fixed KEY,KEY,...]\n"
    "Fits the evaluation weights (--keys, default all; --fixed, default material_pawn, are\n"
    "left alone) to L * result + (1 - L) * expectation of the deeper score (the game's score\n"
    "where a position has none); L defaults to 1, the results alone. Several L share one\n"
    "measurement of the slopes and write FILE-lL.cfg each. Writes every key that differs\n"
    "from the engine's defaults.\n";

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

// With several lambdas, "tuned.cfg" becomes "tuned-l0.75.cfg" and so on.
std::string output_for(const std::string& output, double lambda) {
    std::ostringstream tag;
    tag << "-l" << lambda;
    const std::size_t dot = output.rfind('.'), slash = output.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return output + tag.str();
    return output.substr(0, dot) + tag.str() + output.substr(dot);
}

}  // namespace

int main(int argc, char** argv) {
    init_zobrist();
    init_attacks();
    ToolArguments args(argc, argv,
                       {"data", "corpus", "output", "config", "lambda", "epochs", "refresh", "lr", "step",
                        "min-positions", "workers", "keys", "fixed"});
    TunerSettings settings;
    std::vector<double> lambdas;
    for (const std::string& text : split_commas(args.text("lambda", "1"))) {
        char* end = nullptr;
        const double lambda = std::strtod(text.c_str(), &end);
        if (*end || !(lambda >= 0 && lambda <= 1)) {
            std::cerr << "--lambda needs numbers from 0 to 1, not \"" << text << "\"\n";
            return 1;
        }
        lambdas.push_back(lambda);
    }
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
    if (!args.error().empty() || (dataFiles.empty() && corpora.empty()) || output.empty() || lambdas.empty()) {
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
    const auto labelled = std::count_if(samples.begin(), samples.end(),
                                        [](const auto& s) { return s.deep.has_value(); });
    std::cerr << samples.size() << " positions read, " << labelled << " with a deeper score\n";
    std::vector<EngineConfig> tuned;
    const std::vector<TunerReport> reports =
        tune_per_lambda(std::move(samples), config, lambdas, tuned, settings, std::cerr);
    if (reports.front().tuned == 0) return 1;

    std::string command;
    for (int i = 0; i < argc; ++i) command += (i ? " " : "") + std::string(argv[i]);
    std::string data;
    for (const std::string& file : dataFiles) data += (data.empty() ? "" : ", ") + file;
    for (const std::string& dir : corpora) data += (data.empty() ? "corpus " : ", corpus ") + dir;
    bool ok = true;
    for (std::size_t run = 0; run < lambdas.size(); ++run) {
        const TunerReport& report = reports[run];
        std::ostringstream losses;
        losses << "lambda " << lambdas[run] << ": held-out loss " << report.heldOutBefore << " -> "
               << report.heldOutAfter << ", against results alone " << report.heldOutResultsBefore << " -> "
               << report.heldOutResultsAfter << " (K " << report.scale << ", " << report.trainPositions
               << " training and " << report.heldOutPositions << " held-out positions)";
        const std::string file = lambdas.size() == 1 ? output : output_for(output, lambdas[run]);
        std::ofstream out(file);
        write_config(out, tuned[run],
                     {"Evaluation weights tuned on self-play positions.", "command: " + command, "data: " + data,
                      "date: " + utc_now(), losses.str()});
        if (out) std::cout << "written " << file << " (" << losses.str() << ")\n";
        else std::cerr << "cannot write " << file << '\n';
        ok = ok && out;
    }
    return ok ? 0 : 1;
}
