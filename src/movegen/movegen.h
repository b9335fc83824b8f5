// Legal move generation, and perft for checking it against known counts.
#pragma once

#include <cstdint>

#include "core/board.h"

namespace morvane {

// Writes the legal moves (or, out of check, only captures and promotions)
// into out, which must hold MAX_MOVES entries; returns their count. Only the
// move field is written. The board is used for legality tests and restored.
int generate_legal(Board& board, ScoredMove* out, bool capturesOnly);

std::uint64_t perft_count(Board& board, int depth);

}  // namespace morvane
