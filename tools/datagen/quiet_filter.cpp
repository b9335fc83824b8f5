#include "datagen/quiet_filter.h"

#include "eval/evaluate.h"
#include "search/search.h"
#include "search/search_flags.h"

namespace morvane {

bool is_quiet_position(Board& board, SearchContext& ctx, Move best) {
    if (board.checkers()) return false;
    if (best == NULL_MOVE || is_capture(board, best) || move_flag(best) == FLAG_PROMOTION) return false;
    // The quiescence search stands pat on the static evaluation and only
    // departs from it when some capture gains: equality means no tactics.
    // A search cut short by its node budget leaves the abort flag raised;
    // this one has no budget and must not stop at once.
    g_abort.store(false, std::memory_order_relaxed);
    ctx.reset();
    // The full window leaves the evaluation no lazy exit and the search no
    // cutoff on either side.
    const int resolved = quiescence(board, ctx, 0, -INFINITE_SCORE, INFINITE_SCORE);
    return resolved == evaluate(board, -INFINITE_SCORE, INFINITE_SCORE);
}

}  // namespace morvane
