// A match's progress on disk, so that a test that needs thousands of games
// can be stopped and resumed across sessions: the tallies and the indices
// of the game pairs already played, replaced as a whole after every pair.
// Only complete pairs are kept, so resuming replays at most the pairs that
// were in flight, and the SPRT goes on from exactly the counts it had.
#pragma once

#include <cstdint>
#include <string>

#include "match/match_runner.h"

namespace match {

// What a resumed run must share with the one that wrote the state: the
// engines as started and driven, the openings in playing order, the
// adjudication rules and the SPRT bounds. The number of games, the
// concurrency and the PGN file may change between runs.
std::uint64_t match_fingerprint(const MatchConfig& config);

std::string progress_text(const MatchProgress& progress);

// False with a message on a file that is not a complete state.
bool parse_progress(const std::string& text, MatchProgress& progress, std::string& error);

}  // namespace match
