#include "table_set.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace tbgen {

using namespace morvane::tb;

U64 material_key(const int* code, int n, bool swap) {
    U64 k = 0;
    for (int i = 0; i < n; ++i) k += U64{1} << (4 * (swap ? code[i] ^ 8 : code[i]));
    return k;
}

Value lookup(const TableSet& set, const Pos& p, int stm) {
    if (p.n == 2) return {DRAW, 0};
    bool swap = false;
    auto it = set.byKey.find(material_key(p.code, p.n, false));
    if (it == set.byKey.end()) {
        it = set.byKey.find(material_key(p.code, p.n, true));
        swap = true;
    }
    if (it == set.byKey.end()) {
        std::fprintf(stderr, "tbgen: no table for a position with %d pieces\n", p.n);
        std::exit(2);
    }
    const Table& t = set.tables[it->second];
    int sq[4] = {0, 0, 0, 0};
    bool used[4] = {false, false, false, false};
    for (int i = 0; i < t.mat.n; ++i) {
        int want = t.mat.code[i];
        for (int j = 0; j < p.n; ++j) {
            int code = swap ? (p.code[j] ^ 8) : p.code[j];
            if (!used[j] && code == want) {
                used[j] = true;
                sq[i] = swap ? (p.sq[j] ^ 56) : p.sq[j];
                break;
            }
        }
    }
    std::uint32_t idx = encode(t.mat, sq);
    int side = swap ? stm ^ 1 : stm;
    return {t.val[side][idx], t.dtz[side][idx]};
}

// Value for the mover of the position after its pawn went two squares: the
// opponent may then capture en passant, which tables without that right
// cannot know about.
int after_double_push(const TableSet& set, const Pos& child, int mover, int epSquare) {
    Value v = lookup(set, child, mover ^ 1);
    int opp = mover ^ 1;
    int best = -1;  // for opp: 0 loss, 1 draw, 2 win
    bool otherMoves = false;
    for_each_move(child, opp, [&](const Pos&, int, bool, bool, int, int) { otherMoves = true; });
    U64 occ = occupancy(child);
    for (int i = 0; i < child.n; ++i) {
        if (child.code[i] != 1 + 8 * opp) continue;
        if (!(piece_attacks(child.code[i], child.sq[i], occ) >> epSquare & 1)) continue;
        Pos q = child;
        int victim = epSquare + (opp == 0 ? -8 : 8);
        int from = child.sq[i];
        for (int j = 0; j < q.n; ++j)
            if (q.sq[j] == victim) {
                remove_slot(q, j);
                break;
            }
        for (int j = 0; j < q.n; ++j)
            if (q.sq[j] == from) q.sq[j] = epSquare;
        if (in_check(q, opp)) continue;
        Value cv = lookup(set, q, mover);
        int forOpp = cv.wdl == LOSS ? 2 : cv.wdl == WIN ? 0 : 1;
        best = std::max(best, forOpp);
    }
    int tableForOpp = v.wdl == WIN ? 2 : v.wdl == LOSS ? 0 : 1;
    int forOpp = tableForOpp;
    if (best >= 0) forOpp = otherMoves ? std::max(best, tableForOpp) : best;
    return forOpp == 2 ? Z_LOSS : forOpp == 0 ? Z_WIN : Z_DRAW;
}

int zero_value(const TableSet& set, const Pos& child, int mover) {
    Value v = lookup(set, child, mover ^ 1);
    return v.wdl == LOSS ? Z_WIN : v.wdl == WIN ? Z_LOSS : Z_DRAW;
}

int scale_value(int v, int d) {
    if (v == WIN) return d > 100 ? 3 : 4;
    if (v == LOSS) return d > 100 ? 1 : 0;
    return 2;
}

}  // namespace tbgen
