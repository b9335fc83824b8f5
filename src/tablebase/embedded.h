// The endgame-table files carried inside the executable. The arrays and the
// two tables below are generated at build time (tools/tbgen).
#pragma once

#include <cstdint>

namespace morvane::syzygy_embedded {

struct EmbeddedFile {
    const char* name;  // e.g. "KQvK.rtbw"
    const unsigned char* data;
    std::uint64_t size;
};

// Ordered by table name, each table's .rtbw before its .rtbz.
extern const EmbeddedFile files_3[10];
extern const EmbeddedFile files_4[60];

extern const unsigned char KQvK_rtbw[];
extern const unsigned char KQvK_rtbz[];

}  // namespace morvane::syzygy_embedded
