// The working state of one evaluation and the terms that add into it. Each
// term adds to the side it favours: White's terms to White's accumulators.
#pragma once

#include "config/engine_config.h"
#include "core/board.h"
#include "eval/eval_cache.h"
#include "eval/pawn_table.h"

namespace morvane {

// Left uninitialised but for the count: only the first count entries are
// ever read, and zeroing them at every evaluation would cost more.
struct PieceAttacks {
    Square square[16];
    Bitboard attacks[16];
    int count = 0;
};

struct EvalState {
    const Board& board;
    const PawnEntry* pawns = nullptr;  // probed only once the first lazy exit is passed
    EvalCache* cache = nullptr;        // the search's, when there is one
    int mg[2] = {0, 0};
    int eg[2] = {0, 0};
    int phase = 0;
    int value[7] = {0, 0, 0, 0, 0, 0, 0};  // piece values of this call, by type
    // Written by the mobility pass before any term reads them (for knights
    // to queens only), so left uninitialised: zeroing them at every
    // evaluation, lazy exits included, would cost more.
    Bitboard attackMap[2];
    Bitboard attackedTwice[2];  // by two or more of a colour's pawns and pieces, king included
    Bitboard attacksByType[2][7];
    PieceAttacks pieceAttacks[2][7];

    EvalState(const Board& b, EvalCache* c) : board(b), cache(c) {}

    void add(Color c, int mgValue, int egValue) {
        mg[c] += mgValue;
        eg[c] += egValue;
    }
    Bitboard pieces(Color c, int type) const { return board.pieces(c, type); }
    // Squares attacked by the pieces and pawns of c, its king excluded.
    Bitboard attacks_without_king(Color c) const {
        return pawns->pawnAttacks[c] | attacksByType[c][KNIGHT] | attacksByType[c][BISHOP] | attacksByType[c][ROOK] |
               attacksByType[c][QUEEN];
    }
};

// Attack set of a knight, bishop, rook or queen on s under occupancy occ.
inline Bitboard piece_attacks(int type, Square s, Bitboard occ) {
    switch (type) {
        case KNIGHT: return knightAtt[s];
        case BISHOP: return bishop_attacks(s, occ);
        case ROOK: return rook_attacks(s, occ);
        default: return bishop_attacks(s, occ) | rook_attacks(s, occ);
    }
}

// The same for a bishop, rook or queen on an empty board.
inline Bitboard empty_board_attacks(int type, Square s) {
    switch (type) {
        case BISHOP: return bishop_attacks_empty(s);
        case ROOK: return rook_attacks_empty(s);
        default: return bishop_attacks_empty(s) | rook_attacks_empty(s);
    }
}

const PawnEntry& probe_pawn_entry(const Board& board);

void apply_pawn_structure(EvalState& s);
void apply_mobility(EvalState& s);
void apply_king_safety(EvalState& s);
void apply_piece_pairs(EvalState& s);
void apply_imbalances(EvalState& s);
void apply_threats(EvalState& s);
void apply_pins(EvalState& s);
void apply_extended_threats(EvalState& s);
void apply_outposts_and_files(EvalState& s);
void apply_space(EvalState& s);

}  // namespace morvane
