#include "retro_board.h"

#include <algorithm>
#include <cstdlib>

namespace tbgen {

U64 kingMask[64];

namespace {

U64 knightMask[64];
U64 rays[8][64];
constexpr int rayDf[8] = {1, -1, 0, 0, 1, 1, -1, -1};
constexpr int rayDr[8] = {0, 0, 1, -1, 1, -1, 1, -1};

void init_attack_tables() {
    for (int s = 0; s < 64; ++s) {
        int f = s & 7, r = s >> 3;
        for (int df = -2; df <= 2; ++df)
            for (int dr = -2; dr <= 2; ++dr) {
                int nf = f + df, nr = r + dr;
                if (nf < 0 || nf > 7 || nr < 0 || nr > 7) continue;
                if (std::abs(df) * std::abs(dr) == 2) knightMask[s] |= U64{1} << (nr * 8 + nf);
                if (std::max(std::abs(df), std::abs(dr)) == 1) kingMask[s] |= U64{1} << (nr * 8 + nf);
            }
        for (int d = 0; d < 8; ++d) {
            int nf = f + rayDf[d], nr = r + rayDr[d];
            while (nf >= 0 && nf < 8 && nr >= 0 && nr < 8) {
                rays[d][s] |= U64{1} << (nr * 8 + nf);
                nf += rayDf[d];
                nr += rayDr[d];
            }
        }
    }
}

U64 slide(int s, U64 occ, int d0, int d1) {
    U64 a = 0;
    for (int d = d0; d < d1; ++d) {
        U64 ray = rays[d][s];
        U64 block = ray & occ;
        if (block) {
            // directions 0, 2, 4, 6 grow the square index, the others shrink it
            bool up = (d == 0 || d == 2 || d == 4 || d == 6);
            int b = up ? __builtin_ctzll(block) : 63 - __builtin_clzll(block);
            ray &= ~rays[d][b];
        }
        a |= ray;
    }
    return a;
}

}  // namespace

U64 piece_attacks(int code, int s, U64 occ) {
    switch (code & 7) {
        case 1: {
            int f = s & 7;
            int r = (code & 8) ? (s >> 3) - 1 : (s >> 3) + 1;
            U64 a = 0;
            if (r < 0 || r > 7) return 0;
            if (f > 0) a |= U64{1} << (r * 8 + f - 1);
            if (f < 7) a |= U64{1} << (r * 8 + f + 1);
            return a;
        }
        case 2: return knightMask[s];
        case 3: return slide(s, occ, 4, 8);
        case 4: return slide(s, occ, 0, 4);
        case 5: return slide(s, occ, 0, 8);
        case 6: return kingMask[s];
    }
    return 0;
}

namespace {

U64 betweenMask[64][64];
U64 emptyAttacks[16][64];

void init_check_tables() {
    for (int a = 0; a < 64; ++a) {
        for (int code = 1; code < 16; ++code)
            if ((code & 7) >= 1 && (code & 7) <= 6) emptyAttacks[code][a] = piece_attacks(code, a, 0);
        for (int d = 0; d < 8; ++d) {
            U64 ray = rays[d][a];
            while (ray) {
                int b = __builtin_ctzll(ray);
                ray &= ray - 1;
                betweenMask[a][b] = rays[d][a] & ~rays[d][b] & ~(U64{1} << b);
            }
        }
    }
}

}  // namespace

void init_board_tables() {
    init_attack_tables();
    init_check_tables();
}

U64 occupancy(const Pos& p) {
    U64 o = 0;
    for (int i = 0; i < p.n; ++i) o |= U64{1} << p.sq[i];
    return o;
}

bool attacked_by(const Pos& p, int target, int colour, U64 occ) {
    for (int i = 0; i < p.n; ++i) {
        if ((p.code[i] >> 3) != colour || !(emptyAttacks[p.code[i]][p.sq[i]] >> target & 1)) continue;
        int type = p.code[i] & 7;
        if (type < 3 || type == 6 || !(betweenMask[p.sq[i]][target] & occ)) return true;
    }
    return false;
}

int king_slot(const Pos& p, int colour) {
    for (int i = 0; i < p.n; ++i)
        if (p.code[i] == 6 + 8 * colour) return i;
    return -1;
}

bool in_check(const Pos& p, int colour) {
    int k = king_slot(p, colour);
    return k >= 0 && attacked_by(p, p.sq[k], colour ^ 1, occupancy(p));
}

void remove_slot(Pos& p, int i) {
    for (int j = i; j + 1 < p.n; ++j) {
        p.code[j] = p.code[j + 1];
        p.sq[j] = p.sq[j + 1];
    }
    --p.n;
}

}  // namespace tbgen
