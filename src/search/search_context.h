// Per-search memory: the move-ordering heuristics (killers, histories,
// countermoves), the stack of per-ply records along the current line, and
// the evaluations made so far.
#pragma once

#include <cassert>
#include <cstdint>

#include "core/board.h"
#include "core/score.h"
#include "eval/eval_cache.h"

namespace morvane {

constexpr int MAX_PLY = 246;
static_assert(MAX_PLY < SEARCH_PLY_RESERVE, "a search line must fit above the root");
constexpr int HISTORY_CAP = 800000;

// What the search knows about one node of the line it is on. A node reads
// its parent's record for the move that led to it; a child's extension
// count is written by its parent before the child is searched.
struct PlyRecord {
    Move move;       // the move being searched from this node
    bool nullMove;   // that move is a null move (move is then NULL_MOVE)
    Move excluded;   // left out of this node by a singular verification
    int extensions;  // extensions already spent on the path to this node
    int staticEval;  // NO_EVAL when the side to move is in check
    int pvLength;
    Move pv[MAX_PLY];  // the principal variation from this node
};

struct SearchContext {
    // Records below ply 0 stay as reset() leaves them (no move, no
    // evaluation), so a node may look two or four plies back unguarded.
    static constexpr int STACK_OFFSET = 4;

    Move killers[MAX_PLY][2];
    int history[2][64][64];
    Move countermove[16][64];
    int captureHistory[16][64][7];
    PlyRecord stack[MAX_PLY + STACK_OFFSET];
    std::uint64_t nodes;  // of the current root search
    EvalCache evalCache;

    PlyRecord& at(int ply) {
        assert(ply >= -STACK_OFFSET && ply < MAX_PLY && "a ply the stack holds");
        return stack[ply + STACK_OFFSET];
    }

    // Every root search starts from empty heuristics and a clean stack.
    void reset();
};

// Orders the moves of a node, best first.
void score_moves(Board& board, ScoredMove* moves, int count, SearchContext& ctx, int ply, Move ttMove, Move prevMove);

// Heuristic updates after move m caused a beta cutoff at remaining depth.
void update_cutoff_heuristics(const Board& board, SearchContext& ctx, Move m, int depth, int ply, Move prevMove,
                              const Move* triedQuiets, int triedCount);

bool is_capture(const Board& board, Move m);

}  // namespace morvane
