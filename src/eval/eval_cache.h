// Evaluations already made during one search. Iterative deepening walks
// most of the previous iteration's tree again, and transpositions bring the
// same positions back within an iteration, so many evaluations repeat. A
// record keeps each stage's score (the lazy exits' partial scores and the
// full one), so that a later call with another window gets exactly the
// answer a new evaluation would give, and the tree stays the same.
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
struct EvalCache {
    static constexpr std::size_t Size = std::size_t{1} << 16;
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
