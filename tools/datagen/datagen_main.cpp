// Self-play training data for the evaluation tuner. Every worker process
// plays its own games from its own seed and appends each finished game's
// quiet positions to the output file in one write, so that the workers'
// lines never interleave.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "common/corpus.h"
#include "common/tool_arguments.h"
#include "common/worker_processes.h"
#include "config/config_loader.h"
#include "core/attacks.h"
#include "core/fd_write.h"
#include "core/zobrist.h"
#include "datagen/corpus_jobs.h"
#include "datagen/self_play.h"
#include "match/openings.h"
#include "tablebase/syzygy.h"

using namespace morvane;

namespace {

constexpr const char* Usage =
    "Usage: datagen --output FILE (--games N | --positions N) [--seed S] [game options]\n"
    "       datagen --corpus DIR --chunks A-B [--chunk-positions N] [--label-nodes N | --label-depth D]\n"
    "               [game options]\n"
    "       datagen --corpus DIR --chunks A-B --task label (--label-nodes N | --label-depth D)\n"
    "               [--config FILE] [--workers N]\n"
    "game options: [--openings FILE] [--depth D | --nodes N] [--random-plies N] [--keep-every N]\n"
    "              [--workers N] [--config FILE]\n"
    "Appends lines \"FEN | result | score\" (White's view) to FILE, or makes the chunks A to B\n"
    "(or just K: --chunks K) of the corpus in DIR that it lacks, each from its own seed, and\n"
    "with --label-* adds \" | deep score\" from a deeper search. --task label gives the\n"
    "recorded chunks that deeper score. The games, and the labelling searches, use the\n"
    "built-in weights or those of the configuration FILE.\n";

struct Plan {
    std::string output;
    std::vector<std::string> openings;  // empty: the starting position
    SelfPlaySettings settings;
    long long games = -1, positions = -1;  // negative: no such limit
    long long seed = 1;
    int workers = 2;
};

// This worker's part of a total, the first workers taking the remainder.
long long share(long long total, int workers, int worker) {
    if (total < 0) return -1;
    return total / workers + (worker < total % workers ? 1 : 0);
}

bool generate(const Plan& plan, int worker) {
    const long long games = share(plan.games, plan.workers, worker);
    const long long positions = share(plan.positions, plan.workers, worker);
    const int fd = ::open(plan.output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (fd < 0) {
        std::cerr << "cannot write " << plan.output << '\n';
        return false;
    }
    std::seed_seq seeds{static_cast<std::uint64_t>(plan.seed), static_cast<std::uint64_t>(worker)};
    std::mt19937_64 rng(seeds);
    const auto board = std::make_unique<Board>();
    const auto ctx = std::make_unique<SearchContext>();
    long long played = 0, written = 0;
    int wins = 0, draws = 0, losses = 0;
    bool ok = true;
    while (ok && (games < 0 || played < games) && (positions < 0 || written < positions)) {
        const std::optional<GameRecord> game = play_next_game(*board, *ctx, rng, plan.openings, plan.settings);
        if (!game) {
            std::cerr << "worker " << worker << ": every start is too lopsided to play\n";
            ok = false;
            break;
        }
        std::string block;
        for (const TrainingPosition& p : game->positions) block += training_line(p, game->result);
        ok = write_all(fd, block);
        ++played;
        written += static_cast<long long>(game->positions.size());
        (game->result > 0.75 ? wins : game->result < 0.25 ? losses : draws) += 1;
    }
    ::close(fd);
    std::cerr << "worker " << worker << ": " << played << " games (White +" << wins << " =" << draws << " -" << losses
              << "), " << written << " positions\n";
    return ok;
}

long long file_size(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    return file ? static_cast<long long>(file.tellg()) : 0;
}

long long lines_after(const std::string& path, long long offset) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(offset);
    return std::count(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>(), '\n');
}

// "A-B", or "K" alone; empty when malformed.
std::vector<int> chunk_range(const std::string& text) {
    const std::size_t dash = text.find('-');
    char* end = nullptr;
    const long first = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || (dash == std::string::npos ? *end != '\0' : end != text.c_str() + dash)) return {};
    long last = first;
    if (dash != std::string::npos) {
        last = std::strtol(text.c_str() + dash + 1, &end, 10);
        if (*end != '\0' || end == text.c_str() + dash + 1) return {};
    }
    std::vector<int> indices;
    for (long i = std::max(first, 0L); i <= last && i <= 999999; ++i) indices.push_back(static_cast<int>(i));
    return indices;
}

// A file named with a checksum of its contents: the same weights or book
// under another path are the same settings, an edited file is not.
std::string file_tag(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    std::ostringstream tag;
    tag << std::filesystem::path(path).filename().string() << '@' << std::hex << (checksum_of(content.str()) >> 32);
    return tag.str();
}

std::string search_text(int depth, std::uint64_t nodes) {
    return nodes ? "nodes=" + std::to_string(nodes) : "depth=" + std::to_string(depth);
}

void report_rate(const char* what, long long positions, double seconds) {
    std::cout << positions << " positions " << what << " in " << seconds
              << " s: " << static_cast<long long>(positions * 3600.0 / std::max(seconds, 1e-3))
              << " positions per hour\n";
}

long long positions_recorded(const std::string& dir, const std::vector<int>& indices) {
    std::ostringstream ignored;
    const std::map<int, ChunkRecord> records = read_manifest(dir, ignored);
    long long total = 0;
    for (int index : indices)
        if (const auto it = records.find(index); it != records.end()) total += it->second.positions;
    return total;
}

int run_corpus(ToolArguments& args, const Plan& plan) {
    const std::string dir = args.text("corpus");
    const std::vector<int> indices = chunk_range(args.text("chunks"));
    const std::string task = args.text("task", "generate");
    const int labelDepth = static_cast<int>(std::clamp<long long>(args.integer("label-depth", 0), 0, 60));
    const auto labelNodes = static_cast<std::uint64_t>(std::max<long long>(args.integer("label-nodes", 0), 0));
    const bool labelled = labelDepth > 0 || labelNodes > 0;
    if (!args.error().empty() || indices.empty() || (task != "generate" && task != "label") ||
        (task == "label" && !labelled)) {
        std::cerr << (args.error().empty() ? "--chunks, --task or the label search is missing or malformed"
                                           : args.error())
                  << '\n'
                  << Usage;
        return 1;
    }
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    const std::string weights = args.has("config") ? file_tag(args.text("config")) : "built-in";
    std::optional<SearchLimits> label;
    std::string labelText = "none";
    if (labelled) {
        label = SearchLimits{};
        label->depth = labelDepth;
        label->nodes = labelNodes;
        labelText = search_text(labelDepth, labelNodes) + ",weights=" + weights;
    }
    const auto start = std::chrono::steady_clock::now();
    auto seconds = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); };
    if (task == "label") {
        std::ostringstream before;
        const std::map<int, ChunkRecord> records = read_manifest(dir, before);
        long long todo = 0;
        for (int index : indices)
            if (const auto it = records.find(index); it != records.end() && it->second.labels != labelText)
                todo += it->second.positions;
        std::cerr << "datagen: labelling " << dir << " with " << labelText << ", " << plan.workers << " worker(s)\n";
        const bool ok = label_chunks(dir, indices, *label, labelText, plan.workers, std::cerr);
        report_rate("labelled", todo, seconds());
        return ok ? 0 : 1;
    }

    ChunkPlan chunks;
    chunks.settings = plan.settings;
    chunks.openings = plan.openings;
    chunks.positions = std::max<long long>(args.integer("chunk-positions", chunks.positions), 1);
    chunks.settingsText = search_text(plan.settings.depth, plan.settings.nodes) +
                          " random-plies=" + std::to_string(plan.settings.randomPlies) +
                          " keep-every=" + std::to_string(plan.settings.keepEvery) +
                          " positions=" + std::to_string(chunks.positions) +
                          " openings=" + (args.has("openings") ? file_tag(args.text("openings")) : "start") +
                          " weights=" + weights;
    chunks.label = label;
    chunks.labelText = labelText;
    std::cerr << "datagen: chunks " << indices.front() << "-" << indices.back() << " of " << dir << ", "
              << chunks.settingsText << ", labels " << labelText << ", " << plan.workers << " worker(s)\n";
    const long long before = positions_recorded(dir, indices);
    const bool ok = generate_chunks(dir, indices, chunks, plan.workers, std::cerr);
    report_rate("made", positions_recorded(dir, indices) - before, seconds());
    return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    init_zobrist();
    init_attacks();
    ToolArguments args(
        argc, argv,
        {"output", "openings", "games", "positions", "depth", "nodes", "random-plies", "seed", "workers", "config",
         "keep-every", "corpus", "chunks", "chunk-positions", "task", "label-nodes", "label-depth"});
    Plan plan;
    plan.output = args.text("output");
    plan.games = args.integer("games", -1);
    plan.positions = args.integer("positions", -1);
    plan.seed = args.integer("seed", 1);
    plan.workers = static_cast<int>(std::clamp<long long>(args.integer("workers", 2), 1, 64));
    plan.settings.depth = static_cast<int>(std::clamp<long long>(args.integer("depth", 7), 1, 30));
    plan.settings.nodes = static_cast<std::uint64_t>(std::max<long long>(args.integer("nodes", 0), 0));
    // A book already varies the starts; from the bare starting position
    // only random moves do.
    const long long randomPlies = args.integer("random-plies", args.has("openings") ? 2 : 8);
    plan.settings.randomPlies = static_cast<int>(std::clamp<long long>(randomPlies, 0, 40));
    plan.settings.keepEvery = static_cast<int>(std::clamp<long long>(args.integer("keep-every", 1), 1, 100));
    const bool corpus = args.has("corpus");
    if (!args.error().empty() || (!corpus && (plan.output.empty() || (plan.games < 0 && plan.positions < 0)))) {
        if (!args.error().empty()) std::cerr << args.error() << '\n';
        std::cerr << Usage;
        return 1;
    }
    if (args.has("openings")) {
        if (!match::load_openings(args.text("openings"), plan.openings, std::cerr) || plan.openings.empty()) {
            std::cerr << "no playable opening in " << args.text("openings") << '\n';
            return 1;
        }
    }
    // Games played with better weights give positions and results nearer to
    // those the tuned engine meets; the workers inherit the loaded record.
    if (args.has("config") && !load_config(args.text("config"), g_config)) {
        std::cerr << "cannot read " << args.text("config") << '\n';
        return 1;
    }
    syzygy_init("");
    if (corpus) return run_corpus(args, plan);

    std::cerr << "datagen: "
              << (plan.settings.nodes ? std::to_string(plan.settings.nodes) + " nodes"
                                      : "depth " + std::to_string(plan.settings.depth))
              << " a move, " << plan.workers << " worker(s), seed " << plan.seed << ", "
              << (plan.openings.empty() ? std::string("starting position")
                                        : std::to_string(plan.openings.size()) + " openings")
              << ", " << plan.settings.randomPlies << " random plies, "
              << (args.has("config") ? "weights of " + args.text("config") : std::string("built-in weights")) << '\n';
    const long long startSize = file_size(plan.output);
    const auto start = std::chrono::steady_clock::now();
    const bool ok = run_worker_processes(plan.workers, [&](int worker) { return generate(plan, worker); });
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const long long written = lines_after(plan.output, startSize);
    std::cout << written << " positions in " << seconds
              << " s: " << static_cast<long long>(written * 3600.0 / std::max(seconds, 1e-3))
              << " positions per hour\n";
    return ok ? 0 : 1;
}
