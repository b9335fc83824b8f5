// The search: principal-variation negamax with quiescence, driven by
// iterative deepening with aspiration windows and clock-based deadlines.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "search/search_context.h"

namespace morvane {

// Deepest iteration a search will start: deeper ones could not finish
// within the ply reserve the board keeps above the root.
constexpr int MAX_DEPTH = 128;

struct SearchLimits {
    int depth = 0;               // below 1: no depth limit (64)
    std::int64_t movetime = -1;  // ms; negative: not given
    std::int64_t wtime = -1, btime = -1;
    std::int64_t winc = 0, binc = 0;
    int movestogo = 0;        // below 1: not given
    std::uint64_t nodes = 0;  // stop after about this many nodes; 0: no limit
    bool ponder = false;      // the caller sets the deadline later, at "ponderhit"
    int multi_pv = 1;         // best moves reported per depth; above 1, each is searched exactly
};

struct SearchResult {
    Move best_move = NULL_MOVE;
    int score = 0;
    std::uint64_t nodes = 0;
    int depth = 0;
    std::uint64_t time_ms = 0;
    std::vector<Move> pv;
    int multipv = 0;  // rank of this line among several best moves; 0 in a one-line search
};

using RootScores = std::vector<std::pair<Move, int>>;

// The caller owns the context (it is large, so keep one and reuse it); each
// root search starts by resetting it, so nothing carries from one search to
// the next.
SearchResult iterative_deepening(Board& board, SearchContext& ctx, const SearchLimits& limits,
                                 const std::function<void(const SearchResult&)>& on_iteration);

// The root's legal moves in search order, with the heuristics reset, and
// their count. Zero when nothing is left to search: a root in the tables is
// decided there (their move, unsearched), and a root without moves is mate
// or stalemate; `result` then holds the answer.
int order_root_moves(Board& board, SearchContext& ctx, ScoredMove* moves, SearchResult& result);

// One depth at the root. When rootScores is given, it receives one (move,
// score) pair per root move searched.
SearchResult search_root(Board& board, SearchContext& ctx, int depth, int alpha, int beta,
                         RootScores* rootScores = nullptr);

// One depth at the root for the `count` best moves, each searched with a
// full window above the weakest line kept. lines receives them best first;
// the result is the best one, with the nodes of the whole depth.
SearchResult search_root_lines(Board& board, SearchContext& ctx, int depth, int count,
                               std::vector<SearchResult>& lines);

// How a checking root move is extended. The root search spares a check by a
// losing capture the extra ply and counts the ply against the line's
// extension budget. The test-suite reports score an expected move the way
// they always have, extending every single check without counting it, so
// that reports of different versions stay comparable.
enum class RootCheckExtension { SkipLosingCaptures, EveryCheckUncounted };

// One root move searched to depth within (alpha, beta); the score is from
// the root side's point of view. The context's heuristics are used as they
// stand.
int search_root_move(Board& board, SearchContext& ctx, Move move, int depth, int alpha, int beta,
                     RootCheckExtension rule = RootCheckExtension::SkipLosingCaptures);

// The node at distance ply from the root, to the remaining depth. Its move
// history (the move that led here, a null move, an excluded move, the
// extensions spent) is read from the context's stack.
int negamax(Board& board, SearchContext& ctx, int ply, int depth, int alpha, int beta);

int quiescence(Board& board, SearchContext& ctx, int ply, int alpha, int beta);

}  // namespace morvane
