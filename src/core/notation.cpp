#include "core/notation.h"

#include "core/attacks.h"

namespace morvane {

std::string move_to_uci(Move m) {
    std::string text = square_to_string(move_from(m)) + square_to_string(move_to(m));
    if (move_flag(m) == FLAG_PROMOTION) text += "nbrq"[(m >> 14) & 3];
    return text;
}

}  // namespace morvane
