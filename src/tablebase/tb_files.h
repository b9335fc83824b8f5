// The endgame tables found on disk or in the cache: which materials have
// files, where, and their mapping on first use. A file that fails a check
// is reported once and never read again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "tablebase/tb_layout.h"

namespace morvane::tb {

constexpr int WDL = 0, DTM = 1, DTZ = 2;

struct TbFile {
    bool present = false;
    bool mapped = false;
    bool broken = false;
    void* base = nullptr;
    std::size_t size = 0;
    int sides = 0;
    Part parts[2];
};

struct TbEntry {
    std::string name;
    std::uint64_t key = 0;
    int pieces = 0;
    bool hasPawns = false;
    Material mat;
    TbFile files[3];
};

// The entry holding this material key (either colour's view), or null.
TbEntry* find_entry(std::uint64_t key);
// Maps the file of this kind on its first use; false when it cannot serve.
bool init_table(TbEntry& e, int kind);
// Reports the file as damaged and stops all use of it.
void drop_damaged(TbEntry& e, int kind, const char* why);

}  // namespace morvane::tb
