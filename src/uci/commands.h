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

// Joins a finished or stopped search thread; does nothing when none runs.
void stop_and_join_search();

}  // namespace morvane
