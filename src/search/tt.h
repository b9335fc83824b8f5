// Transposition table: one 16-byte slot per index, always replaced, so a
// probe costs a single memory access.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "core/score.h"
#include "core/types.h"

namespace morvane {

enum Bound : std::uint8_t { BOUND_NONE = 0, BOUND_EXACT = 1, BOUND_LOWER = 2, BOUND_UPPER = 3 };

struct TTEntry {
    std::uint64_t key;
    std::int16_t score;
    Move move;
    std::uint8_t depth;
    std::uint8_t bound;
    std::uint8_t unused[2];
};
static_assert(sizeof(TTEntry) == 16);

class TranspositionTable {
public:
    TranspositionTable() { resize_entries(std::size_t{1} << 20); }

    // Largest power of two of entries not above megabytes × 65,536, empty.
    void resize_mb(int megabytes);
    void clear();

    const TTEntry* probe(std::uint64_t key) const {
        const TTEntry& e = entries_[key & mask_];
        return e.key == key && e.bound != BOUND_NONE ? &e : nullptr;
    }
    // Starts loading the entry's cache line, so that a probe made a little
    // later (by the child node, after its draw tests) does not wait on memory.
    void prefetch(std::uint64_t key) const { __builtin_prefetch(&entries_[key & mask_]); }
    void store(std::uint64_t key, int score, Move move, int depth, int bound, int ply);
    std::size_t size() const { return mask_ + 1; }

private:
    struct Free {
        void operator()(TTEntry* p) const { std::free(p); }
    };
    std::unique_ptr<TTEntry[], Free> entries_;
    std::uint64_t mask_ = 0;

    // Throws std::bad_alloc, leaving the table as it was, when the memory
    // cannot be had.
    void resize_entries(std::size_t count);
};

extern TranspositionTable g_tt;

void tt_clear();

// Mate scores are stored relative to the node and read back relative to
// the root, so that a mate found at one depth is right at any other.
inline int score_to_tt(int score, int ply) {
    return score >= MATE_THRESHOLD ? score + ply : score <= -MATE_THRESHOLD ? score - ply : score;
}
inline int score_from_tt(int score, int ply) {
    return score >= MATE_THRESHOLD ? score - ply : score <= -MATE_THRESHOLD ? score + ply : score;
}

}  // namespace morvane
