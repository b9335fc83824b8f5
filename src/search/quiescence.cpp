// The quiescence search: past the nominal depth only captures (or, in
// check, every evasion) are searched, so that the static evaluation is never
// taken in the middle of an exchange.
#include <cassert>

#include "config/engine_config.h"
#include "eval/evaluate.h"
#include "eval/see.h"
#include "movegen/movegen.h"
#include "search/bounded_score.h"
#include "search/search.h"
#include "search/search_flags.h"
#include "search/time_manager.h"

namespace morvane {

int quiescence(Board& board, SearchContext& ctx, int ply, int alpha, int beta) {
    assert(ply >= 0 && ply < MAX_PLY && "a node within the search stack");
    assert(-INFINITE_SCORE <= alpha && alpha < beta && beta <= INFINITE_SCORE && "a non-empty window");
    ++ctx.nodes;
    if (g_abort.load(std::memory_order_relaxed) || time_to_stop(ctx.nodes)) return 0;
    if (ply >= MAX_PLY - 1) return bounded_score(evaluate(board, alpha, beta, ctx.evalCache));  // the board's ply reserve
    if (board.is_repetition() || board.state().halfmove > 99) return 0;

    ScoredMove moves[MAX_MOVES];
    if (!board.checkers()) {
        if (board.is_insufficient_material()) return 0;
        const bool pruning = g_pruningEnabled.load(std::memory_order_relaxed);
        const int standPat =
            bounded_score(pruning ? evaluate(board, alpha, beta, ctx.evalCache) : evaluate(board, -INFINITE_SCORE, INFINITE_SCORE, ctx.evalCache));
        if (standPat >= beta) return standPat;
        int best = standPat;
        int a = std::max(standPat, alpha);
        const int n = generate_legal(board, moves, true);
        if (n == 0) return best;
        sort_captures_by_see(board, moves, n);
        for (int i = 0; i < n; ++i) {
            if (moves[i].score < 0) return best;  // losing captures are never searched
            board.do_move(moves[i].move);
            const int score = -quiescence(board, ctx, ply + 1, -beta, -a);
            board.undo_move();
            if (g_abort.load(std::memory_order_relaxed) || time_to_stop(ctx.nodes)) return 0;
            best = std::max(best, score);
            a = std::max(a, best);
            if (a >= beta) return best;
        }
        return best;
    }

    const int n = generate_legal(board, moves, false);
    if (n == 0) return ply - MATE_SCORE;
    int best = -INFINITE_SCORE;
    for (int i = 0; i < n; ++i) {
        board.do_move(moves[i].move);
        const int score = -quiescence(board, ctx, ply + 1, -beta, -alpha);
        board.undo_move();
        if (g_abort.load(std::memory_order_relaxed) || time_to_stop(ctx.nodes)) return 0;
        best = std::max(best, score);
        alpha = std::max(alpha, best);
        if (alpha >= beta) return best;
    }
    return best;
}

}  // namespace morvane
