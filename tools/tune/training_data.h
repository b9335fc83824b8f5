// The tuner's input: positions from self-play with the game's result and
// the search's score, one "FEN | result | score" line each (White's view).
#pragma once

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

// One position in ten, chosen by its placement and side to move so that
// the split does not depend on the order of the data and a position that
// occurs twice never sits on both sides.
bool is_held_out(const std::string& fen);

}  // namespace morvane
