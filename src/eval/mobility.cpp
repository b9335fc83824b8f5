// Piece activity: mobility over the squares enemy pawns do not control, and
// rooks on open files. The same pass records the attack sets that king
// safety and threat terms read, so it runs even with its weights off.
#include "eval/eval_terms.h"

namespace morvane {

namespace {

void mobility_weights(int type, int& mg, int& eg) {
    const EngineConfig& c = g_config;
    switch (type) {
        case KNIGHT: mg = c.mobility_knight_mg, eg = c.mobility_knight_eg; break;
        case BISHOP: mg = c.mobility_bishop_mg, eg = c.mobility_bishop_eg; break;
        case ROOK: mg = c.mobility_rook_mg, eg = c.mobility_rook_eg; break;
        default: mg = c.mobility_queen_mg, eg = c.mobility_queen_eg;
    }
}

void rook_file_bonus(EvalState& s, Color us, Square sq) {
    const EngineConfig& c = g_config;
    const Bitboard file = file_bb(file_of(sq));
    const Bitboard ownPawns = s.pieces(us, PAWN), enemyPawns = s.pieces(us ^ 1, PAWN);
    if (ownPawns & file) return;
    if (!(enemyPawns & file)) {
        s.add(us, c.rook_open_file_bonus_mg, c.rook_open_file_bonus_eg);
    } else if (!(s.pawns->targetFiles[us] & file)) {
        // Target files are rewarded by their own term instead.
        s.add(us, c.rook_semi_open_file_bonus_mg, c.rook_semi_open_file_bonus_eg);
    }
}

}  // namespace

void apply_mobility(EvalState& s) {
    const EngineConfig& c = g_config;
    const Bitboard occ = s.board.occupied;
    for (Color us : {WHITE, BLACK}) {
        const Bitboard area = ~(s.board.byColor[us] | s.pawns->pawnAttacks[us ^ 1]);
        s.attackMap[us] = s.pawns->pawnAttacks[us];
        if (const Square k = s.board.king_square(us); k != NO_SQUARE) s.attackMap[us] |= kingAtt[k];
        for (int type = KNIGHT; type <= QUEEN; ++type) {
            int mgWeight, egWeight;
            mobility_weights(type, mgWeight, egWeight);
            PieceAttacks& recorded = s.pieceAttacks[us][type];
            for (Bitboard b = s.pieces(us, type); b;) {
                const Square sq = pop_lsb(b);
                const Bitboard attacks = piece_attacks(type, sq, occ);
                s.attackMap[us] |= attacks;
                s.attacksByType[us][type] |= attacks;
                if (recorded.count < 16) {
                    recorded.square[recorded.count] = sq;
                    recorded.attacks[recorded.count++] = attacks;
                }
                if (c.mobility_enabled) {
                    const int n = popcount(attacks & area);
                    s.add(us, mgWeight * n, egWeight * n);
                }
                if (type == ROOK && c.rook_open_files_enabled) rook_file_bonus(s, us, sq);
            }
        }
    }
}

}  // namespace morvane
