#include "config/safe_ranges.h"

#include <climits>
#include <iostream>

namespace morvane {

namespace {

enum class Match { Exact, Prefix, Suffix };

struct RangeRule {
    std::string_view text;
    Match match;
    SafeRange range;
};

// First matching rule wins. The bounds are wide enough for any tuning that
// still makes chess sense, and narrow enough that evaluation sums (a few
// dozen terms, each a weight times a count of at most 64), margins times
// depths, and move-ordering scores added to histories stay far from 2^31.
constexpr RangeRule Rules[] = {
    // Switches and variant selectors are only compared.
    {"_enabled", Match::Suffix, {INT_MIN, INT_MAX}},
    {"auto_rescale_on_load", Match::Exact, {INT_MIN, INT_MAX}},
    {"recapture_bonus_disabled_in_opening", Match::Exact, {INT_MIN, INT_MAX}},
    // Divisors of the clock: at least one move to go.
    {"time_movestogo_", Match::Prefix, {1, 10000}},
    // Added to the largest tablebase piece count and compared with a count.
    {"time_syzygy_zone_margin", Match::Exact, {-64, 64}},
    // Multiplied with clock times and iteration durations (64-bit).
    {"time_critical_increment_multiplier", Match::Exact, {0, 1000}},
    {"time_predictive_growth_factor", Match::Exact, {0, 1000}},
    {"time_increment_safety_margin_ms", Match::Exact, {0, 1000000}},
    // The stop flag and the clock are polled every mask + 1 nodes.
    {"time_check_node_mask", Match::Exact, {0, 65535}},
    {"time_", Match::Prefix, {-100000, 100000}},
    // Divisors and reductions of search depths.
    {"singular_reduction_divisor", Match::Exact, {1, 1000}},
    {"king_danger_xray_divisor", Match::Exact, {1, 1000}},
    {"null_move_reduction", Match::Exact, {0, 64}},
    {"lmr_reduction_base", Match::Exact, {0, 64}},
    {"lmr_reduction_high", Match::Exact, {0, 64}},
    {"lmr_loglog_", Match::Prefix, {-100000, 100000}},
    {"aspiration_initial_delta", Match::Exact, {1, 100000}},
    // Margins, multiplied by depths or by missing phase and pawns.
    {"_margin_per_depth", Match::Suffix, {-100000, 100000}},
    {"rfp_improving_margin_reduction", Match::Exact, {-100000, 100000}},
    {"lazy_eval_min_phase", Match::Exact, {-1000, 1000}},  // compared with the phase
    {"lazy_eval_", Match::Prefix, {-100000, 100000}},
    // Depths and move counts: compared, or squared in the late-move count.
    {"_depth", Match::Suffix, {-1000, 1000}},
    {"_threshold", Match::Suffix, {-100000, 100000}},
    {"lmr_min_move_index", Match::Exact, {0, 1000}},
    {"lmp_", Match::Prefix, {-10000, 10000}},
    // Percentages of a score.
    {"_pct", Match::Suffix, {-1000, 1000}},
    // Move-ordering scores, added to histories capped near a million.
    {"countermove_bonus_score", Match::Exact, {-10000000, 10000000}},
    {"recapture_bonus", Match::Exact, {-10000000, 10000000}},
    {"king_threat_", Match::Prefix, {-10000000, 10000000}},
    {"capture_margin_", Match::Prefix, {-100000, 100000}},
    // Piece values and every other score in centipawns.
    {"material_", Match::Prefix, {1, 10000}},
    {"", Match::Prefix, {-10000, 10000}},
};

bool matches(const RangeRule& rule, std::string_view key) {
    switch (rule.match) {
        case Match::Exact: return key == rule.text;
        case Match::Prefix: return key.starts_with(rule.text);
        case Match::Suffix: return key.ends_with(rule.text);
    }
    return false;
}

}  // namespace

SafeRange safe_range(std::string_view key) {
    for (const RangeRule& rule : Rules)
        if (matches(rule, key)) return rule.range;
    return {INT_MIN, INT_MAX};  // not reached: the last rule matches every key
}

int clamp_to_safe_ranges(const std::string& path, EngineConfig& config) {
    int corrections = 0;
    for (const ConfigField& field : all_fields(config)) {
        const SafeRange range = safe_range(field.name);
        for (int i = 0; i < field.count; ++i) {
            int& value = field.ptr[i];
            if (value >= range.min && value <= range.max) continue;
            const int bound = value < range.min ? range.min : range.max;
            const std::string name = field.count == 1 ? field.name : field.name + "[" + std::to_string(i) + "]";
            std::cerr << "info string " << path << " : \"" << name << "\" = " << value << " hors bornes, ramene a "
                      << bound << '\n';
            value = bound;
            ++corrections;
        }
    }
    return corrections;
}

}  // namespace morvane
