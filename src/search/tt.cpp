#include "search/tt.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

namespace morvane {

TranspositionTable g_tt;

void TranspositionTable::resize_entries(std::size_t count) {
    entries.assign(count, TTEntry{});  // every resize empties the table
    mask = count - 1;
}

void TranspositionTable::resize_mb(int megabytes) {
    megabytes = std::clamp(megabytes, 1, 2048);
    resize_entries(std::bit_floor(static_cast<std::size_t>(megabytes) * 65536));
}

// An empty entry is all zero bytes, and a byte fill is many times faster
// than a copy of the entry into every slot.
static_assert(std::is_trivially_copyable_v<TTEntry>);
void TranspositionTable::clear() { std::memset(entries.data(), 0, entries.size() * sizeof(TTEntry)); }

void TranspositionTable::store(std::uint64_t key, int score, Move move, int depth, int bound, int ply) {
    TTEntry& e = entries[key & mask];
    e.key = key;
    e.score = static_cast<std::int16_t>(score_to_tt(score, ply));
    e.move = move;
    e.depth = static_cast<std::uint8_t>(std::clamp(depth, 0, 255));
    e.bound = static_cast<std::uint8_t>(bound);
}

void tt_clear() { g_tt.clear(); }

}  // namespace morvane
