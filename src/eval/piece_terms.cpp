// Piece pairs, material imbalances, outposts, rook target files, king
// infiltration and space.
#include "eval/eval_terms.h"

namespace morvane {

void apply_piece_pairs(EvalState& s) {
    const EngineConfig& c = g_config;
    for (Color us : {WHITE, BLACK}) {
        if (more_than_one(s.pieces(us, BISHOP))) s.add(us, c.bishop_pair_bonus_mg, c.bishop_pair_bonus_eg);
        if (more_than_one(s.pieces(us, KNIGHT))) s.add(us, -c.knight_pair_penalty_mg, -c.knight_pair_penalty_eg);
        if (more_than_one(s.pieces(us, ROOK))) s.add(us, -c.rook_pair_penalty_mg, -c.rook_pair_penalty_eg);
    }
}

// Queen against several minors, or rook against bishop and pawn: the plain
// sum of piece values misjudges these balances.
void apply_imbalances(EvalState& s) {
    const EngineConfig& c = g_config;
    for (Color us : {WHITE, BLACK}) {
        const Color them = us ^ 1;
        auto n = [&](Color side, int type) { return popcount(s.pieces(side, type)); };
        const int r = n(us, ROOK), bi = n(us, BISHOP), kn = n(us, KNIGHT), q = n(us, QUEEN);
        const int pawnDiff = n(them, PAWN) - n(us, PAWN);
        const bool loneQueen = n(them, ROOK) == 0 && n(them, BISHOP) == 0 && n(them, KNIGHT) == 0 &&
                               n(them, QUEEN) == 1;
        const bool loneRook = n(them, ROOK) == 1 && n(them, BISHOP) == 0 && n(them, KNIGHT) == 0 && n(them, QUEEN) == 0;
        if (q != 0) continue;
        if (r == 1 && bi == 1 && kn == 0 && loneQueen)
            s.add(us, c.imbalance_rook_bishop_vs_queen_mg, c.imbalance_rook_bishop_vs_queen_eg);
        else if (r == 1 && bi == 0 && kn == 1 && loneQueen)
            s.add(us, c.imbalance_rook_knight_vs_queen_mg, c.imbalance_rook_knight_vs_queen_eg);
        else if (r == 0 && bi == 1 && kn == 2 && loneQueen && pawnDiff <= 2)
            s.add(us, c.imbalance_two_knights_bishop_vs_queen_mg, c.imbalance_two_knights_bishop_vs_queen_eg);
        else if (r == 0 && bi == 1 && kn == 0 && loneRook && -pawnDiff == 1)
            s.add(us, c.imbalance_bishop_pawn_vs_rook_mg, c.imbalance_bishop_pawn_vs_rook_eg);
        else if (r == 0 && bi == 2 && kn == 1 && loneQueen && pawnDiff <= 2)
            s.add(us, c.imbalance_two_bishops_knight_vs_queen_mg, c.imbalance_two_bishops_knight_vs_queen_eg);
    }
}

void apply_outposts_and_files(EvalState& s) {
    const EngineConfig& c = g_config;
    const PawnEntry& e = *s.pawns;
    for (Color us : {WHITE, BLACK}) {
        if (c.outposts_enabled) {
            const int nK = popcount(s.pieces(us, KNIGHT) & e.outposts[us]);
            const int nB = popcount(s.pieces(us, BISHOP) & e.outposts[us]);
            s.add(us, c.outpost_knight_bonus_mg * nK + c.outpost_bishop_bonus_mg * nB,
                  c.outpost_knight_bonus_eg * nK + c.outpost_bishop_bonus_eg * nB);
        }
        if (c.rook_target_files_enabled) {
            const int nR = popcount(s.pieces(us, ROOK) & e.targetFiles[us]);
            s.add(us, c.rook_target_file_bonus_mg * nR, c.rook_target_file_bonus_eg * nR);
        }
        const Square enemyKing = s.board.king_square(us ^ 1);
        if (c.king_infiltration_enabled && enemyKing != NO_SQUARE) {
            const int f = file_of(enemyKing);
            const Bitboard files = file_bb(f) | (f > 0 ? file_bb(f - 1) : 0) | (f < 7 ? file_bb(f + 1) : 0);
            const Bitboard zone = files & e.safe[us];
            const int nR = popcount(s.pieces(us, ROOK) & zone), nQ = popcount(s.pieces(us, QUEEN) & zone);
            s.add(us, c.king_infiltration_rook_bonus_mg * nR + c.king_infiltration_queen_bonus_mg * nQ,
                  c.king_infiltration_rook_bonus_eg * nR + c.king_infiltration_queen_bonus_eg * nQ);
        }
    }
}

// Central squares behind one's own lines that enemy pawns do not control.
void apply_space(EvalState& s) {
    const EngineConfig& c = g_config;
    if (!c.space_enabled) return;
    constexpr Bitboard CentreFiles = 0x3C3C3C3C3C3C3C3CULL;
    constexpr Bitboard WhiteZone = CentreFiles & 0x00000000FFFFFF00ULL;  // ranks 2-4
    constexpr Bitboard BlackZone = CentreFiles & 0x00FFFFFF00000000ULL;  // ranks 5-7
    const int white = popcount(WhiteZone & ~s.pawns->pawnAttacks[BLACK]);
    const int black = popcount(BlackZone & ~s.pawns->pawnAttacks[WHITE]);
    s.mg[WHITE] += white * c.space_bonus_per_square * s.phase / 24;
    s.mg[BLACK] += black * c.space_bonus_per_square * s.phase / 24;
}

}  // namespace morvane
