// The individual UCI commands, each reading the rest of its line.
#pragma once

#include <iosfwd>
#include <sstream>

#include "core/board.h"

namespace morvane {

void cmd_position(Board& board, std::istringstream& rest);
void cmd_setoption(std::istringstream& rest);
void cmd_go(Board& board, std::istringstream& rest);
void print_options(std::ostream& out);
void print_board(const Board& board, std::ostream& out);
// "go perft": the count below each root move, then the total.
void cmd_go_perft(Board& board, int depth);

struct SearchLimits;
struct SearchResult;

// The answer when the search failed: the first legal move of the position
// the search started from (the board is first taken back to rootPly). It
// must itself never throw, or the process would end without any answer.
Move fallback_move(Board& board, int rootPly) noexcept;

// Starts the one search thread on the loop's own board; its "bestmove"
// names the expected reply too when namePonderMove is set.
void start_search_async(Board& board, const SearchLimits& limits, bool namePonderMove = false);
void print_info_line(const SearchResult& r);

// Stops a running search and joins its thread; does nothing when none runs.
void stop_and_join_search();

// The pondered move was played: a "go ponder" search starts its clock.
void cmd_ponderhit();

}  // namespace morvane
