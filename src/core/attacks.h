// Precomputed attack sets: leaper tables and magic-bitboard slider tables.
// Filled once at start-up (init_attacks), read-only afterwards.
#pragma once

#include <string>
#include <vector>

#include "core/bitboard.h"

namespace morvane {

extern Bitboard pawnAtt[2][64];
extern Bitboard knightAtt[64];
extern Bitboard kingAtt[64];

// What a slider lookup on one square needs, together in one cache line:
// the relevant occupancy, its magic multiplier, the shift, and the square's
// block of attack sets.
struct SliderMagic {
    Bitboard mask;
    Bitboard magic;
    const Bitboard* attacks;
    unsigned shift;
};

extern SliderMagic rookMagics[64], bishopMagics[64];
extern std::vector<Bitboard> rookTable, bishopTable;  // the blocks the records point into

extern bool attacksInit;

// Leaper, between and slider tables; does nothing once attacksInit is set.
void init_attacks();

inline Bitboard slider_lookup(const SliderMagic& m, Bitboard occupied) {
    return m.attacks[((occupied & m.mask) * m.magic) >> m.shift];
}
inline Bitboard rook_attacks(Square s, Bitboard occupied) { return slider_lookup(rookMagics[s], occupied); }
inline Bitboard bishop_attacks(Square s, Bitboard occupied) { return slider_lookup(bishopMagics[s], occupied); }

// Attacks on an empty board: the empty subset's slot.
inline Bitboard rook_attacks_empty(Square s) { return rookMagics[s].attacks[0]; }
inline Bitboard bishop_attacks_empty(Square s) { return bishopMagics[s].attacks[0]; }

extern Bitboard betweenTable[64][64];

// Squares strictly between a and b on a shared line; empty otherwise.
// Pin and check detection ask this constantly, so it is a table lookup.
inline Bitboard squares_between(Square a, Square b) { return betweenTable[a][b]; }

std::string square_to_string(Square s);

}  // namespace morvane
