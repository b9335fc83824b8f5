// Each table's statistics in the published figures' format, and the check
// against them: counts of wins, draws and losses by distance, and the
// longest win with its position.
#pragma once

#include <cstdio>
#include <map>
#include <string>

#include "table_set.h"

namespace tbgen {

struct SideStats {
    std::map<int, long> win, lose;  // by DTZ in plies
    long wins = 0, draws = 0, losses = 0, cursed = 0, blessed = 0;
    bool operator==(const SideStats&) const = default;
};
struct TableStats {
    SideStats side[2];
    int longest[2] = {0, 0};  // longest win for white, for black
    bool operator==(const TableStats&) const = default;
};

// One table's published figures, with the position of each side's longest win.
struct Published {
    TableStats st;
    std::string fen[2];
};

TableStats table_stats(const Table& t);
void print_stats(std::FILE* out, const std::string& name, const TableStats& st);
std::map<std::string, Published> read_published(const std::string& path);
// DTZ of a position given by FEN, from the side to move (negative: loses).
bool fen_dtz(const TableSet& set, const std::string& fen, int& dtz);

}  // namespace tbgen
