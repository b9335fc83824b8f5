// What the UCI front end itself keeps between commands: the options that
// shape its answers rather than the search, and which parameter file plays.
#pragma once

#include <iosfwd>

#include "config/config_locate.h"

namespace morvane {

struct UciSettings {
    bool ponder = false;  // name the expected reply on "bestmove"
    int multiPv = 1;      // best moves reported per depth
    LoadedConfig config;  // the parameter file in use, or none
    // The file is named again before the first search of each game, where
    // a GUI's engine console shows it next to the game.
    bool announcePending = true;
};

// Read and written by the UCI thread only; a search gets copies.
extern UciSettings g_uciSettings;

// One "info string" line on standard output naming the parameter file in
// use and its number of entries, or saying that the built-in defaults play.
void announce_config(std::ostream& out, const LoadedConfig& config);

}  // namespace morvane
