// The tuner's input: positions from self-play with the game's result and
// the search's score (and perhaps a deeper search's), one line each.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "common/training_line.h"

namespace morvane {

// Every well-formed line of the files, in order; the count of malformed
// lines and of unreadable files goes to standard error.
std::vector<TrainingSample> read_training_data(const std::vector<std::string>& paths);

// Every position of the corpus in directory `dir`, chunk by chunk in index
// order; a chunk whose file does not match its record is reported on
// standard error and left out.
std::vector<TrainingSample> read_corpus(const std::string& dir);

// Whether a position is held out of the fit to judge it: one in ten, by a
// hash of the position (placement, side, castling, en passant, not the move
// counters). The split depends on nothing but the position, so a position
// lands on the same side in every corpus and every order, and losses from
// different corpora or runs compare.
bool is_held_out(const std::string& fen);

}  // namespace morvane
