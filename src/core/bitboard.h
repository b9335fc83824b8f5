// Bit tricks on 64-bit square sets.
#pragma once

#include <bit>

#include "core/types.h"

namespace morvane {

constexpr Bitboard square_bb(Square s) { return Bitboard{1} << s; }
inline int popcount(Bitboard b) { return std::popcount(b); }
inline Square lsb(Bitboard b) { return std::countr_zero(b); }
inline Square msb(Bitboard b) { return 63 - std::countl_zero(b); }
inline Square pop_lsb(Bitboard& b) {
    Square s = lsb(b);
    b &= b - 1;
    return s;
}
constexpr bool more_than_one(Bitboard b) { return (b & (b - 1)) != 0; }

constexpr Bitboard DarkSquares = 0xAA55AA55AA55AA55ULL;  // a1, c1, ..., b2, ...
constexpr Bitboard FileABB = 0x0101010101010101ULL;
constexpr Bitboard Rank1BB = 0xFFULL;
constexpr Bitboard file_bb(int file) { return FileABB << file; }
constexpr Bitboard rank_bb(int rank) { return Rank1BB << (8 * rank); }

}  // namespace morvane
