// Sanity of a set-up position before the engine plays from it. The board
// accepts any placement (tests build positions without kings); positions
// coming from the outside world must be ones the move generator and the
// search can handle without reading or writing outside their tables.
#pragma once

#include <string>

#include "core/board.h"

namespace morvane {

// Empty when the position is playable, otherwise the reason in French.
std::string position_problem(const Board& board);

}  // namespace morvane
