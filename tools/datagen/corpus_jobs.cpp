#include "datagen/corpus_jobs.h"

#include <cmath>
#include <memory>
#include <sstream>

#include "common/corpus.h"
#include "common/training_line.h"
#include "common/worker_processes.h"

namespace morvane {

namespace {

// Worker w takes every workers-th job of the list, so that the work is
// shared whatever the chunks' sizes.
bool share_jobs(const std::vector<int>& jobs, int workers, const std::function<bool(int)>& job) {
    if (jobs.empty()) return true;
    workers = std::max(1, std::min<int>(workers, static_cast<int>(jobs.size())));
    return run_worker_processes(workers, [&](int w) {
        bool ok = true;
        for (std::size_t j = static_cast<std::size_t>(w); j < jobs.size(); j += static_cast<std::size_t>(workers))
            ok = job(jobs[j]) && ok;
        return ok;
    });
}

std::string chunk_header(int index, std::uint64_t seed, const std::string& settings) {
    std::ostringstream text;
    text << "# chunk " << index << ", seed " << seed << ": " << settings << '\n';
    return text.str();
}

}  // namespace

std::string chunk_content(int index, const ChunkPlan& plan, long long& positions) {
    const std::uint64_t seed = chunk_seed(index);
    std::mt19937_64 rng(seed);
    const auto board = std::make_unique<Board>();
    const auto ctx = std::make_unique<SearchContext>();
    std::string content = chunk_header(index, seed, plan.settingsText);
    positions = 0;
    while (positions < plan.positions) {
        std::optional<GameRecord> game = play_next_game(*board, *ctx, rng, plan.openings, plan.settings);
        if (!game) break;  // every start too lopsided: the chunk ends short
        for (TrainingPosition& p : game->positions) {
            if (plan.label) {
                board->set_fen(p.fen);
                p.deep = deep_score(*board, *ctx, *plan.label);
            }
            content += training_line(p, game->result);
        }
        positions += static_cast<long long>(game->positions.size());
    }
    return content;
}

bool generate_chunks(const std::string& dir, const std::vector<int>& indices, const ChunkPlan& plan, int workers,
                     std::ostream& log) {
    const std::map<int, ChunkRecord> records = read_manifest(dir, log);
    std::vector<int> todo;
    for (int index : indices) {
        const auto it = records.find(index);
        if (it == records.end()) todo.push_back(index);
        else if (it->second.settings != plan.settingsText)
            log << "chunk " << index << " was made with other settings (" << it->second.settings
                << "); left as it is\n";
        else if (!read_verified_chunk(dir, it->second, log)) todo.push_back(index);  // damaged: made again
    }
    log << indices.size() - todo.size() << " chunk(s) already done, " << todo.size() << " to make\n";
    return share_jobs(todo, workers, [&](int index) {
        ChunkRecord record;
        record.index = index;
        record.seed = chunk_seed(index);
        record.settings = plan.settingsText;
        record.labels = plan.label ? plan.labelText : "none";
        const std::string content = chunk_content(index, plan, record.positions);
        if (!store_chunk(dir, record, content, log)) return false;
        log << "chunk " << index << ": " << record.positions << " positions\n" << std::flush;
        return true;
    });
}

bool label_chunks(const std::string& dir, const std::vector<int>& indices, const SearchLimits& limits,
                  const std::string& labelText, int workers, std::ostream& log) {
    const std::map<int, ChunkRecord> records = read_manifest(dir, log);
    std::vector<int> todo;
    for (int index : indices) {
        const auto it = records.find(index);
        if (it == records.end()) log << "chunk " << index << " is not recorded; nothing to label\n";
        else if (it->second.labels != labelText) todo.push_back(index);
    }
    log << todo.size() << " chunk(s) to label\n";
    return share_jobs(todo, workers, [&](int index) {
        ChunkRecord record = records.at(index);
        const std::optional<std::string> content = read_verified_chunk(dir, record, log);
        if (!content) return false;
        const auto board = std::make_unique<Board>();
        const auto ctx = std::make_unique<SearchContext>();
        std::istringstream in(*content);
        std::string labelled, line;
        TrainingSample sample;
        while (std::getline(in, line)) {
            if (line.empty() || line[0] == '#' || !parse_training_line(line, sample)) {
                labelled += line + '\n';
                continue;
            }
            board->set_fen(sample.fen);
            labelled += format_training_line(sample.fen, sample.result, static_cast<int>(std::lround(sample.score)),
                                             deep_score(*board, *ctx, limits));
        }
        record.labels = labelText;
        if (!store_chunk(dir, record, labelled, log)) return false;
        log << "chunk " << index << ": " << record.positions << " positions labelled\n" << std::flush;
        return true;
    });
}

}  // namespace morvane
