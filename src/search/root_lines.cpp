// The root searched for several best moves at once, for analysis: every
// move is searched with alpha at the score of the weakest line kept so far,
// so each move that enters the list gets an exact score and its own
// variation, while the others are refuted as cheaply as in a normal search.
#include <algorithm>

#include "search/search.h"
#include "search/search_flags.h"
#include "search/tt.h"

namespace morvane {

SearchResult search_root_lines(Board& board, SearchContext& ctx, int depth, int count,
                               std::vector<SearchResult>& lines) {
    lines.clear();
    SearchResult result;
    result.depth = depth;
    ScoredMove moves[MAX_MOVES];
    const int n = order_root_moves(board, ctx, moves, result);
    if (n == 0) {
        // A table move is the one line there is; mate or stalemate has none.
        if (result.best_move) {
            lines.push_back(result);
            lines.back().multipv = 1;
        }
        return result;
    }

    const std::size_t wanted = static_cast<std::size_t>(std::max(count, 1));
    for (int i = 0; i < n; ++i) {
        const Move m = moves[i].move;
        const int alpha = lines.size() < wanted ? -INFINITE_SCORE : lines.back().score;
        const int score = search_root_move(board, ctx, m, depth, alpha, INFINITE_SCORE);
        if (g_abort.load(std::memory_order_relaxed)) break;
        if (score <= alpha) continue;  // an upper bound only: weaker than every line kept
        SearchResult line;
        line.best_move = m;
        line.score = score;
        line.depth = depth;
        line.pv.assign(1, m);
        const PlyRecord& reply = ctx.at(1);
        line.pv.insert(line.pv.end(), reply.pv, reply.pv + reply.pvLength);
        // After the lines of equal score already kept: the earlier move,
        // better ordered, stays ahead.
        const auto at = std::upper_bound(lines.begin(), lines.end(), score,
                                         [](int s, const SearchResult& l) { return s > l.score; });
        lines.insert(at, std::move(line));
        if (lines.size() > wanted) lines.pop_back();
    }
    result.nodes = ctx.nodes;
    if (g_abort.load(std::memory_order_relaxed) || lines.empty()) return result;
    g_tt.store(board.key(), lines.front().score, lines.front().best_move, depth, BOUND_EXACT, 0);
    for (std::size_t k = 0; k < lines.size(); ++k) {
        lines[k].nodes = ctx.nodes;
        lines[k].multipv = static_cast<int>(k + 1);
    }
    result.best_move = lines.front().best_move;
    result.score = lines.front().score;
    result.pv = lines.front().pv;
    return result;
}

}  // namespace morvane
