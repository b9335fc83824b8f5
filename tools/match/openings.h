// Starting positions of a match, and the generator of the project's own
// opening book.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace match {

// Positions of an EPD file (four fields, operations ignored) or a FEN file
// (six fields), one a line; '#' starts a comment line. Unplayable lines are
// reported on `log` and skipped. False when the file cannot be read.
bool load_openings(const std::string& path, std::vector<std::string>& fens, std::ostream& log);

// The same positions in an order fixed by the seed (the same on every
// machine: no library distribution is involved).
void shuffle_openings(std::vector<std::string>& fens, std::uint64_t seed);

struct OpeningRecipe {
    int count = 3000;
    int plies = 8;      // random moves from the start position
    int depth = 6;      // of the balance check
    int maxScore = 50;  // centipawns either way
    std::uint64_t seed = 1;
};

// Writes `recipe.count` distinct balanced positions to out as FEN lines
// carrying their real move counters;
// returns how many were written. Progress goes to log.
int generate_openings(const OpeningRecipe& recipe, std::ostream& out, std::ostream& log);

}  // namespace match
