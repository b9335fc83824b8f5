// Standard Algebraic Notation for the test-suite reports and files.
#pragma once

#include <string>

#include "core/board.h"

namespace morvane {

// SAN of a legal move; the board is changed and restored.
std::string move_to_san(Board& board, Move move);

// The first legal move, in generation order, that the (leniently read)
// text names; the null move when none does.
Move san_to_move(Board& board, const std::string& san);

}  // namespace morvane
