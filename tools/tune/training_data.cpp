#include "tune/training_data.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "core/board.h"

namespace morvane {

namespace {

bool parse_real(const std::string& text, float& value) {
    char* end = nullptr;
    value = std::strtof(text.c_str(), &end);
    while (*end == ' ' || *end == '\t' || *end == '\r') ++end;
    return end != text.c_str() && *end == '\0';
}

}  // namespace

bool parse_training_line(const std::string& line, TrainingSample& sample) {
    const std::size_t first = line.find('|');
    const std::size_t second = first == std::string::npos ? first : line.find('|', first + 1);
    if (second == std::string::npos) return false;
    TrainingSample parsed;
    const std::size_t fenEnd = line.find_last_not_of(" \t", first - 1);
    if (fenEnd == std::string::npos) return false;
    parsed.fen = line.substr(0, fenEnd + 1);
    if (!parse_real(line.substr(first + 1, second - first - 1), parsed.result) ||
        !parse_real(line.substr(second + 1), parsed.score) || !(parsed.result >= 0 && parsed.result <= 1))
        return false;
    sample = std::move(parsed);
    return true;
}

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

std::vector<TrainingSample> read_training_data(const std::vector<std::string>& paths) {
    std::vector<TrainingSample> samples;
    const auto board = std::make_unique<Board>();
    for (const std::string& path : paths) {
        std::ifstream file(path);
        if (!file) {
            std::cerr << "cannot read " << path << '\n';
            continue;
        }
        long long malformed = 0;
        std::string line;
        TrainingSample sample;
        while (std::getline(file, line))
            if (!line.empty() && line[0] != '#') {
                if (parse_training_line(line, sample) && playable(*board, sample.fen)) samples.push_back(sample);
                else ++malformed;
            }
        if (malformed) std::cerr << path << ": " << malformed << " malformed line(s) skipped\n";
    }
    return samples;
}

bool is_held_out(std::size_t index, std::size_t count) { return count > 0 && index * 100 / count % 10 == 9; }

}  // namespace morvane
