// Where the search meets the endgame tables. No tables are connected yet:
// every probe answers that the position is not in the tables, so the
// search plays on as it would without them.
#pragma once

#include "core/board.h"

namespace morvane {

struct SearchResult;

inline bool tablebase_probe_search(const Board&, int /*ply*/, int& /*score*/) { return false; }
inline bool tablebase_root_probe(Board&, SearchResult&) { return false; }
inline int tablebase_largest_pieces() { return 0; }

}  // namespace morvane
