// The score scale shared by the search, the transposition table and the
// endgame tables: signed integers in the units of material_pawn, always from
// the side to move's point of view.
#pragma once

namespace morvane {

// Beyond every real score: the bounds of an open window.
constexpr int INFINITE_SCORE = 30001;
// A side mated at distance ply from the root scores ply - MATE_SCORE, so a
// shorter mate is always the better one.
constexpr int MATE_SCORE = 30000;
// Scores at or beyond this (either sign) are mates: no evaluation reaches it,
// and mates up to 246 plies deep stay above it.
constexpr int MATE_THRESHOLD = 29754;
// A won table position; below every mate, so that a mate the search proves
// is preferred to a table win it merely knows about.
constexpr int TB_WIN_SCORE = 20000;
// Marks a node without a static evaluation (its side to move was in check).
constexpr int NO_EVAL = 32000;

constexpr bool is_mate_score(int score) { return score >= MATE_THRESHOLD || score <= -MATE_THRESHOLD; }

}  // namespace morvane
