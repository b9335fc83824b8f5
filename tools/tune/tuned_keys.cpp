#include "tune/tuned_keys.h"

#include <algorithm>
#include <climits>

#include "core/types.h"

namespace morvane {

namespace {

// The families of evaluation keys, by prefix: material and tables, pawn
// structure, mobility and files, pins, king safety, threats, space and
// initiative, piece pairs, imbalances, outposts, king infiltration and the
// drawishness of opposite bishops. A listed family takes in any key the
// evaluation later gains under the same prefix.
constexpr std::string_view EvaluationPrefixes[] = {
    "material_",
    "pst_",
    "isolated_pawn_",
    "doubled_pawn_",
    "backward_pawn_",
    "passed_pawn_",
    "mobility_",
    "rook_open_file_",
    "rook_semi_open_file_",
    "pin_",
    "king_shelter_",
    "king_open_file_",
    "king_storm_",
    "chain_storm_",
    "king_safety_",
    "minority_attack_",
    "king_danger_",
    "threat_",
    "hanging_piece_",
    "restricted_piece_",
    "space_",
    "initiative_",
    "bishop_pair_",
    "knight_pair_",
    "rook_pair_",
    "imbalance_",
    "outpost_",
    "rook_target_file_",
    "king_infiltration_",
    "opposite_bishop_",
};

bool starts_with(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }
bool ends_with(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

int pst_piece_type(std::string_view key) {
    constexpr std::pair<std::string_view, int> Tables[] = {{"pst_pawn_", PAWN},     {"pst_knight_", KNIGHT},
                                                           {"pst_bishop_", BISHOP}, {"pst_rook_", ROOK},
                                                           {"pst_queen_", QUEEN},   {"pst_king_", KING}};
    for (const auto& [prefix, type] : Tables)
        if (starts_with(key, prefix)) return type;
    return 0;
}

}  // namespace

bool is_evaluation_weight(std::string_view key) {
    if (ends_with(key, "_enabled")) return false;
    return std::any_of(std::begin(EvaluationPrefixes), std::end(EvaluationPrefixes),
                       [&](std::string_view prefix) { return starts_with(key, prefix); });
}

bool is_nonlinear_weight(std::string_view key) {
    return starts_with(key, "king_danger_") || ends_with(key, "_pct") || ends_with(key, "_divisor");
}

ValueRange value_range(std::string_view key) {
    // A piece worth nothing or less breaks exchange evaluation and pruning.
    if (starts_with(key, "material_")) return {1, INT_MAX};
    if (ends_with(key, "_reduction_pct")) return {0, 100};
    if (ends_with(key, "_pct")) return {0, INT_MAX};
    if (ends_with(key, "_divisor")) return {1, INT_MAX};
    return {INT_MIN, INT_MAX};
}

std::vector<TunedParam> tuned_params(const std::vector<std::string>& only) {
    EngineConfig config;
    const std::vector<ConfigField> fields = all_fields(config);
    std::vector<TunedParam> params;
    for (int f = 0; f < static_cast<int>(fields.size()); ++f) {
        const std::string& key = fields[f].name;
        if (!is_evaluation_weight(key)) continue;
        if (!only.empty() && std::find(only.begin(), only.end(), key) == only.end()) continue;
        for (int e = 0; e < fields[f].count; ++e)
            params.push_back({key, f, e, pst_piece_type(key), is_nonlinear_weight(key), value_range(key)});
    }
    return params;
}

std::vector<int*> param_pointers(EngineConfig& config, const std::vector<TunedParam>& params) {
    const std::vector<ConfigField> fields = all_fields(config);
    std::vector<int*> pointers;
    pointers.reserve(params.size());
    for (const TunedParam& p : params) pointers.push_back(fields[p.field].ptr + p.element);
    return pointers;
}

}  // namespace morvane
