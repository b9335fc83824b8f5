#include "core/position_check.h"

#include <algorithm>

namespace morvane {

namespace {

// The castling rights whose king and rook stand on their home squares.
int possible_castling_rights(const Board& b) {
    auto has = [&](int code, Square s) { return b.piece_on(s) == code; };
    const int wk = make_piece(WHITE, KING), bk = make_piece(BLACK, KING);
    const int wr = make_piece(WHITE, ROOK), br = make_piece(BLACK, ROOK);
    int rights = 0;
    if (has(wk, 4) && has(wr, 7)) rights |= WHITE_OO;
    if (has(wk, 4) && has(wr, 0)) rights |= WHITE_OOO;
    if (has(bk, 60) && has(br, 63)) rights |= BLACK_OO;
    if (has(bk, 60) && has(br, 56)) rights |= BLACK_OOO;
    return rights;
}

std::string castling_letters(int rights) {
    std::string letters;
    if (rights & WHITE_OO) letters += 'K';
    if (rights & WHITE_OOO) letters += 'Q';
    if (rights & BLACK_OO) letters += 'k';
    if (rights & BLACK_OOO) letters += 'q';
    return letters;
}

// The en-passant square must lie behind an enemy pawn that has just made a
// double step: otherwise an en-passant capture would remove the wrong piece.
bool en_passant_consistent(const Board& b) {
    const Square ep = b.state().epSquare;
    if (ep == NO_SQUARE) return true;
    const Color us = b.side_to_move();
    const int expectedRank = us == WHITE ? 5 : 2;
    const Square pawnSquare = us == WHITE ? ep - 8 : ep + 8;
    const Square origin = us == WHITE ? ep + 8 : ep - 8;
    return rank_of(ep) == expectedRank && b.piece_on(pawnSquare) == make_piece(us ^ 1, PAWN) && !b.piece_on(ep) &&
           !b.piece_on(origin);
}

// Promotions can only replace pawns: this keeps every move list within its
// fixed capacity.
bool material_possible(const Board& b, Color c) {
    const int pawns = popcount(b.pieces(c, PAWN));
    int promoted = std::max(popcount(b.pieces(c, QUEEN)) - 1, 0) + std::max(popcount(b.pieces(c, ROOK)) - 2, 0) +
                   std::max(popcount(b.pieces(c, BISHOP)) - 2, 0) + std::max(popcount(b.pieces(c, KNIGHT)) - 2, 0);
    return pawns <= 8 && promoted <= 8 - pawns;
}

}  // namespace

std::string position_problem(const Board& b) {
    if (popcount(b.pieces(WHITE, KING)) != 1 || popcount(b.pieces(BLACK, KING)) != 1)
        return "il faut exactement un roi de chaque couleur";
    if ((b.pieces(WHITE, PAWN) | b.pieces(BLACK, PAWN)) & (rank_bb(0) | rank_bb(7)))
        return "pion sur la premiere ou la derniere rangee";
    if (!material_possible(b, WHITE) || !material_possible(b, BLACK)) return "materiel impossible";
    const Color them = b.side_to_move() ^ 1;
    if (b.attackers_to(b.king_square(them), b.occupied()) & b.pieces(b.side_to_move()))
        return "le roi du camp qui n'a pas le trait est en echec";
    return {};
}

std::string drop_impossible_rights(Board& b) {
    std::string dropped;
    if (const int impossible = b.state().castling & ~possible_castling_rights(b)) {
        b.remove_castling_rights(impossible);
        dropped = "droits de roque sans roi ou tour a leur place retires (" + castling_letters(impossible) + ")";
    }
    if (!en_passant_consistent(b)) {
        dropped += (dropped.empty() ? "" : ", ") + std::string("case en passant incoherente retiree (") +
                   square_to_string(b.state().epSquare) + ")";
        b.remove_en_passant();
    }
    return dropped;
}

}  // namespace morvane
