// Static evaluation: a tapered hand-written score from the side to move's
// point of view, every weight read from g_config at each call.
#pragma once

#include "core/board.h"
#include "eval/eval_cache.h"

namespace morvane {

// alpha and beta only enable the lazy exits: a position whose full score
// lies inside the window is always scored in full.
int evaluate(const Board& board, int alpha, int beta);

// The same score, answered from what this search has already evaluated of
// the position when that reaches far enough for this window.
int evaluate(const Board& board, int alpha, int beta, EvalCache& cache);

}  // namespace morvane
