// Which configuration keys the evaluation tuner changes, and how. Only the
// evaluation's weights are fitted to game results; switches are decided by
// playing games, and search, time and move-ordering keys do not change the
// static score at all.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "config/engine_config.h"

namespace morvane {

// A weight of the static evaluation (never a switch).
bool is_evaluation_weight(std::string_view key);

// A weight whose effect on the score is not a fixed multiple of its value
// in a given position: percentages and divisors scale other terms, and every
// king-danger weight feeds a total that passes through percentages.
bool is_nonlinear_weight(std::string_view key);

// The values the engine accepts without correcting them on load, and that
// keep each term meaning what it says (a reduction of at most 100 %).
struct ValueRange {
    int lo, hi;
};
ValueRange value_range(std::string_view key);

// One tuned integer: element `element` of registry key `key`.
struct TunedParam {
    std::string key;
    int field;  // index of the key in all_fields
    int element;
    int pieceType;  // for a piece-square entry, its piece; otherwise 0
    bool nonlinear;
    ValueRange range;
};

// The evaluation weights in registry order, restricted to the keys of
// `only` when it is not empty (unknown or non-evaluation names are ignored).
std::vector<TunedParam> tuned_params(const std::vector<std::string>& only = {});

// Where each parameter lives in `config`.
std::vector<int*> param_pointers(EngineConfig& config, const std::vector<TunedParam>& params);

}  // namespace morvane
