// Scores the search builds from tuned numbers (an evaluation, or a margin
// times a depth) brought back among the scores a real position can have.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/score.h"

namespace morvane {

// The largest score that is not a mate.
constexpr int MAX_PLAIN_SCORE = MATE_THRESHOLD - 1;

// A tuning may push an evaluation or a margin far beyond any real score. Left
// there it would read as a mate, make a window empty or open beyond the
// bounds, and wrap in the table's 16-bit score.
constexpr int bounded_score(std::int64_t score) {
    return static_cast<int>(std::clamp<std::int64_t>(score, -MAX_PLAIN_SCORE, MAX_PLAIN_SCORE));
}

}  // namespace morvane
