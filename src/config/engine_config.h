// Every number that shapes the engine's play, in one flat record of 32-bit
// integers. Evaluation and search read g_config at the moment they need a
// value, so a configuration file loaded between games takes effect at once.
#pragma once

#include <string>
#include <vector>

namespace morvane {

// Default piece-square tables, indexed a1 = 0 .. h8 = 63 from White's side;
// Black reads square ^ 56.
extern const int pstPawnMg[64];
extern const int pstPawnEg[64];
extern const int pstKnightMg[64];
extern const int pstKnightEg[64];
extern const int pstBishopMg[64];
extern const int pstBishopEg[64];
extern const int pstRookMg[64];
extern const int pstRookEg[64];
extern const int pstQueenMg[64];
extern const int pstQueenEg[64];
extern const int pstKingMg[64];
extern const int pstKingEg[64];

struct EngineConfig {
    EngineConfig();

    // Material values
    int material_pawn = 100;
    int material_knight = 336;
    int material_bishop = 310;
    int material_rook = 503;
    int material_queen = 1005;

    // Move ordering and capture handling
    int capture_margin_tiered_enabled = 1;
    int capture_margin_low = -15;
    int capture_margin_high = -30;
    int capture_margin_value_threshold = 350;
    int countermove_enabled = 1;
    int countermove_bonus_score = 850000;
    int capture_history_enabled = 1;
    int recapture_bonus = 50000;
    int recapture_bonus_disabled_in_opening = 1;
    int history_malus_enabled = 1;
    int king_threat_bonus_enabled = 13;
    int king_threat_bonus_score = 30000;
    int king_threat_bonus_score_heavy_noncheck = 10000;
    int king_threat_bonus_score_zone_imbalance = 0;
    int king_threat_bonus_score_middlegame_check = 5000;
    int king_threat_bonus_score_middlegame_check_v10 = 10000;
    int king_threat_malus_v11 = -5000;
    int king_threat_bonus_light_v13 = 10000;
    int king_threat_material_imbalance_threshold = 400;

    // Pawn-count material adjustment
    int kaufman_enabled = 1;

    // Pawn-count adjustment of minor pieces; not reachable from a file.
    int kaufman_pawn_baseline = 16;
    int kaufman_knight_per_pawn = 6;
    int kaufman_bishop_per_pawn = 6;

    // Piece-square tables
    int pst_pawn_mg[64];
    int pst_pawn_eg[64];
    int pst_knight_mg[64];
    int pst_knight_eg[64];
    int pst_bishop_mg[64];
    int pst_bishop_eg[64];
    int pst_rook_mg[64];
    int pst_rook_eg[64];
    int pst_queen_mg[64];
    int pst_queen_eg[64];
    int pst_king_mg[64];
    int pst_king_eg[64];

    // Search pruning, reductions and aspiration
    int null_move_reduction = 2;
    int null_move_enabled = 1;
    int null_move_dynamic_enabled = 2;
    int rfp_max_depth = 6;
    int rfp_enabled = 1;
    int rfp_margin_per_depth = 90;
    int rfp_improving_margin_reduction = 45;
    int futility_max_depth = 6;
    int futility_enabled = 1;
    int exclude_checks_from_pruning_enabled = 1;
    int pv_node_protection_enabled = 1;
    int null_move_eval_filter_enabled = 1;
    int futility_margin_per_depth = 100;
    int razor_max_depth = 3;
    int razor_margin_per_depth = 200;
    int razor_enabled = 1;
    int lmr_min_depth = 3;
    int lmr_min_move_index = 3;
    int lmr_enabled = 1;
    int lmr_reduction_base = 1;
    int lmr_reduction_high_depth_threshold = 6;
    int lmr_reduction_high_movecount_threshold = 8;
    int lmr_reduction_high = 2;
    int lmr_dynamic_enabled = 5;
    int lmr_loglog_a_permille = 300;
    int lmr_loglog_b_permille = -200;
    int lmr_loglog_c_permille = -300;
    int lmr_loglog_d_permille = 800;
    int iir_enabled = 1;
    int iir_min_depth = 4;
    int aspiration_initial_delta = 20;

    // Pawn structure
    int pawn_structure_enabled = 1;
    int isolated_pawn_penalty_mg = 15;
    int isolated_pawn_penalty_eg = 1;
    int doubled_pawn_penalty_mg = 3;
    int doubled_pawn_penalty_eg = 25;
    int doubled_pawn_locked_penalty_mg = 5;
    int doubled_pawn_locked_penalty_eg = 8;
    int backward_pawn_penalty_mg = 5;
    int backward_pawn_penalty_eg = 3;
    int passed_pawn_bonus_mg[8] = {0, -28, -23, -9, -16, -55, -49, 0};
    int passed_pawn_bonus_eg[8] = {0, -27, -32, -7, 17, 81, 130, 0};
    int passed_pawn_free_bonus_mg = 5;
    int passed_pawn_free_bonus_eg = 34;
    int passed_pawn_supported_bonus_mg = 12;
    int passed_pawn_supported_bonus_eg = 9;
    int passed_pawn_connected_bonus_mg = -2;
    int passed_pawn_connected_bonus_eg = 11;
    int passed_pawn_outside_bonus_mg = -4;
    int passed_pawn_outside_bonus_eg = 15;
    int passed_pawn_candidate_bonus_mg = -7;
    int passed_pawn_candidate_bonus_eg = -3;
    int passed_pawn_king_distance_weight_eg = 11;

    // Mobility, rook files and pins
    int mobility_enabled = 1;
    int mobility_knight_mg = 6;
    int mobility_knight_eg = 6;
    int mobility_bishop_mg = 8;
    int mobility_bishop_eg = -2;
    int mobility_rook_mg = 2;
    int mobility_rook_eg = 3;
    int mobility_queen_mg = 3;
    int mobility_queen_eg = 1;
    int rook_open_files_enabled = 1;
    int rook_open_file_bonus_mg = 34;
    int rook_open_file_bonus_eg = 11;
    int rook_semi_open_file_bonus_mg = 26;
    int rook_semi_open_file_bonus_eg = -14;
    int pins_enabled = 1;
    int pin_knight_bonus_mg = 17;
    int pin_knight_bonus_eg = 54;
    int pin_bishop_bonus_mg = 3;
    int pin_bishop_bonus_eg = 60;
    int pin_rook_bonus_mg = 93;
    int pin_rook_bonus_eg = -104;
    int pin_queen_bonus_mg = 77;
    int pin_queen_bonus_eg = -104;
    int pin_attacked_bonus_mg = -13;
    int pin_attacked_bonus_eg = 46;

    // King shelter, storms, minority attack and king danger
    int king_shelter_enabled = 1;
    int king_shelter_bonus_per_pawn = 2;
    int king_open_file_penalty = 17;
    int king_storm_penalty_base = 2;
    int king_storm_penalty_per_rank_away = 9;
    int chain_storm_enabled = 1;
    int chain_storm_bonus_base = 20;
    int chain_storm_bonus_per_rank_away = 3;
    int chain_storm_no_queen_reduction_pct = 40;
    int chain_storm_no_rook_reduction_pct = 30;
    int king_safety_no_queen_blocked_reduction_pct = 30;
    int minority_attack_enabled = 1;
    int minority_attack_bonus_per_rank_mg = 4;
    int minority_attack_bonus_per_rank_eg = 2;
    int king_danger_enabled = 1;
    int king_danger_weight_knight = 18;
    int king_danger_weight_bishop = -3;
    int king_danger_weight_rook = -7;
    int king_danger_weight_queen = -3;
    int king_danger_xray_divisor = 1;
    int king_danger_safe_check_knight = 116;
    int king_danger_safe_check_bishop = 44;
    int king_danger_safe_check_rook = 72;
    int king_danger_safe_check_queen = 39;
    int king_danger_deflection_bonus = 15;
    int king_danger_no_queen_reduction_pct = 35;
    int king_danger_scale_mg_pct = 77;
    int king_danger_scale_eg_pct = 27;

    // Time management
    int time_long_game_threshold_moves = 60;
    int time_critical_increment_multiplier = 3;
    int time_increment_safety_margin_ms = 20;
    int time_predictive_growth_factor = 3;
    int time_phase_opening_min = 22;
    int time_phase_opening_max_moves = 12;
    int time_phase_opening_pawn_threshold = 15;
    int time_syzygy_zone_margin = 4;
    int time_movestogo_opening = 60;
    int time_movestogo_syzygy_zone = 40;
    int time_movestogo_middlegame = 20;
    int time_check_node_mask = 127;

    // Threats, space, initiative, piece pairs, imbalances, outposts, rook target files, king infiltration
    int threats_enabled = 1;
    int threat_by_pawn_minor_bonus = 17;
    int threat_by_pawn_major_bonus = 4;
    int hanging_piece_penalty_pct = 20;
    int threats_extended_enabled = 1;
    int threat_by_king_bonus = -7;
    int restricted_piece_bonus_mg = -8;
    int restricted_piece_bonus_eg = 16;
    int threat_safe_pawn_push_bonus = 12;
    int threat_fork_queen_knight_bonus = 8;
    int threat_fork_queen_bishop_rook_bonus = 5;
    int space_enabled = 1;
    int space_bonus_per_square = 2;
    int initiative_enabled = 1;
    int initiative_both_flanks_bonus = 33;
    int bishop_pair_bonus_mg = 77;
    int bishop_pair_bonus_eg = 3;
    int knight_pair_penalty_mg = -28;
    int knight_pair_penalty_eg = 43;
    int rook_pair_penalty_mg = -4;
    int rook_pair_penalty_eg = -1;
    int imbalance_rook_bishop_vs_queen_mg = 2;
    int imbalance_rook_bishop_vs_queen_eg = -59;
    int imbalance_rook_knight_vs_queen_mg = 78;
    int imbalance_rook_knight_vs_queen_eg = 9;
    int imbalance_two_knights_bishop_vs_queen_mg = 221;
    int imbalance_two_knights_bishop_vs_queen_eg = 233;
    int imbalance_two_bishops_knight_vs_queen_mg = 226;
    int imbalance_two_bishops_knight_vs_queen_eg = 235;
    int imbalance_bishop_pawn_vs_rook_mg = -4;
    int imbalance_bishop_pawn_vs_rook_eg = 10;
    int outposts_enabled = 1;
    int outpost_knight_bonus_mg = 32;
    int outpost_knight_bonus_eg = 20;
    int outpost_bishop_bonus_mg = -19;
    int outpost_bishop_bonus_eg = 27;
    int rook_target_files_enabled = 1;
    int rook_target_file_bonus_mg = 40;
    int rook_target_file_bonus_eg = 14;
    int king_infiltration_enabled = 1;
    int king_infiltration_rook_bonus_mg = 28;
    int king_infiltration_rook_bonus_eg = -7;
    int king_infiltration_queen_bonus_mg = 13;
    int king_infiltration_queen_bonus_eg = 34;
    int threat_see_enabled = 1;
    int threat_see_penalty_pct = 5;

    // Singular extensions
    int singular_extensions_enabled = 1;
    int singular_min_depth = 8;
    int singular_margin_per_depth = 2;
    int singular_reduction_divisor = 2;

    // Scaling and lazy evaluation
    int scale_factor_enabled = 1;
    int opposite_bishop_scale_pct = 36;
    int lazy_eval_enabled = 1;
    int lazy_eval_tier2_enabled = 1;
    int lazy_eval_margin_min = 150;
    int lazy_eval_margin_per_missing_phase = 11;
    int lazy_eval_min_phase = 10;
    int lazy_eval_tier1_enabled = 0;
    int lazy_eval_tier1_margin_min = 300;
    int lazy_eval_tier1_margin_per_missing_phase = 16;
    int lazy_eval_tier1_margin_per_missing_pawn = 11;

    // Late-move pruning, tablebase depth, loading
    int late_move_pruning_enabled = 1;
    int lmp_max_depth = 8;
    int lmp_base = 3;
    int lmp_depth_mult = 2;
    int syzygy_probe_depth = 1;
    int auto_rescale_on_load = 0;
};

static_assert(sizeof(EngineConfig) == 995 * sizeof(int));

// The process-wide parameters, holding the defaults before main runs.
extern EngineConfig g_config;

// One registered key: its name and the integers it covers in a record.
struct ConfigField {
    std::string name;
    int* ptr;
    int count;
};

// The registry of the named keys of `config`, in their fixed order.
std::vector<ConfigField> all_fields(EngineConfig& config);

}  // namespace morvane
