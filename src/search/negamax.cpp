// The principal search: negamax with a principal-variation window, the
// transposition table and endgame tables first, then pruning of hopeless
// or overwhelming nodes, then the moves in order with late-move reductions.
#include <algorithm>
#include <cassert>
#include <cmath>

#include "config/engine_config.h"
#include "eval/evaluate.h"
#include "eval/see.h"
#include "movegen/movegen.h"
#include "search/bounded_score.h"
#include "search/search.h"
#include "search/search_flags.h"
#include "search/time_manager.h"
#include "search/tt.h"
#include "tablebase/syzygy.h"

namespace morvane {

namespace {

struct LogTables {
    double depth[MAX_PLY];
    double move[MAX_MOVES];
    LogTables() {
        for (int i = 0; i < MAX_PLY; ++i) depth[i] = i ? std::log(i) : 0.0;
        for (int i = 0; i < MAX_MOVES; ++i) move[i] = i ? std::log(i) : 0.0;
    }
};
const LogTables lnTables;

bool has_non_pawn_material(const Board& b, Color c) {
    return (b.pieces(c, KNIGHT) | b.pieces(c, BISHOP) | b.pieces(c, ROOK) | b.pieces(c, QUEEN)) != 0;
}

int null_move_reduction(int depth) {
    switch (g_config.null_move_dynamic_enabled) {
        case 2: return depth > 8 ? depth / 3 + 1 : 3;
        case 1: return depth > 8 ? depth / 3 : 3;
        default: return std::max(g_config.null_move_reduction, 0);
    }
}

int late_move_reduction(int depth, int searched) {
    const EngineConfig& c = g_config;
    switch (c.lmr_dynamic_enabled) {
        case 5: {
            const double ld = lnTables.depth[std::min(depth, MAX_PLY - 1)];
            const double lm = lnTables.move[std::min(searched, MAX_MOVES - 1)];
            const long r = std::lround(c.lmr_loglog_a_permille / 1000.0 + c.lmr_loglog_b_permille / 1000.0 * ld +
                                       c.lmr_loglog_c_permille / 1000.0 * lm +
                                       c.lmr_loglog_d_permille / 1000.0 * ld * lm);
            return r < 0 ? 0 : static_cast<int>(r);
        }
        case 4: return depth < 9 ? 3 : depth / 6 + 2;
        case 1: return depth < 9 ? 3 : depth / 3 + 1;
        default:
            return searched > c.lmr_reduction_high_movecount_threshold && depth >= c.lmr_reduction_high_depth_threshold
                       ? c.lmr_reduction_high
                       : c.lmr_reduction_base;
    }
}

bool aborted() { return g_abort.load(std::memory_order_relaxed); }

// This node's variation: its best move so far followed by the child's.
void record_pv(PlyRecord& node, const PlyRecord& child, Move m) {
    node.pv[0] = m;
    const int childLength = std::min(child.pvLength, MAX_PLY - 1);
    for (int i = 0; i < childLength; ++i) node.pv[i + 1] = child.pv[i];
    node.pvLength = childLength + 1;
}

}  // namespace

int negamax(Board& board, SearchContext& ctx, int ply, int depth, int alpha, int beta) {
    assert(ply >= 0 && ply < MAX_PLY && "a node within the search stack");
    assert(-INFINITE_SCORE <= alpha && alpha < beta && beta <= INFINITE_SCORE && "a non-empty window");
    const EngineConfig& c = g_config;
    ++ctx.nodes;
    if (aborted() || time_to_stop(ctx.nodes)) return 0;
    // Extensions could in principle lengthen a line without end; the board
    // only keeps SEARCH_PLY_RESERVE plies above the root.
    if (ply >= MAX_PLY - 1) return bounded_score(evaluate(board, alpha, beta, ctx.evalCache));
    PlyRecord& node = ctx.at(ply);
    PlyRecord& child = ctx.at(ply + 1);
    const PlyRecord& parent = ctx.at(ply - 1);
    const Move excluded = node.excluded;
    const Move prevMove = parent.move;
    const int extensions = node.extensions;
    node.pvLength = 0;

    const bool inCheck = board.checkers() != 0;
    if (ply > 0) {
        if (board.is_repetition()) return 0;
        if (board.state().halfmove > 99 && !inCheck) return 0;
        if (!inCheck && board.is_insufficient_material()) return 0;
    }
    if (depth < 1) return quiescence(board, ctx, ply, alpha, beta);

    const bool pruning = g_pruningEnabled.load(std::memory_order_relaxed);
    const bool pvNode = beta - alpha > 1;

    // Transposition table.
    const TTEntry* tt = g_tt.probe(board.key());
    const Move ttMove = tt ? tt->move : NULL_MOVE;
    const int ttScore = tt ? score_from_tt(tt->score, ply) : 0;
    if (tt && !excluded && tt->depth >= depth) {
        if (tt->bound == BOUND_EXACT || (tt->bound == BOUND_LOWER && ttScore >= beta) ||
            (tt->bound == BOUND_UPPER && ttScore <= alpha))
            return ttScore;
    }
    const int ttDepth = tt ? tt->depth : 0;
    const int ttBound = tt ? tt->bound : 0;

    // Internal iterative reduction: without a hash move this node was never
    // searched deeply, so a cheaper search is a better investment.
    if (pruning && c.iir_enabled && ply > 0 && !ttMove && depth >= c.iir_min_depth) --depth;

    int eval = NO_EVAL;
    bool improving = true;
    if (!inCheck) {
        eval = bounded_score(pruning ? evaluate(board, alpha, beta, ctx.evalCache) : evaluate(board, -INFINITE_SCORE, INFINITE_SCORE, ctx.evalCache));
        // Compared with the last evaluation of the same side; before the
        // root and in check there is none.
        const int twoBack = ctx.at(ply - 2).staticEval, fourBack = ctx.at(ply - 4).staticEval;
        if (twoBack != NO_EVAL) improving = twoBack <= eval;
        else if (fourBack != NO_EVAL) improving = fourBack <= eval;
    }
    node.staticEval = eval;

    if (pruning && !inCheck && ply >= 1) {
        // Razoring: hopeless shallow nodes drop straight into quiescence.
        if (c.razor_enabled && depth <= c.razor_max_depth && alpha > -MATE_THRESHOLD &&
            alpha > eval + c.razor_margin_per_depth * depth) {
            const int q = quiescence(board, ctx, ply, alpha, beta);
            if (aborted()) return 0;
            if (q < alpha) return q;
        }
        // Reverse futility: far above beta at shallow depth, assume it holds.
        if (c.rfp_enabled && depth <= c.rfp_max_depth && !is_mate_score(beta)) {
            const int margin = c.rfp_margin_per_depth * depth - (improving ? c.rfp_improving_margin_reduction : 0);
            // beta is no mate, so the bounded score still fails high.
            if (eval - margin >= beta) return bounded_score(std::int64_t{eval} - margin);
        }
        // Null move: if passing still fails high, the position is too good.
        if (c.null_move_enabled && !(c.pv_node_protection_enabled && pvNode) && depth >= 3 && !parent.nullMove &&
            !(c.null_move_eval_filter_enabled && beta > eval) && has_non_pawn_material(board, board.side_to_move())) {
            const int r = null_move_reduction(depth);
            board.do_null_move();
            node.move = NULL_MOVE;
            node.nullMove = true;
            child.extensions = extensions;
            const int score = -negamax(board, ctx, ply + 1, depth - 1 - r, -beta, -beta + 1);
            node.nullMove = false;
            board.undo_null_move();
            if (aborted()) return 0;
            if (score >= beta) return score;
        }
    }

    ScoredMove moves[MAX_MOVES];
    const int count = generate_legal(board, moves, false);
    if (count == 0) return inCheck ? ply - MATE_SCORE : 0;
    if (ply >= 1 && (board.state().halfmove > 99 || board.is_insufficient_material())) return 0;
    score_moves(board, moves, count, ctx, ply, ttMove, prevMove);

    int best = -INFINITE_SCORE;
    Move bestMove = NULL_MOVE;
    const int alpha0 = alpha;
    int searched = 0;
    Move triedQuiets[MAX_MOVES];
    int triedCount = 0;
    const Color us = board.side_to_move();

    for (int i = 0; i < count; ++i) {
        const Move m = moves[i].move;
        if (m == excluded) continue;
        const bool quiet = !is_capture(board, m);
        // Whether the move checks matters only to a move about to be pruned
        // or reduced, so the attack test runs only then, and at most once.
        int checkKnown = -1;
        auto directCheck = [&] {
            if (checkKnown < 0)
                checkKnown = c.exclude_checks_from_pruning_enabled && move_threatens_king(board, m, us, true);
            return checkKnown == 1;
        };

        if (c.late_move_pruning_enabled && pruning && !inCheck && quiet && searched >= 1 && depth <= c.lmp_max_depth &&
            alpha > -MATE_THRESHOLD && searched >= c.lmp_depth_mult * depth * depth + c.lmp_base && !directCheck())
            continue;
        if (pruning && c.futility_enabled && !(c.pv_node_protection_enabled && pvNode) && !inCheck && quiet &&
            searched > 0 && depth <= c.futility_max_depth && alpha > -MATE_THRESHOLD &&
            eval + c.futility_margin_per_depth * depth <= alpha && !directCheck())
            continue;

        // Singular extension: when every other move falls well short of the
        // hash move's score, the hash move deserves a deeper look.
        bool singular = false;
        if (m == ttMove && c.singular_extensions_enabled && !excluded && ply >= 1 && tt && ttDepth >= depth - 3 &&
            (ttBound == BOUND_EXACT || ttBound == BOUND_LOWER) && depth >= c.singular_min_depth &&
            !is_mate_score(ttScore)) {
            const int sBeta = bounded_score(ttScore - std::int64_t{c.singular_margin_per_depth} * depth);
            // The verification searches this same node without the hash move.
            node.excluded = m;
            const int verificationDepth = depth / std::max(c.singular_reduction_divisor, 1);
            const int v = negamax(board, ctx, ply, verificationDepth, sBeta - 1, sBeta);
            node.excluded = NULL_MOVE;
            if (aborted()) return 0;
            singular = v < sBeta;
        }

        // Decided before the move is made: the attack test reads the board
        // as it stands now.
        const bool reducible = pruning && c.lmr_enabled && depth >= c.lmr_min_depth &&
                               searched + 1 > c.lmr_min_move_index && quiet && !inCheck && !directCheck();

        const int see = moves[i].see;
        board.do_move(m);
        g_tt.prefetch(board.key());
        ++searched;
        if (c.history_malus_enabled && quiet && triedCount < MAX_MOVES) triedQuiets[triedCount++] = m;

        const Bitboard givenChecks = board.checkers();
        int newDepth = depth - 1;
        bool extended = false;
        if (singular) {
            newDepth = depth;
            extended = true;
        } else if (ply <= 243 && givenChecks && !more_than_one(givenChecks) && !(!quiet && see < 0) &&
                   extensions < 16) {
            newDepth = depth;
            extended = true;
        }

        int r = 0;
        if (reducible && !extended) r = late_move_reduction(depth, searched);

        int score = 0;
        int tbScore = 0;
        const bool zeroing = board.state().halfmove == 0;
        if (zeroing && newDepth >= c.syzygy_probe_depth && syzygy_probe_search(board, ply + 1, tbScore)) {
            score = -tbScore;
            child.pvLength = 0;
        } else {
            node.move = m;
            child.extensions = extensions + (extended ? 1 : 0);
            if (searched == 1) {
                score = -negamax(board, ctx, ply + 1, newDepth, -beta, -alpha);
            } else {
                score = -negamax(board, ctx, ply + 1, std::max(newDepth - r, 0), -alpha - 1, -alpha);
                if (r >= 1 && score > alpha && !aborted())
                    score = -negamax(board, ctx, ply + 1, newDepth, -alpha - 1, -alpha);
                if (score > alpha && score < beta && !aborted())
                    score = -negamax(board, ctx, ply + 1, newDepth, -beta, -alpha);
            }
        }
        board.undo_move();
        if (aborted()) return 0;

        if (score > best) {
            best = score;
            bestMove = m;
            if (score > alpha) {
                record_pv(node, child, m);
                alpha = score;
                if (alpha >= beta) {
                    update_cutoff_heuristics(board, ctx, m, depth, ply, prevMove, triedQuiets, triedCount);
                    break;
                }
            }
        }
    }

    // A singular verification whose excluded move was the only legal one
    // searched nothing: its -INFINITE_SCORE is no score, and must never
    // reach the table, where a later search would read it as a mate.
    if (searched > 0) {
        const int bound = best <= alpha0 ? BOUND_UPPER : best < beta ? BOUND_EXACT : BOUND_LOWER;
        g_tt.store(board.key(), best, bestMove, depth, bound, ply);
    }
    return best;
}

}  // namespace morvane
