// One training position as a line of text, the format datagen writes and
// the tuner reads: "FEN | result | score", or "FEN | result | score | deep"
// once a deeper search has labelled it. Result and scores are White's view.
#pragma once

#include <optional>
#include <string>

namespace morvane {

struct TrainingSample {
    std::string fen;
    float result;                 // 1 White won, 0.5 draw, 0 Black won
    float score;                  // the game's own search, centipawns
    std::optional<float> deep{};  // a deeper search's score, when labelled
};

// False, sample unchanged, for a line that is not "FEN | result | score"
// with an optional "| deep" and a result between 0 and 1.
bool parse_training_line(const std::string& line, TrainingSample& sample);

// The line for a position, with its newline; results are written as 1.0,
// 0.5 or 0.0 whatever their rounding.
std::string format_training_line(const std::string& fen, double result, int score, std::optional<int> deep);

}  // namespace morvane
