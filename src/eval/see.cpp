#include "eval/see.h"

#include <algorithm>

#include "config/engine_config.h"

namespace morvane {

namespace {

constexpr int KingValue = 20000;

int see_value(int type) {
    switch (type) {
        case PAWN: return g_config.material_pawn;
        case KNIGHT: return g_config.material_knight;
        case BISHOP: return g_config.material_bishop;
        case ROOK: return g_config.material_rook;
        case QUEEN: return g_config.material_queen;
        case KING: return KingValue;
        default: return 0;
    }
}

// Sliders of both colours that reach `to` under `occ`. Taking a piece off
// `to`'s lines can only uncover sliders behind it, never hide an attacker,
// so after each capture the new attackers are the old ones still on the
// board plus these.
Bitboard slider_attackers(const Board& b, Square to, Bitboard occ) {
    const Bitboard diagonal = b.pieces(WHITE, BISHOP) | b.pieces(BLACK, BISHOP) | b.pieces(WHITE, QUEEN) |
                              b.pieces(BLACK, QUEEN);
    const Bitboard straight = b.pieces(WHITE, ROOK) | b.pieces(BLACK, ROOK) | b.pieces(WHITE, QUEEN) |
                              b.pieces(BLACK, QUEEN);
    return ((bishop_attacks(to, occ) & diagonal) | (rook_attacks(to, occ) & straight)) & occ;
}

}  // namespace

int see(const Board& board, Move move) {
    const Square from = move_from(move), to = move_to(move);
    const bool enPassant = move_flag(move) == FLAG_EN_PASSANT;
    const Square captureSquare = enPassant ? make_square(file_of(to), rank_of(from)) : to;
    const int captured = board.piece_on(captureSquare);
    if (!captured) return 0;

    int gain[32];
    gain[0] = see_value(piece_type(captured));
    int onTarget = see_value(piece_type(board.piece_on(from)));
    if (move_flag(move) == FLAG_PROMOTION) {
        gain[0] += see_value(promotion_type(move)) - see_value(PAWN);
        onTarget = see_value(promotion_type(move));
    }
    Bitboard occ = (board.occupied() & ~square_bb(from) & ~square_bb(captureSquare)) | square_bb(to);
    Bitboard attackers = board.attackers_to(to, occ) & occ;
    Color side = piece_color(board.piece_on(from)) ^ 1;

    int d = 0;
    while (d < 31) {
        const Bitboard mine = attackers & board.pieces(side);
        if (!mine) break;
        // Least valuable attacker; lowest square among equals.
        Square picked = NO_SQUARE;
        int pickedValue = 0;
        for (int type = PAWN; type <= KING && picked == NO_SQUARE; ++type) {
            const Bitboard ofType = mine & board.pieces(side, type);
            if (ofType) {
                picked = lsb(ofType);
                pickedValue = see_value(type);
            }
        }
        gain[d + 1] = onTarget - gain[d];
        ++d;
        onTarget = pickedValue;
        occ &= ~square_bb(picked);
        attackers = (attackers & occ) | slider_attackers(board, to, occ);  // x-rays behind the capturer join
        side ^= 1;
    }
    for (; d > 0; --d) gain[d - 1] = -std::max(-gain[d - 1], gain[d]);
    return gain[0];
}

bool move_threatens_king(const Board& board, Move move, Color us, bool direct_only) {
    const Bitboard king = board.pieces(us ^ 1, KING);
    if (!king) return false;
    const Square k = lsb(king);
    const Bitboard target = direct_only ? king : king | kingAtt[k];
    const Square to = move_to(move);
    Bitboard attacks = 0;
    switch (piece_type(board.piece_on(move_from(move)))) {
        case PAWN: attacks = pawnAtt[us][to]; break;
        case KNIGHT: attacks = knightAtt[to]; break;
        case BISHOP: attacks = bishop_attacks(to, board.occupied()); break;
        case ROOK: attacks = rook_attacks(to, board.occupied()); break;
        case QUEEN: attacks = bishop_attacks(to, board.occupied()) | rook_attacks(to, board.occupied()); break;
        default: return false;
    }
    return (attacks & target) != 0;
}

void sort_captures_by_see(Board& board, ScoredMove* moves, int count) {
    for (int i = 0; i < count; ++i) moves[i].score = see(board, moves[i].move);
    std::sort(moves, moves + count, [](const ScoredMove& a, const ScoredMove& b) { return a.score > b.score; });
}

}  // namespace morvane
