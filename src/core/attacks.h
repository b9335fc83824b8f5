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

extern Bitboard rookMask[64], bishopMask[64];
extern Bitboard rookMagic[64], bishopMagic[64];
extern unsigned rookShift[64], bishopShift[64];
extern unsigned rookOffset[64], bishopOffset[64];
extern std::vector<Bitboard> rookTableFlat, bishopTableFlat;

extern bool attacksInit;

// Leaper tables then magics; does nothing once attacksInit is set.
void init_attacks();
void init_magics();

inline Bitboard rook_attacks(Square s, Bitboard occupied) {
    unsigned idx = static_cast<unsigned>(((occupied & rookMask[s]) * rookMagic[s]) >> (rookShift[s] & 63));
    return rookTableFlat[rookOffset[s] + idx];
}

inline Bitboard bishop_attacks(Square s, Bitboard occupied) {
    unsigned idx = static_cast<unsigned>(((occupied & bishopMask[s]) * bishopMagic[s]) >> (bishopShift[s] & 63));
    return bishopTableFlat[bishopOffset[s] + idx];
}

// Attacks on an empty board: entry 0 of each square's table.
inline Bitboard rook_attacks_empty(Square s) { return rookTableFlat[rookOffset[s]]; }
inline Bitboard bishop_attacks_empty(Square s) { return bishopTableFlat[bishopOffset[s]]; }

extern Bitboard betweenTable[64][64];

// Squares strictly between a and b on a shared line; empty otherwise.
// Pin and check detection ask this constantly, so it is a table lookup.
inline Bitboard squares_between(Square a, Square b) { return betweenTable[a][b]; }

std::string square_to_string(Square s);

}  // namespace morvane
