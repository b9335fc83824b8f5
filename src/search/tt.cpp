#include "search/tt.h"

#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <type_traits>

namespace morvane {

TranspositionTable g_tt;

void TranspositionTable::resize_entries(std::size_t count) {
    if (entries_ && count == size()) {  // same size: emptying is all a resize would do
        clear();
        return;
    }
    // A probe lands at a random index, so with small pages it misses the
    // address-translation cache as well as the data cache. Tables of 2 MB
    // and more are placed on 2 MB boundaries and offered to the kernel as
    // huge pages, which cover the whole table with a few translations.
    constexpr std::size_t HugePage = std::size_t{2} << 20;
    const std::size_t bytes = count * sizeof(TTEntry);
    const std::size_t alignment = bytes >= HugePage ? HugePage : 64;
    auto* table = static_cast<TTEntry*>(std::aligned_alloc(alignment, bytes));
    if (!table) throw std::bad_alloc();
    if (alignment == HugePage) ::madvise(table, bytes, MADV_HUGEPAGE);  // only advice: may be refused
    std::memset(static_cast<void*>(table), 0, bytes);  // every resize empties the table
    entries_.reset(table);
    mask_ = count - 1;
}

void TranspositionTable::resize_mb(int megabytes) {
    megabytes = std::clamp(megabytes, 1, 2048);
    resize_entries(std::bit_floor(static_cast<std::size_t>(megabytes) * 65536));
}

// An empty entry is all zero bytes, and a byte fill is many times faster
// than a copy of the entry into every slot.
static_assert(std::is_trivially_copyable_v<TTEntry>);
void TranspositionTable::clear() { std::memset(static_cast<void*>(entries_.get()), 0, size() * sizeof(TTEntry)); }

void TranspositionTable::store(std::uint64_t key, int score, Move move, int depth, int bound, int ply) {
    TTEntry& e = entries_[key & mask_];
    e.key = key;
    e.score = static_cast<std::int16_t>(score_to_tt(score, ply));
    e.move = move;
    e.depth = static_cast<std::uint8_t>(std::clamp(depth, 0, 255));
    e.bound = static_cast<std::uint8_t>(bound);
}

void tt_clear() { g_tt.clear(); }

}  // namespace morvane
