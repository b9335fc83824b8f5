// The root: one search per depth, each inside an aspiration window around
// the previous score and widened on failure, until the depth, node or time
// limit; the last completed iteration gives the move.
#include <algorithm>
#include <chrono>
#include <climits>

#include "config/engine_config.h"
#include "eval/see.h"
#include "movegen/movegen.h"
#include "search/search.h"
#include "search/search_flags.h"
#include "search/time_manager.h"
#include "search/tt.h"
#include "tablebase/syzygy.h"

namespace morvane {

namespace {

using Clock = std::chrono::steady_clock;

std::uint64_t elapsed_ms(Clock::time_point start) {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

Move initial_best_move(Board& board) {
    ScoredMove moves[MAX_MOVES];
    const int n = generate_legal(board, moves, false);
    if (n == 0) return NULL_MOVE;
    if (const TTEntry* e = g_tt.probe(board.key()))
        for (int i = 0; i < n; ++i)
            if (moves[i].move == e->move) return e->move;
    return moves[0].move;
}

}  // namespace

int search_root_move(Board& board, SearchContext& ctx, Move move, int depth, int alpha, int beta,
                     RootCheckExtension rule) {
    // A single check is extended, unless the checking move loses material
    // by exchange: such a check is seldom worth the extra ply.
    const bool everyCheck = rule == RootCheckExtension::EveryCheckUncounted;
    const bool losingCapture = !everyCheck && is_capture(board, move) && see(board, move) < 0;
    board.do_move(move);
    const Bitboard checkers = board.checkers();
    const int ext = checkers && !more_than_one(checkers) && !losingCapture ? 1 : 0;
    ctx.at(0).move = move;
    ctx.at(1).extensions = everyCheck ? 0 : ext;
    const int score = -negamax(board, ctx, 1, depth - 1 + ext, -beta, -alpha);
    board.undo_move();
    return score;
}

int order_root_moves(Board& board, SearchContext& ctx, ScoredMove* moves, SearchResult& result) {
    if (TbRootMove tb; syzygy_root_probe(board, tb)) {
        result.best_move = tb.move;
        result.score = tb.score;
        result.pv.assign(1, tb.move);
        return 0;
    }
    const int count = generate_legal(board, moves, false);
    if (count == 0) {
        result.score = board.checkers() ? -MATE_SCORE : 0;
        return 0;
    }
    ctx.reset();
    const TTEntry* tt = g_tt.probe(board.key());
    score_moves(board, moves, count, ctx, 0, tt ? tt->move : NULL_MOVE, NULL_MOVE);
    return count;
}

SearchResult search_root(Board& board, SearchContext& ctx, int depth, int alpha, int beta, RootScores* rootScores) {
    SearchResult result;
    result.depth = depth;
    ScoredMove moves[MAX_MOVES];
    const int count = order_root_moves(board, ctx, moves, result);
    if (count == 0) return result;

    // Below any score: the first move searched is always a best move, so a
    // root with legal moves never answers with the null move.
    int best = INT_MIN;
    const int alpha0 = alpha;
    for (int i = 0; i < count; ++i) {
        const Move m = moves[i].move;
        const int score = search_root_move(board, ctx, m, depth, alpha, beta);
        if (g_abort.load(std::memory_order_relaxed)) {
            result.nodes = ctx.nodes;
            return result;
        }
        if (rootScores) rootScores->emplace_back(m, score);
        if (score > best) {
            best = score;
            result.best_move = m;
            result.pv.assign(1, m);
            const PlyRecord& reply = ctx.at(1);
            result.pv.insert(result.pv.end(), reply.pv, reply.pv + reply.pvLength);
        }
        alpha = std::max(alpha, score);
        if (alpha >= beta) break;
        if (rootScores && (score > MATE_SCORE || g_stopRequested.load(std::memory_order_relaxed))) break;
    }
    const int bound = best <= alpha0 ? BOUND_UPPER : best < beta ? BOUND_EXACT : BOUND_LOWER;
    g_tt.store(board.key(), best, result.best_move, depth, bound, 0);
    result.score = best;
    result.nodes = ctx.nodes;
    return result;
}

SearchResult iterative_deepening(Board& board, SearchContext& ctx, const SearchLimits& limits,
                                 const std::function<void(const SearchResult&)>& on_iteration) {
    const auto start = Clock::now();
    // The stop flag is cleared by whoever starts the search (before the
    // search thread exists), so that a "stop" sent right after "go" is kept.
    g_abort.store(false, std::memory_order_relaxed);
    set_search_deadline(board, limits, start);

    SearchResult best;
    best.best_move = initial_best_move(board);
    if (!best.best_move) best.score = board.checkers() ? -MATE_SCORE : 0;

    const int maxDepth = limits.depth < 1 ? 64 : std::min(limits.depth, MAX_DEPTH);
    bool completed = false;
    std::uint64_t previousMs = 0;
    // A node limit is one budget for the whole search: each root search
    // (aspiration re-searches included) may spend only what is left of it.
    std::uint64_t spent = 0;
    // Several best moves: each depth is one full-window search of them all.
    const bool severalLines = limits.multi_pv > 1;
    std::vector<SearchResult> lines;
    auto search_within_budget = [&](int d, int lo, int hi) {
        if (limits.nodes)
            g_nodeBudget.store(limits.nodes > spent ? limits.nodes - spent : 0, std::memory_order_relaxed);
        SearchResult r = severalLines ? search_root_lines(board, ctx, d, limits.multi_pv, lines)
                                      : search_root(board, ctx, d, lo, hi);
        spent += r.nodes;
        return r;
    };
    for (int d = 1; d <= maxDepth; ++d) {
        if (!iteration_fits(d, previousMs)) break;
        const auto iterationStart = Clock::now();
        SearchResult iteration;
        std::uint64_t nodes = 0;
        if (d > 1 && completed && !is_mate_score(best.score) && !severalLines) {
            const int p = best.score;
            int delta = std::max(g_config.aspiration_initial_delta, 1);
            int lo = std::max(p - delta, -INFINITE_SCORE), hi = std::min(p + delta, INFINITE_SCORE);
            for (;;) {
                iteration = search_within_budget(d, lo, hi);
                nodes += iteration.nodes;
                if (g_abort.load(std::memory_order_relaxed)) break;
                const int s = std::clamp(iteration.score, -MATE_SCORE, MATE_SCORE);
                if (s <= lo) {
                    delta += delta / 2 + 1;
                    lo = std::max(p - delta, -INFINITE_SCORE);
                } else if (s >= hi) {
                    delta += delta / 2 + 1;
                    hi = std::min(p + delta, INFINITE_SCORE);
                } else {
                    break;
                }
            }
        } else {
            iteration = search_within_budget(d, -INFINITE_SCORE, INFINITE_SCORE);
            nodes = iteration.nodes;
        }
        if (g_abort.load(std::memory_order_relaxed)) break;
        iteration.nodes = nodes;
        iteration.depth = d;
        iteration.time_ms = elapsed_ms(start);
        best = iteration;
        completed = true;
        previousMs = static_cast<std::uint64_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - iterationStart).count());
        if (on_iteration && severalLines) {
            for (SearchResult& line : lines) {
                line.time_ms = best.time_ms;
                on_iteration(line);
            }
        } else if (on_iteration) {
            on_iteration(best);
        }
        if (is_mate_score(best.score) || !best.best_move) break;
    }
    g_hasDeadline.store(false, std::memory_order_relaxed);
    g_nodeBudget.store(UINT64_MAX, std::memory_order_relaxed);
    if (!completed) best.time_ms = elapsed_ms(start);
    return best;
}

}  // namespace morvane
