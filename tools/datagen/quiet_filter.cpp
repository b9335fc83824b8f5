#include "datagen/quiet_filter.h"

#include "eval/evaluate.h"
#include "search/search.h"
#include "search/search_flags.h"

namespace morvane {

namespace {

constexpr int FullWindow = 30001;  // no lazy exit, no cutoff on either side

}  // namespace

bool is_quiet_position(Board& board, Move best) {
    if (board.checkers()) return false;
    if (best == NULL_MOVE || is_capture(board, best) || move_flag(best) == FLAG_PROMOTION) return false;
    // The quiescence search stands pat on the static evaluation and only
    // departs from it when some capture gains: equality means no tactics.
    // A search cut short by its node budget leaves the abort flag raised;
    // this one has no budget and must not stop at once.
    g_abort.store(false, std::memory_order_relaxed);
    std::uint64_t nodes = 0;
    return quiescence(board, -FullWindow, FullWindow, 0, nodes) == evaluate(board, -FullWindow, FullWindow);
}

}  // namespace morvane
