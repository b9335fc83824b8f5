#include "core/position_check.h"

#include <algorithm>

namespace morvane {

namespace {

bool castling_rights_consistent(const Board& b) {
    const int rights = b.state().castling;
    auto has = [&](int code, Square s) { return b.squares[s] == code; };
    const int wk = make_piece(WHITE, KING), bk = make_piece(BLACK, KING);
    const int wr = make_piece(WHITE, ROOK), br = make_piece(BLACK, ROOK);
    if ((rights & WHITE_OO) && !(has(wk, 4) && has(wr, 7))) return false;
    if ((rights & WHITE_OOO) && !(has(wk, 4) && has(wr, 0))) return false;
    if ((rights & BLACK_OO) && !(has(bk, 60) && has(br, 63))) return false;
    if ((rights & BLACK_OOO) && !(has(bk, 60) && has(br, 56))) return false;
    return true;
}

// The en-passant square must lie behind an enemy pawn that has just made a
// double step: otherwise an en-passant capture would remove the wrong piece.
bool en_passant_consistent(const Board& b) {
    const Square ep = b.state().epSquare;
    if (ep == NO_SQUARE) return true;
    const Color us = b.side;
    const int expectedRank = us == WHITE ? 5 : 2;
    const Square pawnSquare = us == WHITE ? ep - 8 : ep + 8;
    const Square origin = us == WHITE ? ep + 8 : ep - 8;
    return rank_of(ep) == expectedRank && b.squares[pawnSquare] == make_piece(us ^ 1, PAWN) && !b.squares[ep] &&
           !b.squares[origin];
}

// Promotions can only replace pawns: this keeps every move list within its
// fixed capacity.
bool material_possible(const Board& b, Color c) {
    const int pawns = popcount(b.pieces[c][PAWN]);
    int promoted = std::max(popcount(b.pieces[c][QUEEN]) - 1, 0) + std::max(popcount(b.pieces[c][ROOK]) - 2, 0) +
                   std::max(popcount(b.pieces[c][BISHOP]) - 2, 0) + std::max(popcount(b.pieces[c][KNIGHT]) - 2, 0);
    return pawns <= 8 && promoted <= 8 - pawns;
}

}  // namespace

std::string position_problem(const Board& b) {
    if (popcount(b.pieces[WHITE][KING]) != 1 || popcount(b.pieces[BLACK][KING]) != 1)
        return "il faut exactement un roi de chaque couleur";
    if ((b.pieces[WHITE][PAWN] | b.pieces[BLACK][PAWN]) & (rank_bb(0) | rank_bb(7)))
        return "pion sur la premiere ou la derniere rangee";
    if (!material_possible(b, WHITE) || !material_possible(b, BLACK)) return "materiel impossible";
    const Color them = b.side ^ 1;
    if (b.attackers_to(b.king_square(them), b.occupied) & b.byColor[b.side])
        return "le roi du camp qui n'a pas le trait est en echec";
    if (!castling_rights_consistent(b)) return "droits de roque sans roi ou tour a leur place";
    if (!en_passant_consistent(b)) return "case en passant incoherente";
    return {};
}

}  // namespace morvane
