// Piece activity: mobility over the squares enemy pawns do not control, and
// rooks on open files. The same pass records the attack sets that king
// safety and threat terms read, so it runs even with its weights off.
#include "eval/eval_terms.h"
#include "eval/pawn_masks.h"

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

struct Score {
    int mg = 0, eg = 0;
};

// Squares attacked so far and those attacked at least twice.
struct Coverage {
    Bitboard once = 0, twice = 0;
    void add(Bitboard attacks) {
        twice |= once & attacks;
        once |= attacks;
    }
};

// Scores and records the pieces of one type, adding their attacks to the
// coverage. One instance per type, so that the attack lookup is resolved at
// compile time.
template <int Type>
void piece_mobility(EvalState& s, Color us, Bitboard area, Score& sum, Coverage& coverage) {
    const EngineConfig& c = g_config;
    int mgWeight, egWeight;
    mobility_weights(Type, mgWeight, egWeight);
    PieceAttacks& recorded = s.pieceAttacks[us][Type];
    Bitboard all = 0;
    int count = 0;
    for (Bitboard b = s.pieces(us, Type); b;) {
        const Square sq = pop_lsb(b);
        const Bitboard attacks = piece_attacks(Type, sq, s.board.occupied());
        all |= attacks;
        coverage.add(attacks);
        if (count < 16) {
            recorded.square[count] = sq;
            recorded.attacks[count++] = attacks;
        }
        if (c.mobility_enabled) {
            const int n = popcount(attacks & area);
            sum.mg += mgWeight * n;
            sum.eg += egWeight * n;
        }
        if (Type == ROOK && c.rook_open_files_enabled) rook_file_bonus(s, us, sq);
    }
    recorded.count = count;
    s.attacksByType[us][Type] = all;
}

}  // namespace

void apply_mobility(EvalState& s) {
    for (Color us : {WHITE, BLACK}) {
        const Bitboard area = ~(s.board.pieces(us) | s.pawns->pawnAttacks[us ^ 1]);
        Score sum;
        const Bitboard pawns = s.pieces(us, PAWN);
        const Bitboard forward = us == WHITE ? pawns << 8 : pawns >> 8;
        Coverage coverage{s.pawns->pawnAttacks[us], shift_west(forward) & shift_east(forward)};
        if (const Square k = s.board.king_square(us); k != NO_SQUARE) coverage.add(kingAtt[k]);
        piece_mobility<KNIGHT>(s, us, area, sum, coverage);
        piece_mobility<BISHOP>(s, us, area, sum, coverage);
        piece_mobility<ROOK>(s, us, area, sum, coverage);
        piece_mobility<QUEEN>(s, us, area, sum, coverage);
        s.attackMap[us] = coverage.once;
        s.attackedTwice[us] = coverage.twice;
        s.add(us, sum.mg, sum.eg);
    }
}

}  // namespace morvane
