// Every number that shapes the engine's play, in one flat record of 32-bit
// integers. Evaluation and search read g_config at the moment they need a
// value, so a configuration file loaded between games takes effect at once.
// The parameters, with their defaults, units and safe ranges, are listed in
// parameters.def.
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

// Default passed-pawn bonuses by the pawn's rank from its own side.
extern const int passedPawnBonusMg[8];
extern const int passedPawnBonusEg[8];

// What a parameter measures, which decides whether loading a file tuned on
// another pawn scale rescales it.
enum class ParameterUnit { Centipawn, Search, Ratio, Switch };

// The values a parameter may take without the arithmetic that reads it
// overflowing or dividing by zero.
struct SafeRange {
    int min, max;
};

// One member per line of parameters.def, in its order.
struct EngineConfig {
    EngineConfig();

#define PARAMETER(key, value, unit, lo, hi) int key = value;
#define PARAMETER_TABLE(key, count, table, unit, lo, hi) int key[count];
#define PARAMETER_FIXED(key, value) int key = value;
#include "config/parameters.def"
};

static_assert(sizeof(EngineConfig) == 995 * sizeof(int));

// The process-wide parameters, holding the defaults before main runs.
extern EngineConfig g_config;

// One registered key: its name, the integers it covers in a record, and
// what they measure.
struct ConfigField {
    std::string name;
    int* ptr;
    int count;
    ParameterUnit unit;
    SafeRange range;
};

// The registry of the named keys of `config`, in their fixed order.
std::vector<ConfigField> all_fields(EngineConfig& config);

}  // namespace morvane
