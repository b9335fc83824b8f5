// The generator's own board: pieces as (code, square) slots, attacks from
// plain rays, and every legal move. The generator is built before the
// engine, so it cannot borrow the engine's board.
#pragma once

#include <cstdint>

namespace tbgen {

using U64 = std::uint64_t;

// Squares a king on s reaches: two kings may never touch.
extern U64 kingMask[64];

// Fills the attack and check tables; call once before anything else.
void init_board_tables();
// Squares a piece of this code (type, plus 8 for Black) attacks from s.
U64 piece_attacks(int code, int s, U64 occ);

struct Pos {
    int n = 0;
    int code[4];
    int sq[4];
};

U64 occupancy(const Pos& p);
bool attacked_by(const Pos& p, int target, int colour, U64 occ);
int king_slot(const Pos& p, int colour);
bool in_check(const Pos& p, int colour);
void remove_slot(Pos& p, int i);

// Calls f(child, slot, capture, pawn, from, to) for every legal move of stm;
// a promotion calls it once per promotion piece.
template <class F>
void for_each_move(const Pos& p, int stm, F&& f) {
    U64 occ = occupancy(p);
    U64 own = 0;
    for (int i = 0; i < p.n; ++i)
        if ((p.code[i] >> 3) == stm) own |= U64{1} << p.sq[i];
    for (int i = 0; i < p.n; ++i) {
        if ((p.code[i] >> 3) != stm) continue;
        int from = p.sq[i];
        bool pawn = (p.code[i] & 7) == 1;
        U64 targets;
        if (pawn) {
            int dir = stm == 0 ? 8 : -8;
            targets = piece_attacks(p.code[i], from, occ) & occ & ~own;
            int one = from + dir;
            if (!(occ >> one & 1)) {
                targets |= U64{1} << one;
                int startRank = stm == 0 ? 1 : 6;
                if ((from >> 3) == startRank && !(occ >> (one + dir) & 1)) targets |= U64{1} << (one + dir);
            }
        } else {
            targets = piece_attacks(p.code[i], from, occ) & ~own;
        }
        while (targets) {
            int to = __builtin_ctzll(targets);
            targets &= targets - 1;
            Pos q = p;
            int mi = i;
            bool capture = false;
            for (int j = 0; j < q.n; ++j)
                if (q.sq[j] == to) {
                    remove_slot(q, j);
                    if (j < mi) --mi;
                    capture = true;
                    break;
                }
            q.sq[mi] = to;
            if (in_check(q, stm)) continue;
            if (pawn && (to < 8 || to >= 56)) {
                for (int promo = 5; promo >= 2; --promo) {
                    q.code[mi] = promo + 8 * stm;
                    f(q, mi, capture, pawn, from, to);
                }
            } else {
                f(q, mi, capture, pawn, from, to);
            }
        }
    }
}

}  // namespace tbgen
