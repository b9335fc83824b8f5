// Per-search heuristic memory: killers, histories, countermoves, the
// principal-variation table and the static evaluations along the path.
#pragma once

#include "core/board.h"

namespace morvane {

constexpr int MAX_PLY = 246;
static_assert(MAX_PLY < SEARCH_PLY_RESERVE, "a search line must fit above the root");
constexpr int HISTORY_CAP = 800000;
constexpr int NO_EVAL = 32000;

struct SearchContext {
    Move killers[MAX_PLY][2];
    int history[2][64][64];
    Move countermove[16][64];
    int captureHistory[16][64][7];
    Move pv[MAX_PLY - 1][MAX_PLY + 1];
    int pvLength[MAX_PLY];
    int staticEval[MAX_PLY];

    // Every root search starts from empty heuristics.
    void reset();
};

// Orders the moves of a node, best first.
void score_moves(Board& board, ScoredMove* moves, int count, SearchContext& ctx, int ply, Move ttMove,
                 Move prevMove);

// Heuristic updates after move m caused a beta cutoff at remaining depth.
void update_cutoff_heuristics(const Board& board, SearchContext& ctx, Move m, int depth, int ply, Move prevMove,
                              const Move* triedQuiets, int triedCount);

bool is_capture(const Board& board, Move m);

}  // namespace morvane
