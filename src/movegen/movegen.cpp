#include "movegen/movegen.h"

namespace morvane {

namespace {

inline ScoredMove* add_moves(ScoredMove* out, Square from, Bitboard targets) {
    while (targets) out++->move = make_move(from, pop_lsb(targets));
    return out;
}

// Queen first: the likeliest best promotion is tried first when ties in
// move ordering keep generation order.
inline ScoredMove* add_promotions(ScoredMove* out, Square from, Square to) {
    for (int promo = 3; promo >= 0; --promo) out++->move = make_move(from, to, FLAG_PROMOTION, promo);
    return out;
}

// A pinned piece may move only along the line through its king and its
// pinner: towards the king, or out to (and onto) the pinner.
inline bool stays_on_pin_line(Square king, Square from, Square to) {
    return (squares_between(king, to) & square_bb(from)) || (squares_between(king, from) & square_bb(to));
}

inline bool attacked_by(const Board& b, Square s, Color them) {
    return (b.attackers_to(s, b.occupied()) & b.pieces(them)) != 0;
}

ScoredMove* generate_castling(const Board& b, ScoredMove* out, Color us) {
    const int rights = b.state().castling;
    const Color them = us ^ 1;
    auto empty = [&](Bitboard squares) { return !(b.occupied() & squares); };
    auto safe = [&](Square x, Square y, Square z) {
        return !attacked_by(b, x, them) && !attacked_by(b, y, them) && !attacked_by(b, z, them);
    };
    if (us == WHITE) {
        if ((rights & WHITE_OO) && empty(0x60ULL) && safe(4, 5, 6)) out++->move = make_move(4, 6, FLAG_CASTLING);
        if ((rights & WHITE_OOO) && empty(0x0EULL) && safe(4, 3, 2)) out++->move = make_move(4, 2, FLAG_CASTLING);
    } else {
        if ((rights & BLACK_OO) && empty(0x60ULL << 56) && safe(60, 61, 62))
            out++->move = make_move(60, 62, FLAG_CASTLING);
        if ((rights & BLACK_OOO) && empty(0x0EULL << 56) && safe(60, 59, 58))
            out++->move = make_move(60, 58, FLAG_CASTLING);
    }
    return out;
}

}  // namespace

int generate_legal(Board& board, ScoredMove* out, bool capturesOnly) {
    const Color us = board.side_to_move(), them = us ^ 1;
    const Bitboard own = board.pieces(us), enemy = board.pieces(them), occ = board.occupied();
    const Square k = board.king_square(us);
    const Bitboard checkers = board.checkers();
    const bool quietOff = capturesOnly && !checkers;
    ScoredMove* const begin = out;

    if (!more_than_one(checkers)) {
        Bitboard target = quietOff ? enemy : ~own;
        if (checkers) target = checkers | squares_between(k, lsb(checkers));

        for (Bitboard b = board.pieces(us, KNIGHT); b;) {
            Square from = pop_lsb(b);
            out = add_moves(out, from, knightAtt[from] & target);
        }
        for (Bitboard b = board.pieces(us, BISHOP); b;) {
            Square from = pop_lsb(b);
            out = add_moves(out, from, bishop_attacks(from, occ) & target);
        }
        for (Bitboard b = board.pieces(us, ROOK); b;) {
            Square from = pop_lsb(b);
            out = add_moves(out, from, rook_attacks(from, occ) & target);
        }
        for (Bitboard b = board.pieces(us, QUEEN); b;) {
            Square from = pop_lsb(b);
            out = add_moves(out, from, (bishop_attacks(from, occ) | rook_attacks(from, occ)) & target);
        }

        const int push = us == WHITE ? 8 : -8;
        const int promoRank = us == WHITE ? 6 : 1, doubleRank = us == WHITE ? 1 : 6;
        const Square ep = board.state().epSquare;
        for (Bitboard b = board.pieces(us, PAWN); b;) {
            const Square from = pop_lsb(b);
            const bool promotes = rank_of(from) == promoRank;
            const Square to = from + push;
            // Pawns never stand on their last rank in a legal position; a
            // set-up one simply has no moves.
            if (to < 0 || to > 63) continue;
            if (!board.piece_on(to)) {
                if (target & square_bb(to)) {
                    if (promotes) out = add_promotions(out, from, to);
                    else out++->move = make_move(from, to);
                } else if (promotes && quietOff) {
                    out = add_promotions(out, from, to);  // a push promotion is tactical
                }
                const Square twoAhead = to + push;
                if (rank_of(from) == doubleRank && !board.piece_on(twoAhead) && (target & square_bb(twoAhead)))
                    out++->move = make_move(from, twoAhead);
            }
            for (Bitboard caps = pawnAtt[us][from] & enemy & target; caps;) {
                const Square capTo = pop_lsb(caps);
                if (promotes) out = add_promotions(out, from, capTo);
                else out++->move = make_move(from, capTo);
            }
            if (ep != NO_SQUARE && (pawnAtt[us][from] & square_bb(ep))) {
                const Square victim = ep - push;
                if (quietOff || (target & (square_bb(ep) | square_bb(victim))))
                    out++->move = make_move(from, ep, FLAG_EN_PASSANT);
            }
        }
    }

    if (k != NO_SQUARE) {
        out = add_moves(out, k, kingAtt[k] & (quietOff ? enemy : ~own));
        if (!quietOff && !checkers) out = generate_castling(board, out, us);
    }

    // Legality: only king moves, pinned pieces and en passant can be illegal
    // once the check mask has been applied. The first two are settled by
    // geometry; en passant, which lifts two pawns off one rank, is played.
    const Bitboard pins = board.pinned(us);
    const Bitboard occWithoutKing = k != NO_SQUARE ? occ ^ square_bb(k) : occ;
    ScoredMove* kept = begin;
    for (ScoredMove* m = begin; m != out; ++m) {
        const Square from = move_from(m->move), to = move_to(m->move);
        bool legal = true;
        if (move_flag(m->move) == FLAG_EN_PASSANT) {
            board.do_move(m->move);
            legal = k == NO_SQUARE || !(board.attackers_to(k, board.occupied()) & board.pieces(them));
            board.undo_move();
        } else if (from == k) {
            // Sliders see through the square the king leaves; a captured
            // piece never attacks its own square.
            legal = !(board.attackers_to(to, occWithoutKing) & enemy);
        } else if (pins & square_bb(from)) {
            legal = stays_on_pin_line(k, from, to);
        }
        if (legal) kept++->move = m->move;
    }
    return static_cast<int>(kept - begin);
}

std::uint64_t perft_count(Board& board, int depth) {
    if (depth == 0) return 1;
    ScoredMove moves[MAX_MOVES];
    const int n = generate_legal(board, moves, false);
    if (depth == 1) return static_cast<std::uint64_t>(n);
    std::uint64_t total = 0;
    for (int i = 0; i < n; ++i) {
        board.do_move(moves[i].move);
        total += perft_count(board, depth - 1);
        board.undo_move();
    }
    return total;
}

}  // namespace morvane
