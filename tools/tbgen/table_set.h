// The tables being built, and the value of any position they already
// settle: what the solver of a larger table reads after each capture,
// promotion or pawn move.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "retro_board.h"
#include "tablebase/tb_layout.h"

namespace tbgen {

using morvane::tb::Material;

enum : std::uint8_t { UNKNOWN = 0, WIN = 1, LOSS = 2, DRAW = 3, INVALID = 0xFF };

struct Table {
    std::string name;
    Material mat;
    std::vector<std::uint8_t> val[2], dtz[2];
    std::vector<std::int8_t> capv[2];  // best capture for the mover, 0..4; -1 none
};

struct Value {
    int wdl;  // WIN, LOSS, DRAW from the side to move
    int dtz;
};

// Every table, those a capture or promotion leads into first, and the
// index of each by material key.
struct TableSet {
    std::vector<Table> tables;
    std::map<U64, int> byKey;
};

inline const char* const tableNames[35] = {
    "KBvK",  "KNvK",  "KPvK",  "KQvK",  "KRvK",  "KBBvK", "KBNvK", "KBPvK", "KBvKB", "KBvKN", "KBvKP", "KNNvK",
    "KNPvK", "KNvKN", "KNvKP", "KPPvK", "KPvKP", "KQBvK", "KQNvK", "KQPvK", "KQQvK", "KQRvK", "KQvKB", "KQvKN",
    "KQvKP", "KQvKQ", "KQvKR", "KRBvK", "KRNvK", "KRPvK", "KRRvK", "KRvKB", "KRvKN", "KRvKP", "KRvKR"};

// What a zeroing move is worth to the side that made it.
enum { Z_WIN, Z_DRAW, Z_LOSS };

// Material key: four bits of count per piece code.
U64 material_key(const int* code, int n, bool swap);
// Value of any position of the finished tables (or of the one being built,
// for positions it has already settled), from the side to move.
Value lookup(const TableSet& set, const Pos& p, int stm);
// Value for the mover of the position after its pawn went two squares.
int after_double_push(const TableSet& set, const Pos& child, int mover, int epSquare);
// Value for the mover of the position after any other zeroing move.
int zero_value(const TableSet& set, const Pos& child, int mover);
// Win/draw/loss value of the reader's scale (0 loss .. 4 win).
int scale_value(int v, int d);

}  // namespace tbgen
