// The reader's own small position: just enough of chess (moves, captures,
// checks, en passant) for the probes to resolve captures and zeroing moves
// before trusting a stored value. Header-only, so that the probes, which
// the search calls in every small ending, inline it.
#pragma once

#include <cstdint>

#include "core/attacks.h"

namespace morvane::tb {

struct TbPos {
    std::uint64_t white, black, kings, queens, rooks, bishops, knights, pawns;
    std::uint8_t rule50, ep;
    bool turn;  // true: White to move
};

struct TbMove {
    std::uint8_t from, to, promo;  // promo: 0 none, 1 Q, 2 R, 3 B, 4 N
    bool ep;
};

constexpr int maxTbMoves = 256;

inline int tb_pop_count(std::uint64_t b) { return __builtin_popcountll(b); }
inline int tb_lsb(std::uint64_t b) { return __builtin_ctzll(b); }
inline int tb_pop_lsb(std::uint64_t& b) {
    int s = tb_lsb(b);
    b &= b - 1;
    return s;
}

inline std::uint64_t tb_king_attacks(int s) { return kingAtt[s]; }
inline std::uint64_t tb_knight_attacks(int s) { return knightAtt[s]; }
inline std::uint64_t tb_bishop_attacks(int s, std::uint64_t occ) { return bishop_attacks(s, occ); }
inline std::uint64_t tb_rook_attacks(int s, std::uint64_t occ) { return rook_attacks(s, occ); }
inline std::uint64_t tb_queen_attacks(int s, std::uint64_t occ) {
    return bishop_attacks(s, occ) | rook_attacks(s, occ);
}
inline std::uint64_t tb_pawn_attacks(int s, bool white) { return pawnAtt[white ? WHITE : BLACK][s]; }

inline std::uint64_t side_bb(const TbPos& p, bool white) { return white ? p.white : p.black; }

// Is square s attacked by the side `byWhite`?
inline bool attacked(const TbPos& p, int s, bool byWhite) {
    std::uint64_t them = side_bb(p, byWhite);
    std::uint64_t occ = p.white | p.black;
    if (tb_king_attacks(s) & p.kings & them) return true;
    if (tb_knight_attacks(s) & p.knights & them) return true;
    if (tb_pawn_attacks(s, !byWhite) & p.pawns & them) return true;
    if (tb_bishop_attacks(s, occ) & (p.bishops | p.queens) & them) return true;
    return (tb_rook_attacks(s, occ) & (p.rooks | p.queens) & them) != 0;
}

// Side to move in check.
inline bool is_check(const TbPos& p) {
    std::uint64_t k = p.kings & side_bb(p, p.turn);
    return k && attacked(p, tb_lsb(k), !p.turn);
}

// After a move: the side that moved must not be left in check.
inline bool is_legal(const TbPos& p) {
    std::uint64_t k = p.kings & side_bb(p, !p.turn);
    return k && !attacked(p, tb_lsb(k), p.turn);
}

// The bitboard of one piece type, both colours; const or not as `p` is.
template <class Pos>
auto& type_bb(Pos& p, int type) {
    switch (type) {
        case 1: return p.pawns;
        case 2: return p.knights;
        case 3: return p.bishops;
        case 4: return p.rooks;
        case 5: return p.queens;
        default: return p.kings;
    }
}

inline int type_on(const TbPos& p, int s) {
    std::uint64_t b = std::uint64_t{1} << s;
    if (p.pawns & b) return 1;
    if (p.knights & b) return 2;
    if (p.bishops & b) return 3;
    if (p.rooks & b) return 4;
    if (p.queens & b) return 5;
    if (p.kings & b) return 6;
    return 0;
}

inline TbPos do_move(const TbPos& p, TbMove m) {
    TbPos q = p;
    std::uint64_t from = std::uint64_t{1} << m.from, to = std::uint64_t{1} << m.to;
    int moving = type_on(p, m.from);
    int captured = type_on(p, m.to);
    std::uint64_t& us = p.turn ? q.white : q.black;
    std::uint64_t& them = p.turn ? q.black : q.white;
    if (captured) {
        type_bb(q, captured) &= ~to;
        them &= ~to;
    }
    if (m.ep) {
        std::uint64_t victim = std::uint64_t{1} << (p.turn ? m.to - 8 : m.to + 8);
        q.pawns &= ~victim;
        them &= ~victim;
    }
    type_bb(q, moving) &= ~from;
    us = (us & ~from) | to;
    int placed = moving;
    if (m.promo) placed = 6 - m.promo;  // 1 Q -> 5 ... 4 N -> 2
    type_bb(q, placed) |= to;
    q.ep = 0;
    if (moving == 1 && (m.to ^ m.from) == 16) {
        int epSq = (m.to + m.from) / 2;
        // Only a square some pawn could actually take on counts as a right.
        if (tb_pawn_attacks(epSq, p.turn) & q.pawns & them) q.ep = static_cast<std::uint8_t>(epSq);
    }
    q.rule50 = (moving == 1 || captured || m.ep) ? 0 : static_cast<std::uint8_t>(p.rule50 + 1);
    q.turn = !p.turn;
    return q;
}

inline int add_pawn_moves(TbMove* out, int n, int from, int to, bool ep) {
    if (to < 8 || to >= 56) {
        for (std::uint8_t pr = 1; pr <= 4; ++pr)
            out[n++] = {static_cast<std::uint8_t>(from), static_cast<std::uint8_t>(to), pr, false};
    } else {
        out[n++] = {static_cast<std::uint8_t>(from), static_cast<std::uint8_t>(to), 0, ep};
    }
    return n;
}

// Pseudo-legal moves; captures only (promotions by capture included) when
// capturesOnly is set.
inline int gen_moves_impl(const TbPos& p, TbMove* out, bool capturesOnly) {
    int n = 0;
    std::uint64_t us = side_bb(p, p.turn), them = side_bb(p, !p.turn), occ = us | them;
    std::uint64_t targets = capturesOnly ? them : ~us;
    std::uint64_t b = us & ~p.pawns;
    while (b) {
        int s = tb_pop_lsb(b);
        std::uint64_t a;
        switch (type_on(p, s)) {
            case 2: a = tb_knight_attacks(s); break;
            case 3: a = tb_bishop_attacks(s, occ); break;
            case 4: a = tb_rook_attacks(s, occ); break;
            case 5: a = tb_queen_attacks(s, occ); break;
            default: a = tb_king_attacks(s); break;
        }
        a &= targets;
        while (a) out[n++] = {static_cast<std::uint8_t>(s), static_cast<std::uint8_t>(tb_pop_lsb(a)), 0, false};
    }
    b = us & p.pawns;
    int up = p.turn ? 8 : -8;
    while (b) {
        int s = tb_pop_lsb(b);
        std::uint64_t a = tb_pawn_attacks(s, p.turn) & them;
        while (a) n = add_pawn_moves(out, n, s, tb_pop_lsb(a), false);
        if (p.ep && (tb_pawn_attacks(s, p.turn) >> p.ep & 1)) n = add_pawn_moves(out, n, s, p.ep, true);
        if (capturesOnly) continue;
        int one = s + up;
        if (one < 0 || one > 63 || (occ >> one & 1)) continue;
        n = add_pawn_moves(out, n, s, one, false);
        int startRank = p.turn ? 1 : 6;
        if ((s >> 3) == startRank && !(occ >> (one + up) & 1)) n = add_pawn_moves(out, n, s, one + up, false);
    }
    return n;
}

inline int gen_captures(const TbPos& p, TbMove* out) { return gen_moves_impl(p, out, true); }
inline int gen_moves(const TbPos& p, TbMove* out) { return gen_moves_impl(p, out, false); }

inline bool is_capture(const TbPos& p, TbMove m) { return m.ep || ((side_bb(p, !p.turn) >> m.to) & 1); }
inline bool is_zeroing(const TbPos& p, TbMove m) { return is_capture(p, m) || (p.pawns >> m.from & 1); }

inline bool has_legal_move(const TbPos& p) {
    TbMove moves[maxTbMoves];
    int n = gen_moves(p, moves);
    for (int i = 0; i < n; ++i)
        if (is_legal(do_move(p, moves[i]))) return true;
    return false;
}

inline bool is_mate(const TbPos& p) { return is_check(p) && !has_legal_move(p); }

// Four bits of count per piece type and colour; mirror exchanges colours.
inline std::uint64_t calc_key(const TbPos& p, bool mirror) {
    std::uint64_t w = mirror ? p.black : p.white, b = mirror ? p.white : p.black;
    std::uint64_t key = 0;
    const std::uint64_t types[5] = {p.pawns, p.knights, p.bishops, p.rooks, p.queens};
    for (int t = 0; t < 5; ++t) {
        key += static_cast<std::uint64_t>(tb_pop_count(types[t] & w)) << (4 * t);
        key += static_cast<std::uint64_t>(tb_pop_count(types[t] & b)) << (4 * t + 20);
    }
    return key;
}

// A position from the probing interface's bitboards; false when it is not
// one the tables could hold (overlaps, kings, pawns on the back ranks, the
// side that just moved in check).
inline bool make_pos(TbPos& p, std::uint64_t white, std::uint64_t black, std::uint64_t kings, std::uint64_t queens,
                     std::uint64_t rooks, std::uint64_t bishops, std::uint64_t knights, std::uint64_t pawns,
                     unsigned ep, bool turn) {
    p = TbPos{white, black, kings, queens, rooks, bishops, knights, pawns, 0, 0, turn};
    std::uint64_t all = kings | queens | rooks | bishops | knights | pawns;
    if ((white & black) || all != (white | black)) return false;
    if (tb_pop_count(kings) + tb_pop_count(queens) + tb_pop_count(rooks) + tb_pop_count(bishops) +
            tb_pop_count(knights) + tb_pop_count(pawns) !=
        tb_pop_count(all))
        return false;
    if (tb_pop_count(kings & white) != 1 || tb_pop_count(kings & black) != 1) return false;
    if (pawns & 0xFF000000000000FFull) return false;
    if (ep > 0 && ep < 64 && (tb_pawn_attacks(static_cast<int>(ep), !turn) & pawns & side_bb(p, turn)))
        p.ep = static_cast<std::uint8_t>(ep);
    // The side that just moved may not be in check.
    std::uint64_t k = kings & side_bb(p, !turn);
    return !attacked(p, tb_lsb(k), turn);
}

}  // namespace morvane::tb
