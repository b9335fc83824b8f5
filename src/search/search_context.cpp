#include "search/search_context.h"

#include <algorithm>

namespace morvane {

void SearchContext::reset() {
    std::fill(&killers[0][0], &killers[0][0] + MAX_PLY * 2, NULL_MOVE);
    std::fill(&history[0][0][0], &history[0][0][0] + 2 * 64 * 64, 0);
    std::fill(&countermove[0][0], &countermove[0][0] + 16 * 64, NULL_MOVE);
    std::fill(&captureHistory[0][0][0], &captureHistory[0][0][0] + 16 * 64 * 7, 0);
    // A variation is read only up to its length, so its moves need no clearing.
    for (PlyRecord& r : stack) {
        r.move = NULL_MOVE;
        r.nullMove = false;
        r.excluded = NULL_MOVE;
        r.extensions = 0;
        r.staticEval = NO_EVAL;
        r.pvLength = 0;
    }
    nodes = 0;
    ++evalCache.generation;
}

}  // namespace morvane
