// Everything the evaluation derives from the pawns alone, cached per pawn
// key in the evaluation's pawn table. Only square sets, never weights, so
// that a change of configuration never leaves a stale entry behind.
#pragma once

#include <array>

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

// One entry per slot, always replaced on a miss. An entry depends on the
// pawn key alone, so the table may serve any board: one per process, like
// the transposition table, and evaluations run on one thread at a time.
struct PawnTable {
    static constexpr std::size_t Size = 4096;
    std::array<PawnEntry, Size> entries{};

    PawnEntry& slot(std::uint64_t pawnKey) { return entries[pawnKey & (Size - 1)]; }
};

extern PawnTable g_pawnTable;

}  // namespace morvane
