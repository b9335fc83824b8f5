// Draw by repetition: the current key seen an even number of plies back,
// within the reach of the halfmove clock. One earlier occurrence suffices
// inside the search: playing into it can only draw.
#pragma once

#include "core/board.h"

namespace morvane {

inline bool is_repetition(const Board& board) {
    const std::uint64_t key = board.key();
    const int oldest = std::max(0, board.ply - static_cast<int>(board.state().halfmove));
    for (int p = board.ply - 2; p >= oldest; p -= 2)
        if (board.keys[p].key == key) return true;
    return false;
}

}  // namespace morvane
