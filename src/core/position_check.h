// Sanity of a set-up position before the engine plays from it. The board
// accepts any placement (tests build positions without kings); positions
// coming from the outside world must be ones the move generator and the
// search can handle without reading or writing outside their tables.
#pragma once

#include <string>

#include "core/board.h"

namespace morvane {

// Empty when the position can be searched, otherwise the reason in French.
std::string position_problem(const Board& board);

// Drops the castling rights whose king or rook is not on its home square
// and an en-passant square no double step can explain, as GUIs do with
// such FENs; returns what was dropped in French, empty when nothing was.
std::string drop_impossible_rights(Board& board);

}  // namespace morvane
