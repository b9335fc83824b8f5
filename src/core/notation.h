// UCI long algebraic notation of moves.
#pragma once

#include <string>

#include "core/types.h"

namespace morvane {

// "e2e4", "e7e8q"; castling is the king's move. Move 0 gives "a1a1": callers
// that print a missing move write "0000" themselves.
std::string move_to_uci(Move m);

}  // namespace morvane
