#include "core/zobrist.h"

#include <random>

namespace morvane {

std::uint64_t zPieceSquare[16][64];
std::uint64_t zCastling[16];
std::uint64_t zSideToMove;
std::uint64_t zEnPassantFile[8];
bool zobristInit = false;

void init_zobrist() {
    if (zobristInit) return;
    std::mt19937_64 rng(0x4D6F7276616E65ULL);  // "Morvane" in ASCII
    for (auto& row : zPieceSquare)
        for (auto& key : row) key = rng();
    zSideToMove = rng();
    for (auto& key : zCastling) key = rng();
    for (auto& key : zEnPassantFile) key = rng();
    zobristInit = true;
}

}  // namespace morvane
