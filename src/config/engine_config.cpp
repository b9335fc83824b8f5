#include "config/engine_config.h"

#include <algorithm>
#include <climits>
#include <iterator>

namespace morvane {

// The square tables keep one rank per line in right-aligned columns, so that a
// square's value is found by rank and file at a glance; the formatter would
// collapse the columns.
// clang-format off
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
// clang-format on

const int passedPawnBonusMg[8] = {0, -28, -23, -9, -16, -55, -49, 0};
const int passedPawnBonusEg[8] = {0, -27, -32, -7, 17, 81, 130, 0};

// Scalars take their defaults from the member initialisers; tables are
// copied here.
EngineConfig::EngineConfig() {
#define PARAMETER(key, value, unit, lo, hi)
#define PARAMETER_TABLE(key, count, table, unit, lo, hi)                   \
    static_assert(std::size(table) == count, #key ": wrong table length"); \
    std::copy(std::begin(table), std::end(table), key);
#include "config/parameters.def"
}

EngineConfig g_config;

std::vector<ConfigField> all_fields(EngineConfig& c) {
    return {
#define PARAMETER(key, value, unit, lo, hi) {#key, &c.key, 1, ParameterUnit::unit, {lo, hi}},
#define PARAMETER_TABLE(key, count, table, unit, lo, hi) {#key, c.key, count, ParameterUnit::unit, {lo, hi}},
#include "config/parameters.def"
    };
}

}  // namespace morvane
