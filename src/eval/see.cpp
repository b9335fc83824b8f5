#include "eval/see.h"

#include <algorithm>

#include "config/engine_config.h"

namespace morvane {

namespace {

constexpr int KingValue = 20000;

// Exchange values by piece type, read from the configuration once per call.
struct SeeValues {
    int byType[7];
    SeeValues() {
        const EngineConfig& c = g_config;
        byType[0] = 0;
        byType[PAWN] = c.material_pawn;
        byType[KNIGHT] = c.material_knight;
        byType[BISHOP] = c.material_bishop;
        byType[ROOK] = c.material_rook;
        byType[QUEEN] = c.material_queen;
        byType[KING] = KingValue;
    }
};

}  // namespace

int see(const Board& board, Move move) {
    const Square from = move_from(move), to = move_to(move);
    const bool enPassant = move_flag(move) == FLAG_EN_PASSANT;
    const Square captureSquare = enPassant ? make_square(file_of(to), rank_of(from)) : to;
    const int captured = board.piece_on(captureSquare);
    if (!captured) return 0;

    const SeeValues values;
    int gain[32];
    gain[0] = values.byType[piece_type(captured)];
    int onTarget = values.byType[piece_type(board.piece_on(from))];
    if (move_flag(move) == FLAG_PROMOTION) {
        gain[0] += values.byType[promotion_type(move)] - values.byType[PAWN];
        onTarget = values.byType[promotion_type(move)];
    }
    Bitboard occ = (board.occupied() & ~square_bb(from) & ~square_bb(captureSquare)) | square_bb(to);
    Bitboard attackers = board.attackers_to(to, occ) & occ;
    // Taking a piece off `to`'s lines can only uncover sliders behind it,
    // never hide an attacker, and only along the line the capturer stood
    // on: a pawn or bishop uncovers diagonal sliders, a rook straight ones,
    // a queen or king either; a knight nothing.
    const Bitboard diagonal = board.pieces(WHITE, BISHOP) | board.pieces(BLACK, BISHOP) |
                              board.pieces(WHITE, QUEEN) | board.pieces(BLACK, QUEEN);
    const Bitboard straight = board.pieces(WHITE, ROOK) | board.pieces(BLACK, ROOK) | board.pieces(WHITE, QUEEN) |
                              board.pieces(BLACK, QUEEN);
    Color side = piece_color(board.piece_on(from)) ^ 1;

    int d = 0;
    while (d < 31) {
        const Bitboard mine = attackers & board.pieces(side);
        if (!mine) break;
        // Least valuable attacker; lowest square among equals.
        int type = PAWN;
        while (!(mine & board.pieces(side, type))) ++type;
        const Square picked = lsb(mine & board.pieces(side, type));
        gain[d + 1] = onTarget - gain[d];
        ++d;
        onTarget = values.byType[type];
        occ &= ~square_bb(picked);
        attackers &= occ;
        if (type == PAWN || type == BISHOP || type == QUEEN || type == KING)
            attackers |= bishop_attacks(to, occ) & diagonal & occ;
        if (type == ROOK || type == QUEEN || type == KING) attackers |= rook_attacks(to, occ) & straight & occ;
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
