// Games in PGN, the format every chess program reads: the seven standard
// tags, the opening as FEN/SetUp, SAN moves, the result, and the reason the
// game ended as a Termination tag and a closing comment.
#pragma once

#include <string>

#include "match/game.h"

namespace match {

struct PgnHeader {
    std::string event = "Morvane match";
    std::string date;  // "2026.11.23"
    int round = 1;
    std::string timeControl;  // "10+0.1", or "-" for fixed nodes or depth
};

std::string to_pgn(const GameRecord& game, const PgnHeader& header);

}  // namespace match
