// Everything the evaluation derives from the pawns alone, cached per pawn
// key in the board's pawn table. Only square sets, never weights, so that a
// change of configuration never leaves a stale entry behind.
#pragma once

#include "core/types.h"

namespace morvane {

struct PawnEntry {
    std::uint64_t key;
    std::uint64_t valid;
    Bitboard passed[2];
    Bitboard pawnAttacks[2];
    Bitboard isolated[2];
    Bitboard doubled[2];
    Bitboard lockedDoubled[2];
    Bitboard backward[2];
    Bitboard safe[2];
    Bitboard outposts[2];
    Bitboard targetFiles[2];
    std::uint64_t structureFlags;
    Bitboard connectedPassed[2];
    Bitboard outsidePassed[2];
    Bitboard candidates[2];
};

static_assert(sizeof(PawnEntry) == 27 * 8);

}  // namespace morvane
