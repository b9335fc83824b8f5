// The tuner's input: positions from self-play with the game's result and
// the search's score, one "FEN | result | score" line each (White's view).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace morvane {

struct TrainingSample {
    std::string fen;
    float result;  // 1 White won, 0.5 draw, 0 Black won
    float score;   // centipawns
};

// False, sample unchanged, for a line that is not "FEN | result | score"
// with a result between 0 and 1.
bool parse_training_line(const std::string& line, TrainingSample& sample);

// Every well-formed line of the files, in order; the count of malformed
// lines and of unreadable files goes to standard error.
std::vector<TrainingSample> read_training_data(const std::vector<std::string>& paths);

// Whether line `index` of `count` is held out of the fit to judge it: one
// tenth of the data, as ten stretches of consecutive lines spread through
// it. A game's positions are consecutive lines sharing one result, so
// holding out single positions would let the tuner learn a held-out
// position's result from its neighbours in the same game.
bool is_held_out(std::size_t index, std::size_t count);

}  // namespace morvane
