// Which self-play positions are fit to tune the evaluation on. The tuner
// compares the static evaluation with the game's result, so a position must
// be one whose worth the static evaluation can see: not in check, a best
// move that is neither a capture nor a promotion (the score would hinge on
// the exchange, not on the position), and no capture sequence that a short
// quiescence search finds worth playing.
#pragma once

#include "core/board.h"

namespace morvane {

// best is the search's best move in this position.
bool is_quiet_position(Board& board, Move best);

}  // namespace morvane
