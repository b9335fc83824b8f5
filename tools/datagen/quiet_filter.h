// Which self-play positions are fit to tune the evaluation on. The tuner
// compares the static evaluation with the game's result, so a position must
// be one whose worth the static evaluation can see: not in check, a best
// move that is neither a capture nor a promotion (the score would hinge on
// the exchange, not on the position), and no capture sequence that a short
// quiescence search finds worth playing.
#pragma once

#include "core/board.h"
#include "search/search_context.h"

namespace morvane {

// best is the search's best move in this position; ctx is the caller's
// search context, reset here and reused for the capture search.
bool is_quiet_position(Board& board, SearchContext& ctx, Move best);

}  // namespace morvane
