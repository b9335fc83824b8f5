// Completing a principal variation from the transposition table. The
// search's own variation ends where a table cut-off answered a node of the
// line, often after one move; the table still knows how the line goes on.
#pragma once

#include <vector>

#include "core/board.h"

namespace morvane {

// Appends the table's moves after pv until it holds `length` moves. Every
// move is checked legal on the board, played and taken back, so the board
// ends as it started; the line stops at a missing entry, an illegal move or
// a position that repeats one before it. A pv whose own moves are not
// legal here is cut at the first such move.
void extend_pv_from_tt(Board& board, std::vector<Move>& pv, int length);

}  // namespace morvane
