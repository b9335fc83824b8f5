// Rank and file masks for pawn-structure questions, seen from one colour.
#pragma once

#include "core/bitboard.h"

namespace morvane {

constexpr Bitboard AllSquares = ~Bitboard{0};

constexpr Bitboard adjacent_files(int f) { return (f > 0 ? file_bb(f - 1) : 0) | (f < 7 ? file_bb(f + 1) : 0); }

// Ranks strictly in front of rank r for colour c.
constexpr Bitboard ranks_ahead(Color c, int r) {
    if (c == WHITE) return r >= 7 ? 0 : AllSquares << (8 * (r + 1));
    return r <= 0 ? 0 : (Bitboard{1} << (8 * r)) - 1;
}

constexpr Bitboard shift_west(Bitboard b) { return (b >> 1) & ~file_bb(7); }
constexpr Bitboard shift_east(Bitboard b) { return (b << 1) & ~file_bb(0); }

// Squares attacked by pawns of colour c standing on `pawns`.
constexpr Bitboard pawn_attacks_bb(Color c, Bitboard pawns) {
    const Bitboard forward = c == WHITE ? pawns << 8 : pawns >> 8;
    return shift_west(forward) | shift_east(forward);
}

// The squares of b and every square in front of them, for colour c.
constexpr Bitboard fill_forward(Color c, Bitboard b) {
    if (c == WHITE) {
        b |= b << 8, b |= b << 16, b |= b << 32;
    } else {
        b |= b >> 8, b |= b >> 16, b |= b >> 32;
    }
    return b;
}

constexpr Bitboard ranks_level_or_behind(Color c, int r) { return ~ranks_ahead(c, r); }

// Flags about the central pawn structure read by the king-safety terms.
enum StructureFlag : std::uint64_t {
    CentreBlocked = 1,  // the d- and e-pawns both stand rammed against enemy pawns
    CentreOpen = 2,     // no pawn at all on the d- and e-files
};

constexpr std::uint64_t structure_flags(Bitboard white, Bitboard black) {
    const Bitboard centre = file_bb(3) | file_bb(4);
    std::uint64_t flags = 0;
    if (!((white | black) & centre)) flags |= CentreOpen;
    const Bitboard rammed = white & centre & (black >> 8);
    if (more_than_one(rammed)) flags |= CentreBlocked;
    return flags;
}

}  // namespace morvane
