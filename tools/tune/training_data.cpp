#include "tune/training_data.h"

#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "common/corpus.h"
#include "core/board.h"

namespace morvane {

namespace {

// A placement the board cannot hold, or without both kings, is caught
// here rather than in an evaluating worker.
bool playable(Board& board, const std::string& fen) {
    try {
        board.set_fen(fen);
    } catch (const std::exception&) {
        return false;
    }
    return board.pieces(WHITE, KING) && board.pieces(BLACK, KING);
}

}  // namespace

namespace {

void read_lines(std::istream& in, const std::string& name, Board& board, std::vector<TrainingSample>& samples) {
    long long malformed = 0;
    std::string line;
    TrainingSample sample;
    while (std::getline(in, line))
        if (!line.empty() && line[0] != '#') {
            if (parse_training_line(line, sample) && playable(board, sample.fen)) samples.push_back(sample);
            else ++malformed;
        }
    if (malformed) std::cerr << name << ": " << malformed << " malformed line(s) skipped\n";
}

}  // namespace

std::vector<TrainingSample> read_training_data(const std::vector<std::string>& paths) {
    std::vector<TrainingSample> samples;
    const auto board = std::make_unique<Board>();
    for (const std::string& path : paths) {
        std::ifstream file(path);
        if (file) read_lines(file, path, *board, samples);
        else std::cerr << "cannot read " << path << '\n';
    }
    return samples;
}

std::vector<TrainingSample> read_corpus(const std::string& dir) {
    std::vector<TrainingSample> samples;
    const auto board = std::make_unique<Board>();
    const std::map<int, ChunkRecord> records = read_manifest(dir, std::cerr);
    if (records.empty()) std::cerr << "no chunk recorded in " << manifest_path(dir) << '\n';
    for (const auto& [index, record] : records)
        if (const std::optional<std::string> content = read_verified_chunk(dir, record, std::cerr)) {
            std::istringstream in(*content);
            read_lines(in, chunk_path(dir, index), *board, samples);
        }
    return samples;
}

bool is_held_out(const std::string& fen) {
    // The first four fields: the move counters differ between games that
    // reach the same position.
    std::size_t end = 0;
    for (int field = 0; field < 4 && end != std::string::npos; ++field) end = fen.find(' ', end + (field ? 1 : 0));
    const std::uint64_t hash = checksum_of(std::string_view(fen).substr(0, end));
    return (hash >> 32) % 10 == 0;
}

}  // namespace morvane
