#pragma once

#include "table_set.h"

namespace tbgen {

// Fills the values and distances of `table`; the tables its captures and
// pawn moves lead into must be solved already.
void solve_table(const TableSet& set, Table& table);

}  // namespace tbgen
