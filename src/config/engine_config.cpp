#include "config/engine_config.h"

#include <algorithm>

namespace morvane {

const int pstPawnMg[64] = {
       0,    0,    0,    0,    0,    0,    0,    0,  // rank 1
      -6,    0,   -4,  -14,   -4,   20,   22,    2,  // rank 2
     -14,  -18,    0,   -6,    4,   -4,    6,   -6,  // rank 3
     -10,  -10,    2,   16,   12,    6,  -22,  -30,  // rank 4
       6,    8,    4,   18,   14,    2,  -14,   -2,  // rank 5
      16,   36,   39,   32,   38,   67,   11,    0,  // rank 6
      56,   -6,    8,   75,   10,   33,   10,   58,  // rank 7
       0,    0,    0,    0,    0,    0,    0,    0,  // rank 8
};

const int pstPawnEg[64] = {
       0,    0,    0,    0,    0,    0,    0,    0,  // rank 1
      -2,    0,    4,    2,    0,    6,    6,   -8,  // rank 2
      -2,    2,   -2,    8,    2,    4,    0,   -2,  // rank 3
      -4,    0,   -2,    0,   -2,   -4,    0,   -6,  // rank 4
      10,   10,    6,    2,    8,   12,    8,    8,  // rank 5
      24,   24,   23,   16,    6,   24,   17,   32,  // rank 6
      40,   60,   50,   24,   15,   40,   33,   47,  // rank 7
       0,    0,    0,    0,    0,    0,    0,    0,  // rank 8
};

const int pstKnightMg[64] = {
     -71,  -16,  -48,  -14,  -19,   -4,  -22,  -64,  // rank 1
     -22,   14,   18,   18,   20,   20,   -5,   12,  // rank 2
     -21,    2,   17,   30,   18,   25,   26,  -24,  // rank 3
       2,    5,   26,   22,   22,   29,  -14,   -7,  // rank 4
      31,   22,   18,   24,   20,   11,   20,   24,  // rank 5
     -10,    8,   -6,   39,   64,  117,  -12,   23,  // rank 6
     -69,  -42,   50,  -36,   52,   44,  -18,  -49,  // rank 7
    -148,  -76,  -87,  -76,   67,  -95,  -82, -109,  // rank 8
};

const int pstKnightEg[64] = {
     -14,  -10,    6,    8,    0,    2,   -4,   10,  // rank 1
      -9,  -16,   -5,    2,    0,    2,  -12,    0,  // rank 2
     -18,    0,   -4,   13,    9,    4,   -2,   -2,  // rank 3
       4,   15,   10,   10,   20,   12,    8,   -2,  // rank 4
       4,   12,   10,   18,    8,   14,    2,  -12,  // rank 5
     -16,   -6,    2,    6,    4,    8,    0,   -4,  // rank 6
      -9,  -10,  -14,   -6,   -2,   -9,    9,  -23,  // rank 7
     -52,  -53,  -14,   -4,  -10,  -16,   -8,  -84,  // rank 8
};

const int pstBishopMg[64] = {
      -3,    8,    3,    0,   -6,  -13,  -24,    7,  // rank 1
     -42,   29,   -4,   -3,   13,   41,   39,    4,  // rank 2
      15,   16,   14,    6,   12,   19,   14,   24,  // rank 3
     -17,   -7,    2,   36,   10,    0,   -3,  -12,  // rank 4
     -13,    3,   14,   22,   24,  -12,   12,    9,  // rank 5
     -35,    0,   35,   16,   11,   50,   48,   17,  // rank 6
     -60,  -30,  -32,   -1,  -41,   46,   -5,   13,  // rank 7
      -6,  -72,  -14,  -72,  -85,  -38,  -20,  -71,  // rank 8
};

const int pstBishopEg[64] = {
     -15,  -26,  -11,    0,  -12,  -11,  -19,  -27,  // rank 1
     -20,   -1,   -2,    1,    1,    4,    3,    2,  // rank 2
     -14,    2,    3,   10,   10,    7,    2,  -15,  // rank 3
     -24,    1,    6,   19,   19,   14,   11,  -20,  // rank 4
       6,    3,    6,   21,   21,   12,   12,   -9,  // rank 5
       1,    6,    1,   10,   19,   16,   -4,   -3,  // rank 6
     -20,   -7,  -12,  -11,    7,    4,   -3,  -30,  // rank 7
     -17,  -16,  -37,  -22,  -11,   -9,  -28,  -15,  // rank 8
};

const int pstRookMg[64] = {
      -6,    2,    8,    8,   16,   18,  -12,    8,  // rank 1
     -24,  -26,  -12,   -8,  -11,   12,    0,  -50,  // rank 2
     -20,  -28,  -16,  -14,  -12,   -1,   40,   29,  // rank 3
     -26,   -6,  -16,  -20,  -14,   12,  -16,  -24,  // rank 4
     -18,    6,   -2,    6,    4,   28,   20,   -9,  // rank 5
      11,   -8,  -26,   20,   32,    9,   30,   -1,  // rank 6
       4,  -10,   16,   16,   -8,   78,   42,   -4,  // rank 7
      40,   22,  -22,   24,   50,   39,   10,   -1,  // rank 8
};

const int pstRookEg[64] = {
       4,    0,    0,    2,   -4,    0,    2,   -2,  // rank 1
       8,   -3,    2,    4,   -4,   -6,    6,  -17,  // rank 2
      -4,    8,   -4,   -2,    2,   -1,  -16,  -27,  // rank 3
       2,   -2,   -6,    2,    2,    2,   16,   -6,  // rank 4
       5,    0,   -4,   -6,    2,   12,   -4,   -2,  // rank 5
       3,    8,    4,   10,  -10,    7,    6,   -2,  // rank 6
       4,    6,    4,    4,   -4,   12,    8,   12,  // rank 7
       5,    2,    0,    9,    8,    2,   -2,    2,  // rank 8
};

const int pstQueenMg[64] = {
     -17,   -4,    7,   10,   -6,   -6,  -37,   -2,  // rank 1
      -2,   10,   10,   16,   20,   30,   18,   -3,  // rank 2
     -28,    8,   11,    4,    7,   12,    6,    4,  // rank 3
      -2,  -13,  -10,  -15,   -8,    5,   26,    2,  // rank 4
      -8,  -12,  -10,  -16,    6,   -5,   28,    8,  // rank 5
     -28,  -35,    2,   10,   29,   37,    5,   17,  // rank 6
     -24,  -33,  -30,  -36,  -31,   48,   -6,   90,  // rank 7
     -44,   31,  -14,   93,   26,   35,   75,   28,  // rank 8
};

const int pstQueenEg[64] = {
      -8,    6,   10,   -6,   12,   -4,    8,  -14,  // rank 1
       1,    0,   -8,    4,    6,  -14,   -2,    1,  // rank 2
     -21,    2,   14,   14,   14,   10,   12,   -2,  // rank 3
     -16,   17,   28,   11,   24,   11,   22,   -4,  // rank 4
     -18,    6,   14,   14,   -4,   20,   12,  -14,  // rank 5
      -4,  -20,    6,    2,   19,   12,   13,  -13,  // rank 6
       0,  -22,    6,   10,   -3,   16,   -8,  -46,  // rank 7
     -16,    2,   10,   -7,   -6,    3,   -5,   -8,  // rank 8
};

const int pstKingMg[64] = {
     -27,   16,   18,  -38,    6,  -26,   22,    0,  // rank 1
     -79,  -25,   -4,  -36,  -30,    0,   10,    8,  // rank 2
      10,   -3,   -8,  -24,  -27,    2,  -20,  -16,  // rank 3
     -23,  -26,  -14,  -46,  -38,  -28,  -54,  -48,  // rank 4
     -38,  -20,  -42,  -22,  -84,   21,   -9,  -27,  // rank 5
     -38,   50,   -6,   14,   -6,   44,   40,    7,  // rank 6
     -52,   -4,   -3,  -26,    0,   23,   40,   19,  // rank 7
     -46,   15,   53,   -5,   37,   54,   64,  -90,  // rank 8
};

const int pstKingEg[64] = {
      -3,    4,   14,   18,   24,   12,    6,   -8,  // rank 1
       6,   25,   32,   34,   36,   32,   24,    8,  // rank 2
      15,   26,   36,   42,   48,   36,   32,   16,  // rank 3
      -2,   28,   40,   48,   46,   44,   34,   20,  // rank 4
      -2,   34,   38,   50,   44,   40,   44,   20,  // rank 5
      18,   28,   39,   34,   43,   41,   46,   17,  // rank 6
      16,   30,   42,   -3,   38,   35,   20,   10,  // rank 7
     -78,   28,   -3,   -1,   11,   32,   -1,  -80,  // rank 8
};

EngineConfig::EngineConfig() {
    std::copy(std::begin(pstPawnMg), std::end(pstPawnMg), pst_pawn_mg);
    std::copy(std::begin(pstPawnEg), std::end(pstPawnEg), pst_pawn_eg);
    std::copy(std::begin(pstKnightMg), std::end(pstKnightMg), pst_knight_mg);
    std::copy(std::begin(pstKnightEg), std::end(pstKnightEg), pst_knight_eg);
    std::copy(std::begin(pstBishopMg), std::end(pstBishopMg), pst_bishop_mg);
    std::copy(std::begin(pstBishopEg), std::end(pstBishopEg), pst_bishop_eg);
    std::copy(std::begin(pstRookMg), std::end(pstRookMg), pst_rook_mg);
    std::copy(std::begin(pstRookEg), std::end(pstRookEg), pst_rook_eg);
    std::copy(std::begin(pstQueenMg), std::end(pstQueenMg), pst_queen_mg);
    std::copy(std::begin(pstQueenEg), std::end(pstQueenEg), pst_queen_eg);
    std::copy(std::begin(pstKingMg), std::end(pstKingMg), pst_king_mg);
    std::copy(std::begin(pstKingEg), std::end(pstKingEg), pst_king_eg);
}

EngineConfig g_config;

std::vector<ConfigField> all_fields(EngineConfig& c) {
    return {
        {"material_pawn", &c.material_pawn, 1},
        {"material_knight", &c.material_knight, 1},
        {"material_bishop", &c.material_bishop, 1},
        {"material_rook", &c.material_rook, 1},
        {"material_queen", &c.material_queen, 1},
        {"capture_margin_tiered_enabled", &c.capture_margin_tiered_enabled, 1},
        {"capture_margin_low", &c.capture_margin_low, 1},
        {"capture_margin_high", &c.capture_margin_high, 1},
        {"capture_margin_value_threshold", &c.capture_margin_value_threshold, 1},
        {"countermove_enabled", &c.countermove_enabled, 1},
        {"countermove_bonus_score", &c.countermove_bonus_score, 1},
        {"capture_history_enabled", &c.capture_history_enabled, 1},
        {"recapture_bonus", &c.recapture_bonus, 1},
        {"recapture_bonus_disabled_in_opening", &c.recapture_bonus_disabled_in_opening, 1},
        {"history_malus_enabled", &c.history_malus_enabled, 1},
        {"king_threat_bonus_enabled", &c.king_threat_bonus_enabled, 1},
        {"king_threat_bonus_score", &c.king_threat_bonus_score, 1},
        {"king_threat_bonus_score_heavy_noncheck", &c.king_threat_bonus_score_heavy_noncheck, 1},
        {"king_threat_bonus_score_zone_imbalance", &c.king_threat_bonus_score_zone_imbalance, 1},
        {"king_threat_bonus_score_middlegame_check", &c.king_threat_bonus_score_middlegame_check, 1},
        {"king_threat_bonus_score_middlegame_check_v10", &c.king_threat_bonus_score_middlegame_check_v10, 1},
        {"king_threat_malus_v11", &c.king_threat_malus_v11, 1},
        {"king_threat_bonus_light_v13", &c.king_threat_bonus_light_v13, 1},
        {"king_threat_material_imbalance_threshold", &c.king_threat_material_imbalance_threshold, 1},
        {"kaufman_enabled", &c.kaufman_enabled, 1},
        {"pst_pawn_mg", c.pst_pawn_mg, 64},
        {"pst_pawn_eg", c.pst_pawn_eg, 64},
        {"pst_knight_mg", c.pst_knight_mg, 64},
        {"pst_knight_eg", c.pst_knight_eg, 64},
        {"pst_bishop_mg", c.pst_bishop_mg, 64},
        {"pst_bishop_eg", c.pst_bishop_eg, 64},
        {"pst_rook_mg", c.pst_rook_mg, 64},
        {"pst_rook_eg", c.pst_rook_eg, 64},
        {"pst_queen_mg", c.pst_queen_mg, 64},
        {"pst_queen_eg", c.pst_queen_eg, 64},
        {"pst_king_mg", c.pst_king_mg, 64},
        {"pst_king_eg", c.pst_king_eg, 64},
        {"null_move_reduction", &c.null_move_reduction, 1},
        {"null_move_enabled", &c.null_move_enabled, 1},
        {"null_move_dynamic_enabled", &c.null_move_dynamic_enabled, 1},
        {"rfp_max_depth", &c.rfp_max_depth, 1},
        {"rfp_enabled", &c.rfp_enabled, 1},
        {"rfp_margin_per_depth", &c.rfp_margin_per_depth, 1},
        {"rfp_improving_margin_reduction", &c.rfp_improving_margin_reduction, 1},
        {"futility_max_depth", &c.futility_max_depth, 1},
        {"futility_enabled", &c.futility_enabled, 1},
        {"exclude_checks_from_pruning_enabled", &c.exclude_checks_from_pruning_enabled, 1},
        {"pv_node_protection_enabled", &c.pv_node_protection_enabled, 1},
        {"null_move_eval_filter_enabled", &c.null_move_eval_filter_enabled, 1},
        {"futility_margin_per_depth", &c.futility_margin_per_depth, 1},
        {"razor_max_depth", &c.razor_max_depth, 1},
        {"razor_enabled", &c.razor_enabled, 1},
        {"razor_margin_per_depth", &c.razor_margin_per_depth, 1},
        {"lmr_min_depth", &c.lmr_min_depth, 1},
        {"lmr_min_move_index", &c.lmr_min_move_index, 1},
        {"lmr_reduction_base", &c.lmr_reduction_base, 1},
        {"lmr_enabled", &c.lmr_enabled, 1},
        {"lmr_reduction_high_depth_threshold", &c.lmr_reduction_high_depth_threshold, 1},
        {"lmr_reduction_high_movecount_threshold", &c.lmr_reduction_high_movecount_threshold, 1},
        {"lmr_reduction_high", &c.lmr_reduction_high, 1},
        {"lmr_dynamic_enabled", &c.lmr_dynamic_enabled, 1},
        {"lmr_loglog_a_permille", &c.lmr_loglog_a_permille, 1},
        {"lmr_loglog_b_permille", &c.lmr_loglog_b_permille, 1},
        {"lmr_loglog_c_permille", &c.lmr_loglog_c_permille, 1},
        {"lmr_loglog_d_permille", &c.lmr_loglog_d_permille, 1},
        {"iir_min_depth", &c.iir_min_depth, 1},
        {"iir_enabled", &c.iir_enabled, 1},
        {"aspiration_initial_delta", &c.aspiration_initial_delta, 1},
        {"pawn_structure_enabled", &c.pawn_structure_enabled, 1},
        {"isolated_pawn_penalty_mg", &c.isolated_pawn_penalty_mg, 1},
        {"isolated_pawn_penalty_eg", &c.isolated_pawn_penalty_eg, 1},
        {"doubled_pawn_penalty_mg", &c.doubled_pawn_penalty_mg, 1},
        {"doubled_pawn_penalty_eg", &c.doubled_pawn_penalty_eg, 1},
        {"doubled_pawn_locked_penalty_mg", &c.doubled_pawn_locked_penalty_mg, 1},
        {"doubled_pawn_locked_penalty_eg", &c.doubled_pawn_locked_penalty_eg, 1},
        {"backward_pawn_penalty_mg", &c.backward_pawn_penalty_mg, 1},
        {"backward_pawn_penalty_eg", &c.backward_pawn_penalty_eg, 1},
        {"passed_pawn_bonus_mg", c.passed_pawn_bonus_mg, 8},
        {"passed_pawn_bonus_eg", c.passed_pawn_bonus_eg, 8},
        {"passed_pawn_free_bonus_mg", &c.passed_pawn_free_bonus_mg, 1},
        {"passed_pawn_free_bonus_eg", &c.passed_pawn_free_bonus_eg, 1},
        {"passed_pawn_supported_bonus_mg", &c.passed_pawn_supported_bonus_mg, 1},
        {"passed_pawn_supported_bonus_eg", &c.passed_pawn_supported_bonus_eg, 1},
        {"passed_pawn_connected_bonus_mg", &c.passed_pawn_connected_bonus_mg, 1},
        {"passed_pawn_connected_bonus_eg", &c.passed_pawn_connected_bonus_eg, 1},
        {"passed_pawn_outside_bonus_mg", &c.passed_pawn_outside_bonus_mg, 1},
        {"passed_pawn_outside_bonus_eg", &c.passed_pawn_outside_bonus_eg, 1},
        {"passed_pawn_candidate_bonus_mg", &c.passed_pawn_candidate_bonus_mg, 1},
        {"passed_pawn_candidate_bonus_eg", &c.passed_pawn_candidate_bonus_eg, 1},
        {"passed_pawn_king_distance_weight_eg", &c.passed_pawn_king_distance_weight_eg, 1},
        {"mobility_enabled", &c.mobility_enabled, 1},
        {"mobility_knight_mg", &c.mobility_knight_mg, 1},
        {"mobility_knight_eg", &c.mobility_knight_eg, 1},
        {"mobility_bishop_mg", &c.mobility_bishop_mg, 1},
        {"mobility_bishop_eg", &c.mobility_bishop_eg, 1},
        {"mobility_rook_mg", &c.mobility_rook_mg, 1},
        {"mobility_rook_eg", &c.mobility_rook_eg, 1},
        {"mobility_queen_mg", &c.mobility_queen_mg, 1},
        {"mobility_queen_eg", &c.mobility_queen_eg, 1},
        {"rook_open_files_enabled", &c.rook_open_files_enabled, 1},
        {"rook_open_file_bonus_mg", &c.rook_open_file_bonus_mg, 1},
        {"rook_open_file_bonus_eg", &c.rook_open_file_bonus_eg, 1},
        {"rook_semi_open_file_bonus_mg", &c.rook_semi_open_file_bonus_mg, 1},
        {"rook_semi_open_file_bonus_eg", &c.rook_semi_open_file_bonus_eg, 1},
        {"pins_enabled", &c.pins_enabled, 1},
        {"pin_knight_bonus_mg", &c.pin_knight_bonus_mg, 1},
        {"pin_knight_bonus_eg", &c.pin_knight_bonus_eg, 1},
        {"pin_bishop_bonus_mg", &c.pin_bishop_bonus_mg, 1},
        {"pin_bishop_bonus_eg", &c.pin_bishop_bonus_eg, 1},
        {"pin_rook_bonus_mg", &c.pin_rook_bonus_mg, 1},
        {"pin_rook_bonus_eg", &c.pin_rook_bonus_eg, 1},
        {"pin_queen_bonus_mg", &c.pin_queen_bonus_mg, 1},
        {"pin_queen_bonus_eg", &c.pin_queen_bonus_eg, 1},
        {"pin_attacked_bonus_mg", &c.pin_attacked_bonus_mg, 1},
        {"pin_attacked_bonus_eg", &c.pin_attacked_bonus_eg, 1},
        {"king_shelter_enabled", &c.king_shelter_enabled, 1},
        {"king_shelter_bonus_per_pawn", &c.king_shelter_bonus_per_pawn, 1},
        {"king_open_file_penalty", &c.king_open_file_penalty, 1},
        {"king_storm_penalty_base", &c.king_storm_penalty_base, 1},
        {"king_storm_penalty_per_rank_away", &c.king_storm_penalty_per_rank_away, 1},
        {"chain_storm_enabled", &c.chain_storm_enabled, 1},
        {"chain_storm_bonus_base", &c.chain_storm_bonus_base, 1},
        {"chain_storm_bonus_per_rank_away", &c.chain_storm_bonus_per_rank_away, 1},
        {"chain_storm_no_queen_reduction_pct", &c.chain_storm_no_queen_reduction_pct, 1},
        {"chain_storm_no_rook_reduction_pct", &c.chain_storm_no_rook_reduction_pct, 1},
        {"king_safety_no_queen_blocked_reduction_pct", &c.king_safety_no_queen_blocked_reduction_pct, 1},
        {"minority_attack_enabled", &c.minority_attack_enabled, 1},
        {"minority_attack_bonus_per_rank_mg", &c.minority_attack_bonus_per_rank_mg, 1},
        {"minority_attack_bonus_per_rank_eg", &c.minority_attack_bonus_per_rank_eg, 1},
        {"king_danger_enabled", &c.king_danger_enabled, 1},
        {"king_danger_weight_knight", &c.king_danger_weight_knight, 1},
        {"king_danger_weight_bishop", &c.king_danger_weight_bishop, 1},
        {"king_danger_weight_rook", &c.king_danger_weight_rook, 1},
        {"king_danger_weight_queen", &c.king_danger_weight_queen, 1},
        {"king_danger_xray_divisor", &c.king_danger_xray_divisor, 1},
        {"king_danger_safe_check_knight", &c.king_danger_safe_check_knight, 1},
        {"king_danger_safe_check_bishop", &c.king_danger_safe_check_bishop, 1},
        {"king_danger_safe_check_rook", &c.king_danger_safe_check_rook, 1},
        {"king_danger_safe_check_queen", &c.king_danger_safe_check_queen, 1},
        {"king_danger_deflection_bonus", &c.king_danger_deflection_bonus, 1},
        {"king_danger_no_queen_reduction_pct", &c.king_danger_no_queen_reduction_pct, 1},
        {"king_danger_scale_mg_pct", &c.king_danger_scale_mg_pct, 1},
        {"king_danger_scale_eg_pct", &c.king_danger_scale_eg_pct, 1},
        {"time_long_game_threshold_moves", &c.time_long_game_threshold_moves, 1},
        {"time_critical_increment_multiplier", &c.time_critical_increment_multiplier, 1},
        {"time_increment_safety_margin_ms", &c.time_increment_safety_margin_ms, 1},
        {"time_predictive_growth_factor", &c.time_predictive_growth_factor, 1},
        {"time_phase_opening_min", &c.time_phase_opening_min, 1},
        {"time_phase_opening_max_moves", &c.time_phase_opening_max_moves, 1},
        {"time_phase_opening_pawn_threshold", &c.time_phase_opening_pawn_threshold, 1},
        {"time_syzygy_zone_margin", &c.time_syzygy_zone_margin, 1},
        {"time_movestogo_opening", &c.time_movestogo_opening, 1},
        {"time_movestogo_syzygy_zone", &c.time_movestogo_syzygy_zone, 1},
        {"time_movestogo_middlegame", &c.time_movestogo_middlegame, 1},
        {"time_check_node_mask", &c.time_check_node_mask, 1},
        {"threats_enabled", &c.threats_enabled, 1},
        {"threat_by_pawn_minor_bonus", &c.threat_by_pawn_minor_bonus, 1},
        {"threat_by_pawn_major_bonus", &c.threat_by_pawn_major_bonus, 1},
        {"hanging_piece_penalty_pct", &c.hanging_piece_penalty_pct, 1},
        {"threats_extended_enabled", &c.threats_extended_enabled, 1},
        {"threat_by_king_bonus", &c.threat_by_king_bonus, 1},
        {"restricted_piece_bonus_mg", &c.restricted_piece_bonus_mg, 1},
        {"restricted_piece_bonus_eg", &c.restricted_piece_bonus_eg, 1},
        {"threat_safe_pawn_push_bonus", &c.threat_safe_pawn_push_bonus, 1},
        {"threat_fork_queen_knight_bonus", &c.threat_fork_queen_knight_bonus, 1},
        {"threat_fork_queen_bishop_rook_bonus", &c.threat_fork_queen_bishop_rook_bonus, 1},
        {"space_enabled", &c.space_enabled, 1},
        {"space_bonus_per_square", &c.space_bonus_per_square, 1},
        {"initiative_enabled", &c.initiative_enabled, 1},
        {"initiative_both_flanks_bonus", &c.initiative_both_flanks_bonus, 1},
        {"bishop_pair_bonus_mg", &c.bishop_pair_bonus_mg, 1},
        {"bishop_pair_bonus_eg", &c.bishop_pair_bonus_eg, 1},
        {"knight_pair_penalty_mg", &c.knight_pair_penalty_mg, 1},
        {"knight_pair_penalty_eg", &c.knight_pair_penalty_eg, 1},
        {"rook_pair_penalty_mg", &c.rook_pair_penalty_mg, 1},
        {"rook_pair_penalty_eg", &c.rook_pair_penalty_eg, 1},
        {"imbalance_rook_bishop_vs_queen_mg", &c.imbalance_rook_bishop_vs_queen_mg, 1},
        {"imbalance_rook_bishop_vs_queen_eg", &c.imbalance_rook_bishop_vs_queen_eg, 1},
        {"imbalance_rook_knight_vs_queen_mg", &c.imbalance_rook_knight_vs_queen_mg, 1},
        {"imbalance_rook_knight_vs_queen_eg", &c.imbalance_rook_knight_vs_queen_eg, 1},
        {"imbalance_two_knights_bishop_vs_queen_mg", &c.imbalance_two_knights_bishop_vs_queen_mg, 1},
        {"imbalance_two_knights_bishop_vs_queen_eg", &c.imbalance_two_knights_bishop_vs_queen_eg, 1},
        {"imbalance_two_bishops_knight_vs_queen_mg", &c.imbalance_two_bishops_knight_vs_queen_mg, 1},
        {"imbalance_two_bishops_knight_vs_queen_eg", &c.imbalance_two_bishops_knight_vs_queen_eg, 1},
        {"imbalance_bishop_pawn_vs_rook_mg", &c.imbalance_bishop_pawn_vs_rook_mg, 1},
        {"imbalance_bishop_pawn_vs_rook_eg", &c.imbalance_bishop_pawn_vs_rook_eg, 1},
        {"outposts_enabled", &c.outposts_enabled, 1},
        {"outpost_knight_bonus_mg", &c.outpost_knight_bonus_mg, 1},
        {"outpost_knight_bonus_eg", &c.outpost_knight_bonus_eg, 1},
        {"outpost_bishop_bonus_mg", &c.outpost_bishop_bonus_mg, 1},
        {"outpost_bishop_bonus_eg", &c.outpost_bishop_bonus_eg, 1},
        {"rook_target_files_enabled", &c.rook_target_files_enabled, 1},
        {"rook_target_file_bonus_mg", &c.rook_target_file_bonus_mg, 1},
        {"rook_target_file_bonus_eg", &c.rook_target_file_bonus_eg, 1},
        {"king_infiltration_enabled", &c.king_infiltration_enabled, 1},
        {"king_infiltration_rook_bonus_mg", &c.king_infiltration_rook_bonus_mg, 1},
        {"king_infiltration_rook_bonus_eg", &c.king_infiltration_rook_bonus_eg, 1},
        {"king_infiltration_queen_bonus_mg", &c.king_infiltration_queen_bonus_mg, 1},
        {"king_infiltration_queen_bonus_eg", &c.king_infiltration_queen_bonus_eg, 1},
        {"threat_see_enabled", &c.threat_see_enabled, 1},
        {"threat_see_penalty_pct", &c.threat_see_penalty_pct, 1},
        {"singular_extensions_enabled", &c.singular_extensions_enabled, 1},
        {"singular_min_depth", &c.singular_min_depth, 1},
        {"singular_margin_per_depth", &c.singular_margin_per_depth, 1},
        {"singular_reduction_divisor", &c.singular_reduction_divisor, 1},
        {"scale_factor_enabled", &c.scale_factor_enabled, 1},
        {"opposite_bishop_scale_pct", &c.opposite_bishop_scale_pct, 1},
        {"lazy_eval_enabled", &c.lazy_eval_enabled, 1},
        {"lazy_eval_tier2_enabled", &c.lazy_eval_tier2_enabled, 1},
        {"lazy_eval_margin_min", &c.lazy_eval_margin_min, 1},
        {"lazy_eval_margin_per_missing_phase", &c.lazy_eval_margin_per_missing_phase, 1},
        {"lazy_eval_min_phase", &c.lazy_eval_min_phase, 1},
        {"lazy_eval_tier1_enabled", &c.lazy_eval_tier1_enabled, 1},
        {"lazy_eval_tier1_margin_min", &c.lazy_eval_tier1_margin_min, 1},
        {"lazy_eval_tier1_margin_per_missing_phase", &c.lazy_eval_tier1_margin_per_missing_phase, 1},
        {"lazy_eval_tier1_margin_per_missing_pawn", &c.lazy_eval_tier1_margin_per_missing_pawn, 1},
        {"late_move_pruning_enabled", &c.late_move_pruning_enabled, 1},
        {"lmp_max_depth", &c.lmp_max_depth, 1},
        {"lmp_base", &c.lmp_base, 1},
        {"lmp_depth_mult", &c.lmp_depth_mult, 1},
        {"syzygy_probe_depth", &c.syzygy_probe_depth, 1},
        {"auto_rescale_on_load", &c.auto_rescale_on_load, 1},
    };
}

}  // namespace morvane
