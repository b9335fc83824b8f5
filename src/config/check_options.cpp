#include "config/check_options.h"

namespace morvane {

namespace {

constexpr CheckOption CheckOptions[] = {
    {"UseOutposts", &EngineConfig::outposts_enabled},
    {"UseRookTargetFiles", &EngineConfig::rook_target_files_enabled},
    {"UseKingInfiltration", &EngineConfig::king_infiltration_enabled},
    {"UseSEEThreats", &EngineConfig::threat_see_enabled},
    {"UsePruning", nullptr},
    {"UseIIR", &EngineConfig::iir_enabled},
    {"UseRazoring", &EngineConfig::razor_enabled},
    {"UseRFP", &EngineConfig::rfp_enabled},
    {"UseNullMove", &EngineConfig::null_move_enabled},
    {"UseFutility", &EngineConfig::futility_enabled},
    {"UseLMR", &EngineConfig::lmr_enabled},
    {"UseLMP", &EngineConfig::late_move_pruning_enabled},
    {"UseSingularExtensions", &EngineConfig::singular_extensions_enabled},
    {"UsePawnStructure", &EngineConfig::pawn_structure_enabled},
    {"UseMobility", &EngineConfig::mobility_enabled},
    {"UseKingShelter", &EngineConfig::king_shelter_enabled},
    {"UseThreats", &EngineConfig::threats_enabled},
    {"UseThreatsExtended", &EngineConfig::threats_extended_enabled},
    {"UsePins", &EngineConfig::pins_enabled},
    {"UseRookOpenFiles", &EngineConfig::rook_open_files_enabled},
    {"UseSpace", &EngineConfig::space_enabled},
    {"UseInitiative", &EngineConfig::initiative_enabled},
    {"UseChainStorm", &EngineConfig::chain_storm_enabled},
    {"UseMinorityAttack", &EngineConfig::minority_attack_enabled},
};

}  // namespace

std::span<const CheckOption> check_options() { return CheckOptions; }

}  // namespace morvane
