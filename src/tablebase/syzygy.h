// How the engine uses the endgame tables: choosing them at start-up or on a
// SyzygyPath change, scoring positions inside the search, and deciding the
// root move outright.
#pragma once

#include <string>

#include "core/board.h"
#include "tablebase/tbprobe.h"

namespace morvane {

// The root move the tables choose, and the score it keeps: TB_WIN_SCORE,
// -TB_WIN_SCORE, or 0 for a draw (also when the fifty-move rule spoils the
// result).
struct TbRootMove {
    Move move = NULL_MOVE;
    int score = 0;
};

// A position as the table reader takes it: occupancy by colour and by
// piece type, the en-passant square (0 for none) and whether White moves.
struct TbPosition {
    std::uint64_t white, black, kings, queens, rooks, bishops, knights, pawns;
    unsigned ep;
    bool turn;
};
TbPosition tb_position(const Board& b);

// Tables of `path` (directories separated by ':'), else the embedded tables
// written to the cache. True when some table is usable afterwards;
// TB_LARGEST then gives the largest piece count covered.
bool syzygy_init(const std::string& path);

// Win/draw/loss score of a position just reached by a capture or pawn move:
// TB_WIN_SCORE - ply for a win, ply - TB_WIN_SCORE for a loss, 0 otherwise
// (a win or loss that the fifty-move rule spoils counts as a draw).
bool syzygy_probe_search(const Board& board, int ply, int& score);

// The move the tables rank best at the root, with its score.
bool syzygy_root_probe(Board& board, TbRootMove& result);

}  // namespace morvane
