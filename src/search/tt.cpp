#include "search/tt.h"

#include <algorithm>
#include <bit>
#include <iostream>

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

void TranspositionTable::clear() { std::fill(entries.begin(), entries.end(), TTEntry{}); }

void TranspositionTable::store(std::uint64_t key, int score, Move move, int depth, int bound, int ply) {
    TTEntry& e = entries[key & mask];
    e.key = key;
    e.score = static_cast<std::int16_t>(score_to_tt(score, ply));
    e.move = move;
    e.depth = static_cast<std::uint8_t>(std::clamp(depth, 0, 255));
    e.bound = static_cast<std::uint8_t>(bound);
}

void tt_clear() { g_tt.clear(); }

void set_hash_option(const std::string& value) {
    try {
        std::size_t used = 0;
        const long long mb = std::stoll(value, &used, 10);
        if (mb < INT32_MIN || mb > INT32_MAX) throw std::out_of_range("Hash");
        g_tt.resize_mb(static_cast<int>(mb));
    } catch (const std::exception&) {
        std::cerr << "info string valeur Hash invalide: " << value << std::endl;
    }
}

}  // namespace morvane
