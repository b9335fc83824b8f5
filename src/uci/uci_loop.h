// The UCI command loop: reads commands line by line and answers them.
#pragma once

#include <atomic>
#include <iosfwd>
#include <string>
#include <thread>

#include "core/board.h"

namespace morvane {

// True while a search thread owns the loop's board. Set by the UCI thread
// before the search starts, cleared (with release ordering, so that the
// board is handed back whole) by the search thread once its answer is known.
extern std::atomic<bool> g_searching;
extern std::thread g_searchThread;

// Runs the loop on standard input until "quit" or end of input.
void uci_loop();
void uci_loop(std::istream& in);

// Executes one command line; returns false when the loop must end.
bool execute_uci_command(Board& board, const std::string& line);

}  // namespace morvane
