#include <gtest/gtest.h>

#include <map>
#include <set>

#include "config/engine_config.h"
#include "core/types.h"

using namespace morvane;

namespace {

// The default values as published for users, transcribed once: scalars and
// short arrays by key, piece-square tables as printed, rank 8 first.
struct Expected {
    const char* name;
    std::vector<int> values;
};

const std::vector<Expected> ExpectedDefaults = {
    {"material_pawn", {100}},
    {"material_knight", {336}},
    {"material_bishop", {310}},
    {"material_rook", {503}},
    {"material_queen", {1005}},
    {"capture_margin_tiered_enabled", {1}},
    {"capture_margin_low", {-15}},
    {"capture_margin_high", {-30}},
    {"capture_margin_value_threshold", {350}},
    {"countermove_enabled", {1}},
    {"countermove_bonus_score", {850000}},
    {"capture_history_enabled", {1}},
    {"recapture_bonus", {50000}},
    {"recapture_bonus_disabled_in_opening", {1}},
    {"history_malus_enabled", {1}},
    {"king_threat_bonus_enabled", {13}},
    {"king_threat_bonus_score", {30000}},
    {"king_threat_bonus_score_heavy_noncheck", {10000}},
    {"king_threat_bonus_score_zone_imbalance", {0}},
    {"king_threat_bonus_score_middlegame_check", {5000}},
    {"king_threat_bonus_score_middlegame_check_v10", {10000}},
    {"king_threat_malus_v11", {-5000}},
    {"king_threat_bonus_light_v13", {10000}},
    {"king_threat_material_imbalance_threshold", {400}},
    {"kaufman_enabled", {1}},
    {"null_move_reduction", {2}},
    {"null_move_enabled", {1}},
    {"null_move_dynamic_enabled", {2}},
    {"rfp_max_depth", {6}},
    {"rfp_enabled", {1}},
    {"rfp_margin_per_depth", {90}},
    {"rfp_improving_margin_reduction", {45}},
    {"futility_max_depth", {6}},
    {"futility_enabled", {1}},
    {"exclude_checks_from_pruning_enabled", {1}},
    {"pv_node_protection_enabled", {1}},
    {"null_move_eval_filter_enabled", {1}},
    {"futility_margin_per_depth", {100}},
    {"razor_max_depth", {3}},
    {"razor_enabled", {1}},
    {"razor_margin_per_depth", {200}},
    {"lmr_min_depth", {3}},
    {"lmr_min_move_index", {3}},
    {"lmr_reduction_base", {1}},
    {"lmr_enabled", {1}},
    {"lmr_reduction_high_depth_threshold", {6}},
    {"lmr_reduction_high_movecount_threshold", {8}},
    {"lmr_reduction_high", {2}},
    {"lmr_dynamic_enabled", {5}},
    {"lmr_loglog_a_permille", {300}},
    {"lmr_loglog_b_permille", {-200}},
    {"lmr_loglog_c_permille", {-300}},
    {"lmr_loglog_d_permille", {800}},
    {"iir_min_depth", {4}},
    {"iir_enabled", {1}},
    {"aspiration_initial_delta", {20}},
    {"pawn_structure_enabled", {1}},
    {"isolated_pawn_penalty_mg", {15}},
    {"isolated_pawn_penalty_eg", {1}},
    {"doubled_pawn_penalty_mg", {3}},
    {"doubled_pawn_penalty_eg", {25}},
    {"doubled_pawn_locked_penalty_mg", {5}},
    {"doubled_pawn_locked_penalty_eg", {8}},
    {"backward_pawn_penalty_mg", {5}},
    {"backward_pawn_penalty_eg", {3}},
    {"passed_pawn_bonus_mg", {0, -28, -23, -9, -16, -55, -49, 0}},
    {"passed_pawn_bonus_eg", {0, -27, -32, -7, 17, 81, 130, 0}},
    {"passed_pawn_free_bonus_mg", {5}},
    {"passed_pawn_free_bonus_eg", {34}},
    {"passed_pawn_supported_bonus_mg", {12}},
    {"passed_pawn_supported_bonus_eg", {9}},
    {"passed_pawn_connected_bonus_mg", {-2}},
    {"passed_pawn_connected_bonus_eg", {11}},
    {"passed_pawn_outside_bonus_mg", {-4}},
    {"passed_pawn_outside_bonus_eg", {15}},
    {"passed_pawn_candidate_bonus_mg", {-7}},
    {"passed_pawn_candidate_bonus_eg", {-3}},
    {"passed_pawn_king_distance_weight_eg", {11}},
    {"mobility_enabled", {1}},
    {"mobility_knight_mg", {6}},
    {"mobility_knight_eg", {6}},
    {"mobility_bishop_mg", {8}},
    {"mobility_bishop_eg", {-2}},
    {"mobility_rook_mg", {2}},
    {"mobility_rook_eg", {3}},
    {"mobility_queen_mg", {3}},
    {"mobility_queen_eg", {1}},
    {"rook_open_files_enabled", {1}},
    {"rook_open_file_bonus_mg", {34}},
    {"rook_open_file_bonus_eg", {11}},
    {"rook_semi_open_file_bonus_mg", {26}},
    {"rook_semi_open_file_bonus_eg", {-14}},
    {"pins_enabled", {1}},
    {"pin_knight_bonus_mg", {17}},
    {"pin_knight_bonus_eg", {54}},
    {"pin_bishop_bonus_mg", {3}},
    {"pin_bishop_bonus_eg", {60}},
    {"pin_rook_bonus_mg", {93}},
    {"pin_rook_bonus_eg", {-104}},
    {"pin_queen_bonus_mg", {77}},
    {"pin_queen_bonus_eg", {-104}},
    {"pin_attacked_bonus_mg", {-13}},
    {"pin_attacked_bonus_eg", {46}},
    {"king_shelter_enabled", {1}},
    {"king_shelter_bonus_per_pawn", {2}},
    {"king_open_file_penalty", {17}},
    {"king_storm_penalty_base", {2}},
    {"king_storm_penalty_per_rank_away", {9}},
    {"chain_storm_enabled", {1}},
    {"chain_storm_bonus_base", {20}},
    {"chain_storm_bonus_per_rank_away", {3}},
    {"chain_storm_no_queen_reduction_pct", {40}},
    {"chain_storm_no_rook_reduction_pct", {30}},
    {"king_safety_no_queen_blocked_reduction_pct", {30}},
    {"minority_attack_enabled", {1}},
    {"minority_attack_bonus_per_rank_mg", {4}},
    {"minority_attack_bonus_per_rank_eg", {2}},
    {"king_danger_enabled", {1}},
    {"king_danger_weight_knight", {18}},
    {"king_danger_weight_bishop", {-3}},
    {"king_danger_weight_rook", {-7}},
    {"king_danger_weight_queen", {-3}},
    {"king_danger_xray_divisor", {1}},
    {"king_danger_safe_check_knight", {116}},
    {"king_danger_safe_check_bishop", {44}},
    {"king_danger_safe_check_rook", {72}},
    {"king_danger_safe_check_queen", {39}},
    {"king_danger_deflection_bonus", {15}},
    {"king_danger_no_queen_reduction_pct", {35}},
    {"king_danger_scale_mg_pct", {77}},
    {"king_danger_scale_eg_pct", {27}},
    {"time_long_game_threshold_moves", {60}},
    {"time_critical_increment_multiplier", {3}},
    {"time_increment_safety_margin_ms", {20}},
    {"time_predictive_growth_factor", {3}},
    {"time_phase_opening_min", {22}},
    {"time_phase_opening_max_moves", {12}},
    {"time_phase_opening_pawn_threshold", {15}},
    {"time_syzygy_zone_margin", {4}},
    {"time_movestogo_opening", {60}},
    {"time_movestogo_syzygy_zone", {40}},
    {"time_movestogo_middlegame", {20}},
    {"time_check_node_mask", {127}},
    {"threats_enabled", {1}},
    {"threat_by_pawn_minor_bonus", {17}},
    {"threat_by_pawn_major_bonus", {4}},
    {"hanging_piece_penalty_pct", {20}},
    {"threats_extended_enabled", {1}},
    {"threat_by_king_bonus", {-7}},
    {"restricted_piece_bonus_mg", {-8}},
    {"restricted_piece_bonus_eg", {16}},
    {"threat_safe_pawn_push_bonus", {12}},
    {"threat_fork_queen_knight_bonus", {8}},
    {"threat_fork_queen_bishop_rook_bonus", {5}},
    {"space_enabled", {1}},
    {"space_bonus_per_square", {2}},
    {"initiative_enabled", {1}},
    {"initiative_both_flanks_bonus", {33}},
    {"bishop_pair_bonus_mg", {77}},
    {"bishop_pair_bonus_eg", {3}},
    {"knight_pair_penalty_mg", {-28}},
    {"knight_pair_penalty_eg", {43}},
    {"rook_pair_penalty_mg", {-4}},
    {"rook_pair_penalty_eg", {-1}},
    {"imbalance_rook_bishop_vs_queen_mg", {2}},
    {"imbalance_rook_bishop_vs_queen_eg", {-59}},
    {"imbalance_rook_knight_vs_queen_mg", {78}},
    {"imbalance_rook_knight_vs_queen_eg", {9}},
    {"imbalance_two_knights_bishop_vs_queen_mg", {221}},
    {"imbalance_two_knights_bishop_vs_queen_eg", {233}},
    {"imbalance_two_bishops_knight_vs_queen_mg", {226}},
    {"imbalance_two_bishops_knight_vs_queen_eg", {235}},
    {"imbalance_bishop_pawn_vs_rook_mg", {-4}},
    {"imbalance_bishop_pawn_vs_rook_eg", {10}},
    {"outposts_enabled", {1}},
    {"outpost_knight_bonus_mg", {32}},
    {"outpost_knight_bonus_eg", {20}},
    {"outpost_bishop_bonus_mg", {-19}},
    {"outpost_bishop_bonus_eg", {27}},
    {"rook_target_files_enabled", {1}},
    {"rook_target_file_bonus_mg", {40}},
    {"rook_target_file_bonus_eg", {14}},
    {"king_infiltration_enabled", {1}},
    {"king_infiltration_rook_bonus_mg", {28}},
    {"king_infiltration_rook_bonus_eg", {-7}},
    {"king_infiltration_queen_bonus_mg", {13}},
    {"king_infiltration_queen_bonus_eg", {34}},
    {"threat_see_enabled", {1}},
    {"threat_see_penalty_pct", {5}},
    {"singular_extensions_enabled", {1}},
    {"singular_min_depth", {8}},
    {"singular_margin_per_depth", {2}},
    {"singular_reduction_divisor", {2}},
    {"scale_factor_enabled", {1}},
    {"opposite_bishop_scale_pct", {36}},
    {"lazy_eval_enabled", {1}},
    {"lazy_eval_tier2_enabled", {1}},
    {"lazy_eval_margin_min", {150}},
    {"lazy_eval_margin_per_missing_phase", {11}},
    {"lazy_eval_min_phase", {10}},
    {"lazy_eval_tier1_enabled", {0}},
    {"lazy_eval_tier1_margin_min", {300}},
    {"lazy_eval_tier1_margin_per_missing_phase", {16}},
    {"lazy_eval_tier1_margin_per_missing_pawn", {11}},
    {"late_move_pruning_enabled", {1}},
    {"lmp_max_depth", {8}},
    {"lmp_base", {3}},
    {"lmp_depth_mult", {2}},
    {"syzygy_probe_depth", {1}},
    {"auto_rescale_on_load", {0}},
};

const std::map<std::string, std::vector<int>> ExpectedTablesAsPrinted = {
    {"pst_pawn_mg", {0, 0, 0, 0, 0, 0, 0, 0, 56, -6, 8, 75, 10, 33, 10, 58, 16, 36, 39, 32, 38, 67, 11, 0, 6, 8, 4, 18, 14, 2, -14, -2, -10, -10, 2, 16, 12, 6, -22, -30, -14, -18, 0, -6, 4, -4, 6, -6, -6, 0, -4, -14, -4, 20, 22, 2, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"pst_pawn_eg", {0, 0, 0, 0, 0, 0, 0, 0, 40, 60, 50, 24, 15, 40, 33, 47, 24, 24, 23, 16, 6, 24, 17, 32, 10, 10, 6, 2, 8, 12, 8, 8, -4, 0, -2, 0, -2, -4, 0, -6, -2, 2, -2, 8, 2, 4, 0, -2, -2, 0, 4, 2, 0, 6, 6, -8, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"pst_knight_mg", {-148, -76, -87, -76, 67, -95, -82, -109, -69, -42, 50, -36, 52, 44, -18, -49, -10, 8, -6, 39, 64, 117, -12, 23, 31, 22, 18, 24, 20, 11, 20, 24, 2, 5, 26, 22, 22, 29, -14, -7, -21, 2, 17, 30, 18, 25, 26, -24, -22, 14, 18, 18, 20, 20, -5, 12, -71, -16, -48, -14, -19, -4, -22, -64}},
    {"pst_knight_eg", {-52, -53, -14, -4, -10, -16, -8, -84, -9, -10, -14, -6, -2, -9, 9, -23, -16, -6, 2, 6, 4, 8, 0, -4, 4, 12, 10, 18, 8, 14, 2, -12, 4, 15, 10, 10, 20, 12, 8, -2, -18, 0, -4, 13, 9, 4, -2, -2, -9, -16, -5, 2, 0, 2, -12, 0, -14, -10, 6, 8, 0, 2, -4, 10}},
    {"pst_bishop_mg", {-6, -72, -14, -72, -85, -38, -20, -71, -60, -30, -32, -1, -41, 46, -5, 13, -35, 0, 35, 16, 11, 50, 48, 17, -13, 3, 14, 22, 24, -12, 12, 9, -17, -7, 2, 36, 10, 0, -3, -12, 15, 16, 14, 6, 12, 19, 14, 24, -42, 29, -4, -3, 13, 41, 39, 4, -3, 8, 3, 0, -6, -13, -24, 7}},
    {"pst_bishop_eg", {-17, -16, -37, -22, -11, -9, -28, -15, -20, -7, -12, -11, 7, 4, -3, -30, 1, 6, 1, 10, 19, 16, -4, -3, 6, 3, 6, 21, 21, 12, 12, -9, -24, 1, 6, 19, 19, 14, 11, -20, -14, 2, 3, 10, 10, 7, 2, -15, -20, -1, -2, 1, 1, 4, 3, 2, -15, -26, -11, 0, -12, -11, -19, -27}},
    {"pst_rook_mg", {40, 22, -22, 24, 50, 39, 10, -1, 4, -10, 16, 16, -8, 78, 42, -4, 11, -8, -26, 20, 32, 9, 30, -1, -18, 6, -2, 6, 4, 28, 20, -9, -26, -6, -16, -20, -14, 12, -16, -24, -20, -28, -16, -14, -12, -1, 40, 29, -24, -26, -12, -8, -11, 12, 0, -50, -6, 2, 8, 8, 16, 18, -12, 8}},
    {"pst_rook_eg", {5, 2, 0, 9, 8, 2, -2, 2, 4, 6, 4, 4, -4, 12, 8, 12, 3, 8, 4, 10, -10, 7, 6, -2, 5, 0, -4, -6, 2, 12, -4, -2, 2, -2, -6, 2, 2, 2, 16, -6, -4, 8, -4, -2, 2, -1, -16, -27, 8, -3, 2, 4, -4, -6, 6, -17, 4, 0, 0, 2, -4, 0, 2, -2}},
    {"pst_queen_mg", {-44, 31, -14, 93, 26, 35, 75, 28, -24, -33, -30, -36, -31, 48, -6, 90, -28, -35, 2, 10, 29, 37, 5, 17, -8, -12, -10, -16, 6, -5, 28, 8, -2, -13, -10, -15, -8, 5, 26, 2, -28, 8, 11, 4, 7, 12, 6, 4, -2, 10, 10, 16, 20, 30, 18, -3, -17, -4, 7, 10, -6, -6, -37, -2}},
    {"pst_queen_eg", {-16, 2, 10, -7, -6, 3, -5, -8, 0, -22, 6, 10, -3, 16, -8, -46, -4, -20, 6, 2, 19, 12, 13, -13, -18, 6, 14, 14, -4, 20, 12, -14, -16, 17, 28, 11, 24, 11, 22, -4, -21, 2, 14, 14, 14, 10, 12, -2, 1, 0, -8, 4, 6, -14, -2, 1, -8, 6, 10, -6, 12, -4, 8, -14}},
    {"pst_king_mg", {-46, 15, 53, -5, 37, 54, 64, -90, -52, -4, -3, -26, 0, 23, 40, 19, -38, 50, -6, 14, -6, 44, 40, 7, -38, -20, -42, -22, -84, 21, -9, -27, -23, -26, -14, -46, -38, -28, -54, -48, 10, -3, -8, -24, -27, 2, -20, -16, -79, -25, -4, -36, -30, 0, 10, 8, -27, 16, 18, -38, 6, -26, 22, 0}},
    {"pst_king_eg", {-78, 28, -3, -1, 11, 32, -1, -80, 16, 30, 42, -3, 38, 35, 20, 10, 18, 28, 39, 34, 43, 41, 46, 17, -2, 34, 38, 50, 44, 40, 44, 20, -2, 28, 40, 48, 46, 44, 34, 20, 15, 26, 36, 42, 48, 36, 32, 16, 6, 25, 32, 34, 36, 32, 24, 8, -3, 4, 14, 18, 24, 12, 6, -8}},
};

}  // namespace

TEST(EngineConfig, RegistryListsEveryKeyOnceInOrder) {
    EngineConfig config;
    const auto fields = all_fields(config);
    ASSERT_EQ(fields.size(), 222u);
    EXPECT_EQ(fields.front().name, "material_pawn");
    EXPECT_EQ(fields.back().name, "auto_rescale_on_load");
    int covered = 0;
    std::set<std::string> names;
    for (const auto& f : fields) {
        covered += f.count;
        names.insert(f.name);
        EXPECT_GE(f.ptr, reinterpret_cast<int*>(&config));
        EXPECT_LE(f.ptr + f.count, reinterpret_cast<int*>(&config + 1));
        EXPECT_EQ(f.count, f.name.rfind("pst_", 0) == 0 ? 64 : f.name.rfind("passed_pawn_bonus_", 0) == 0 ? 8 : 1)
            << f.name;
    }
    EXPECT_EQ(names.size(), 222u);
    EXPECT_EQ(covered + 3, 995);  // the three pawn-count members are not registered
    EXPECT_FALSE(names.count("kaufman_pawn_baseline"));
}

TEST(EngineConfig, EveryDefaultMatchesThePublishedTables) {
    EngineConfig config;
    std::map<std::string, ConfigField> byName;
    for (const auto& f : all_fields(config)) byName.emplace(f.name, f);
    for (const auto& e : ExpectedDefaults) {
        const ConfigField& f = byName.at(e.name);
        ASSERT_EQ(static_cast<std::size_t>(f.count), e.values.size()) << e.name;
        for (int i = 0; i < f.count; ++i) EXPECT_EQ(f.ptr[i], e.values[i]) << e.name << '[' << i << ']';
    }
    for (const auto& [name, printed] : ExpectedTablesAsPrinted) {
        const ConfigField& f = byName.at(name);
        for (Square s = 0; s < 64; ++s) {
            const int printedIndex = (7 - rank_of(s)) * 8 + file_of(s);
            EXPECT_EQ(f.ptr[s], printed[printedIndex]) << name << " square " << s;
        }
    }
    EXPECT_EQ(config.kaufman_pawn_baseline, 16);
    EXPECT_EQ(config.kaufman_knight_per_pawn, 6);
    EXPECT_EQ(config.kaufman_bishop_per_pawn, 6);
    // Black reads the mirrored entry: a black knight on g8 reads g1.
    EXPECT_EQ(config.pst_knight_mg[62 ^ 56], -22);
    EXPECT_EQ(config.pst_knight_mg[62], -82);
}
