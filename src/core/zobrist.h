// Zobrist hashing keys, drawn once from a fixed seed so that hash keys (and
// with them table behaviour and repetition detection) never vary between runs.
#pragma once

#include "core/types.h"

namespace morvane {

extern std::uint64_t zPieceSquare[16][64];
extern std::uint64_t zCastling[16];
extern std::uint64_t zSideToMove;
extern std::uint64_t zEnPassantFile[8];
extern bool zobristInit;

void init_zobrist();

}  // namespace morvane
