// Retrograde analysis of one table: every position's value and distance to
// zeroing without the fifty-move rule, from the mates and zeroing moves
// backwards by reversible moves, one distance at a time.
#include "solver.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

namespace tbgen {

using namespace morvane::tb;

namespace {

enum : std::uint8_t { F_ESCAPE = 1, F_ZERO = 2, F_ZWIN = 4 };

struct Solver {
    const TableSet& set;
    Table& t;
    const Material& m;
    std::vector<std::uint8_t> cnt[2], flags[2];
    std::vector<std::vector<std::uint32_t>> levels;

    Solver(const TableSet& tables, Table& table) : set(tables), t(table), m(table.mat) {}

    Pos pos_of(std::uint32_t idx) const {
        Pos p;
        p.n = m.n;
        for (int i = 0; i < m.n; ++i) p.code[i] = m.code[i];
        decode(m, idx, p.sq);
        return p;
    }

    bool valid(const Pos& p, std::uint32_t idx) const {
        U64 occ = 0;
        for (int i = 0; i < p.n; ++i) {
            if (occ >> p.sq[i] & 1) return false;
            occ |= U64{1} << p.sq[i];
            if ((p.code[i] & 7) == 1 && (p.sq[i] < 8 || p.sq[i] >= 56)) return false;
        }
        if (encode(m, p.sq) != idx) return false;
        int wk = p.sq[king_slot(p, 0)], bk = p.sq[king_slot(p, 1)];
        return !(kingMask[wk] >> bk & 1);
    }

    void push(int d, std::uint32_t idx, int stm) {
        if (static_cast<int>(levels.size()) <= d) levels.resize(d + 1);
        levels[d].push_back(idx * 2 + static_cast<std::uint32_t>(stm));
    }

    // Forward look at one position: zeroing moves are valued at once,
    // reversible ones are counted (one count per distinct child index).
    void init_position(std::uint32_t idx, int stm) {
        Pos p = pos_of(idx);
        std::uint32_t kids[256];
        int nk = 0;
        int moves = 0;
        std::uint8_t f = 0;
        for_each_move(p, stm, [&](const Pos& q, int, bool capture, bool pawn, int from, int to) {
            ++moves;
            if (!capture && !pawn) {
                std::uint32_t c = encode(m, q.sq);
                bool seen = false;
                for (int k = 0; k < nk; ++k) seen |= kids[k] == c;
                if (!seen) kids[nk++] = c;
                return;
            }
            if (capture) {
                Value cv = lookup(set, q, stm ^ 1);
                int forMover = 4 - scale_value(cv.wdl, cv.dtz);
                if (forMover > t.capv[stm][idx]) t.capv[stm][idx] = static_cast<std::int8_t>(forMover);
            }
            int z;
            if (pawn && !capture && std::abs(to - from) == 16) z = after_double_push(set, q, stm, (to + from) / 2);
            else z = zero_value(set, q, stm);
            f |= F_ZERO;
            if (z == Z_WIN) f |= F_ZWIN;
            if (z == Z_DRAW) f |= F_ESCAPE;
        });
        flags[stm][idx] = f;
        cnt[stm][idx] = static_cast<std::uint8_t>(nk);
        if (f & F_ZWIN) {
            t.val[stm][idx] = WIN;
            t.dtz[stm][idx] = 1;
            push(1, idx, stm);
        } else if (moves == 0) {
            if (in_check(p, stm)) {
                t.val[stm][idx] = LOSS;
                t.dtz[stm][idx] = 0;
                push(0, idx, stm);
            } else {
                t.val[stm][idx] = DRAW;
            }
        } else if (nk == 0 && !(f & F_ESCAPE)) {
            t.val[stm][idx] = LOSS;
            t.dtz[stm][idx] = 1;
            push(1, idx, stm);
        }
    }

    // Positions one reversible move before (idx, stm), by distinct index.
    int predecessors(std::uint32_t idx, int stm, std::uint32_t* out) const {
        Pos p = pos_of(idx);
        U64 occ = occupancy(p);
        int mover = stm ^ 1;
        int n = 0;
        for (int i = 0; i < p.n; ++i) {
            if ((p.code[i] >> 3) != mover || (p.code[i] & 7) == 1) continue;
            U64 from = piece_attacks(p.code[i], p.sq[i], occ) & ~occ;
            while (from) {
                int s = __builtin_ctzll(from);
                from &= from - 1;
                Pos q = p;
                q.sq[i] = s;
                if (in_check(q, stm)) continue;
                std::uint32_t c = encode(m, q.sq);
                bool seen = false;
                for (int k = 0; k < n; ++k) seen |= out[k] == c;
                if (!seen) out[n++] = c;
            }
        }
        return n;
    }

    void solve_range(std::uint32_t lo, std::uint32_t hi) {
        levels.clear();
        for (std::uint32_t idx = lo; idx < hi; ++idx) {
            Pos p = pos_of(idx);
            if (!valid(p, idx)) continue;
            for (int stm = 0; stm < 2; ++stm) {
                if (in_check(p, stm ^ 1)) continue;
                t.val[stm][idx] = UNKNOWN;
                init_position(idx, stm);
            }
        }
        std::uint32_t preds[256];
        for (std::size_t d = 0; d < levels.size(); ++d) {
            for (std::size_t k = 0; k < levels[d].size(); ++k) {
                std::uint32_t e = levels[d][k];
                std::uint32_t idx = e >> 1;
                int stm = static_cast<int>(e & 1);
                int np = predecessors(idx, stm, preds);
                int ps = stm ^ 1;
                bool loss = t.val[stm][idx] == LOSS;
                for (int j = 0; j < np; ++j) {
                    std::uint32_t q = preds[j];
                    if (t.val[ps][q] != UNKNOWN) continue;
                    if (loss) {
                        t.val[ps][q] = WIN;
                        t.dtz[ps][q] = static_cast<std::uint8_t>(std::min<std::size_t>(d + 1, 255));
                        push(static_cast<int>(d + 1), q, ps);
                    } else if (--cnt[ps][q] == 0 && !(flags[ps][q] & F_ESCAPE)) {
                        t.val[ps][q] = LOSS;
                        t.dtz[ps][q] = static_cast<std::uint8_t>(std::min<std::size_t>(d + 1, 255));
                        push(static_cast<int>(d + 1), q, ps);
                    }
                }
            }
        }
        for (int stm = 0; stm < 2; ++stm)
            for (std::uint32_t idx = lo; idx < hi; ++idx)
                if (t.val[stm][idx] == UNKNOWN) t.val[stm][idx] = DRAW;
    }

    void solve() {
        for (int s = 0; s < 2; ++s) {
            t.val[s].assign(m.size, INVALID);
            t.dtz[s].assign(m.size, 0);
            t.capv[s].assign(m.size, -1);
            cnt[s].assign(m.size, 0);
            flags[s].assign(m.size, 0);
        }
        int pawns = 0;
        while (pawns < m.n && (m.code[pawns] & 7) == 1) ++pawns;
        std::uint32_t span = 1;
        for (int i = pawns; i < m.n; ++i) span *= 64;
        if (pawns == 0) span = m.size;
        // Pawn pushes lead to more advanced pawn configurations: settle those
        // first so that every push finds its result already known.
        std::vector<std::pair<int, std::uint32_t>> order;
        for (std::uint32_t lo = 0; lo < m.size; lo += span) {
            Pos p = pos_of(lo);
            int adv = 0;
            for (int i = 0; i < pawns; ++i) adv += (p.code[i] & 8) ? 7 - (p.sq[i] >> 3) : (p.sq[i] >> 3);
            order.push_back({-adv, lo});
        }
        std::stable_sort(order.begin(), order.end());
        for (auto& [adv, lo] : order) solve_range(lo, lo + span);
    }
};

}  // namespace

void solve_table(const TableSet& set, Table& table) { Solver(set, table).solve(); }

}  // namespace tbgen
