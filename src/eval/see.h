// Static exchange evaluation: the material outcome of the capture sequence
// on one square, without making moves.
#pragma once

#include "core/board.h"

namespace morvane {

int see(const Board& board, Move move);

// Whether the moving piece, placed on its destination, attacks the enemy
// king (direct_only) or the king or a square next to it.
bool move_threatens_king(const Board& board, Move move, Color us, bool direct_only);

// Scores each move by its exchange value and sorts best first.
void sort_captures_by_see(Board& board, ScoredMove* moves, int count);

}  // namespace morvane
