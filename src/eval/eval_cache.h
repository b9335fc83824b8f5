// Evaluations already made during one search. A node searched again with
// another window (the re-searches of late moves and of the principal
// variation, null-move verification, transpositions close together) asks for
// the same evaluation again soon after. A record keeps each stage's score
// (the lazy exits' partial scores and the full one), so that a later call
// with another window gets exactly the answer a new evaluation would give,
// and the tree stays the same.
#pragma once

#include <cstdint>

namespace morvane {

struct EvalRecord {
    std::uint64_t key;
    std::uint32_t generation;  // the search that wrote it
    std::int32_t material;     // after material and tables: the first lazy exit's score
    std::int32_t structure;    // after the pawn structure: the second's
    std::int32_t full;
    std::uint8_t phase, pawnCount;
    std::uint8_t stages;  // how many of the three scores were reached
};

// A king's pawn shelter depends on the pawns, the king's square and its
// castling rights alone, which change far less often than the position.
struct ShelterRecord {
    std::uint64_t key;  // the pawn key mixed with the king's square, colour and rights
    std::uint32_t generation;
    std::int32_t score;
};

// Records belong to one search: a new generation at each root search
// invalidates them all without clearing the table, and no record survives a
// change of weights, which can only happen between searches.
//
// Most repeats come within a few thousand evaluations, so a small table that
// stays in the processor's cache serves nearly all of them: measured on the
// bench, 65,536 records found barely more than 4,096 and ran slower.
struct EvalCache {
    static constexpr std::size_t Size = std::size_t{1} << 12;
    static constexpr std::size_t ShelterSize = std::size_t{1} << 12;
    EvalRecord records[Size];
    ShelterRecord shelters[ShelterSize];
    std::uint32_t generation = 0;

    EvalRecord& slot(std::uint64_t key) { return records[key & (Size - 1)]; }
    ShelterRecord& shelter_slot(std::uint64_t key) { return shelters[key & (ShelterSize - 1)]; }
    template <typename Record>
    bool holds(const Record& r, std::uint64_t key) const {
        return r.key == key && r.generation == generation;
    }
};

}  // namespace morvane
