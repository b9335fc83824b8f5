// Builds every 3- and 4-piece endgame table by retrograde analysis, writes
// them in our own file layout (src/tablebase/tb_layout.h), checks their
// statistics against the published figures and writes the assembler and
// C++ sources that embed them in the engine.
//
// Usage: tbgen OUTDIR [--expect STATS_FILE]
//
// Values are computed without the fifty-move rule, then the distance to
// zeroing (DTZ) of every won or lost position is found by a breadth-first
// pass over the reversible moves. A win whose DTZ exceeds 100 plies would be
// a cursed win and the loser's position a blessed loss; none occurs with
// four pieces, which the generator checks and reports.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tablebase/tb_layout.h"

namespace {

using namespace morvane::tb;
using U64 = std::uint64_t;

// ---------------------------------------------------------------- attacks

U64 knightMask[64], kingMask[64];
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

// ---------------------------------------------------------------- positions

struct Pos {
    int n = 0;
    int code[4];
    int sq[4];
};

U64 occupancy(const Pos& p) {
    U64 o = 0;
    for (int i = 0; i < p.n; ++i) o |= U64{1} << p.sq[i];
    return o;
}

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

// ---------------------------------------------------------------- tables

enum : std::uint8_t { UNKNOWN = 0, WIN = 1, LOSS = 2, DRAW = 3, INVALID = 0xFF };
enum : std::uint8_t { F_ESCAPE = 1, F_ZERO = 2, F_ZWIN = 4 };

struct Table {
    std::string name;
    Material mat;
    std::vector<std::uint8_t> val[2], dtz[2];
    std::vector<std::int8_t> capv[2];  // best capture for the mover, 0..4; -1 none
    bool done = false;
};

std::vector<Table> g_tables;
std::map<std::string, int> g_byName;

const char* tableNames[35] = {"KBvK",  "KNvK",  "KPvK",  "KQvK",  "KRvK",  "KBBvK", "KBNvK", "KBPvK", "KBvKB",
                              "KBvKN", "KBvKP", "KNNvK", "KNPvK", "KNvKN", "KNvKP", "KPPvK", "KPvKP", "KQBvK",
                              "KQNvK", "KQPvK", "KQQvK", "KQRvK", "KQvKB", "KQvKN", "KQvKP", "KQvKQ", "KQvKR",
                              "KRBvK", "KRNvK", "KRPvK", "KRRvK", "KRvKB", "KRvKN", "KRvKP", "KRvKR"};

struct Value {
    int wdl;  // WIN, LOSS, DRAW from the side to move
    int dtz;
};

// Material key: four bits of count per piece code.
U64 material_key(const int* code, int n, bool swap) {
    U64 k = 0;
    for (int i = 0; i < n; ++i) k += U64{1} << (4 * (swap ? code[i] ^ 8 : code[i]));
    return k;
}

std::map<U64, int> g_byKey;

// Value of any position of the finished tables (or of the one being built,
// for positions it has already settled), from the side to move.
Value lookup(const Pos& p, int stm) {
    if (p.n == 2) return {DRAW, 0};
    bool swap = false;
    auto it = g_byKey.find(material_key(p.code, p.n, false));
    if (it == g_byKey.end()) {
        it = g_byKey.find(material_key(p.code, p.n, true));
        swap = true;
    }
    if (it == g_byKey.end()) {
        std::fprintf(stderr, "tbgen: no table for a position with %d pieces\n", p.n);
        std::exit(2);
    }
    const Table& t = g_tables[it->second];
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

// What a zeroing move is worth to the side that made it.
enum { Z_WIN, Z_DRAW, Z_LOSS };

// Value for the mover of the position after its pawn went two squares: the
// opponent may then capture en passant, which tables without that right
// cannot know about.
int after_double_push(const Pos& child, int mover, int epSquare) {
    Value v = lookup(child, mover ^ 1);
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
        Value cv = lookup(q, mover);
        int forOpp = cv.wdl == LOSS ? 2 : cv.wdl == WIN ? 0 : 1;
        best = std::max(best, forOpp);
    }
    int tableForOpp = v.wdl == WIN ? 2 : v.wdl == LOSS ? 0 : 1;
    int forOpp = tableForOpp;
    if (best >= 0) forOpp = otherMoves ? std::max(best, tableForOpp) : best;
    return forOpp == 2 ? Z_LOSS : forOpp == 0 ? Z_WIN : Z_DRAW;
}

int zero_value(const Pos& child, int mover) {
    Value v = lookup(child, mover ^ 1);
    return v.wdl == LOSS ? Z_WIN : v.wdl == WIN ? Z_LOSS : Z_DRAW;
}

// ---------------------------------------------------------------- solving

// Win/draw/loss value of the reader's scale (0 loss .. 4 win).
int scale_value(int v, int d) {
    if (v == WIN) return d > 100 ? 3 : 4;
    if (v == LOSS) return d > 100 ? 1 : 0;
    return 2;
}

struct Solver {
    Table& t;
    const Material& m;
    std::vector<std::uint8_t> cnt[2], flags[2];
    std::vector<std::vector<std::uint32_t>> levels;

    explicit Solver(Table& table) : t(table), m(table.mat) {}

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
                Value cv = lookup(q, stm ^ 1);
                int forMover = 4 - scale_value(cv.wdl, cv.dtz);
                if (forMover > t.capv[stm][idx]) t.capv[stm][idx] = static_cast<std::int8_t>(forMover);
            }
            int z;
            if (pawn && !capture && std::abs(to - from) == 16) z = after_double_push(q, stm, (to + from) / 2);
            else z = zero_value(q, stm);
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
        t.done = true;
    }
};

// ---------------------------------------------------------------- statistics

struct SideStats {
    std::map<int, long> win, lose;  // by DTZ in plies
    long wins = 0, draws = 0, losses = 0, cursed = 0, blessed = 0;
    bool operator==(const SideStats&) const = default;
};
struct TableStats {
    SideStats side[2];
    int longest[2] = {0, 0};  // longest win for white, for black
    bool operator==(const TableStats&) const = default;
};

// The published figures tell identical pieces apart: a position with two
// like pieces counts twice, unless a board symmetry maps it onto itself with
// the two pieces exchanged (then both labellings are one position).
int labelled_weight(const Material& m, std::uint32_t idx) {
    int pair = -1;
    for (int i = 1; i < m.n; ++i)
        if (m.code[i] == m.code[i - 1]) pair = i - 1;
    if (pair < 0) return 1;
    int sq[4];
    decode(m, idx, sq);
    for (int t = 1; t < (m.pawns ? 2 : 8); ++t) {
        bool swaps = transform_square(t, sq[pair]) == sq[pair + 1] && transform_square(t, sq[pair + 1]) == sq[pair];
        for (int i = 0; i < m.n && swaps; ++i)
            if (i != pair && i != pair + 1 && transform_square(t, sq[i]) != sq[i]) swaps = false;
        if (swaps) return 1;
    }
    return 2;
}

TableStats table_stats(const Table& t) {
    TableStats st;
    for (int s = 0; s < 2; ++s) {
        SideStats& ss = st.side[s];
        for (std::uint32_t i = 0; i < t.mat.size; ++i) {
            int v = t.val[s][i];
            int d = t.dtz[s][i];
            if (v == INVALID) continue;
            int w = labelled_weight(t.mat, i);
            if (v == DRAW) {
                ss.draws += w;
            } else if (v == WIN) {
                ss.win[d] += w;
                (d > 100 ? ss.cursed : ss.wins) += w;
                st.longest[s] = std::max(st.longest[s], d);
            } else {
                ss.lose[d] += w;
                (d > 100 ? ss.blessed : ss.losses) += w;
                st.longest[s ^ 1] = std::max(st.longest[s ^ 1], d);
            }
        }
    }
    return st;
}

void print_stats(std::FILE* out, const std::string& name, const TableStats& st) {
    std::fprintf(out, "########## %s ##########\n\n", name.c_str());
    for (int s = 0; s < 2; ++s) {
        const SideStats& ss = st.side[s];
        std::fprintf(out, "%s to move:\n\n", s == 0 ? "White" : "Black");
        for (auto& [d, n] : ss.win) std::fprintf(out, "%ld positions win in %d ply.\n", n, d);
        std::fprintf(out, "\n%ld positions are wins.\n", ss.wins);
        if (ss.cursed) std::fprintf(out, "%ld positions are cursed wins.\n", ss.cursed);
        std::fprintf(out, "%ld positions are draws.\n", ss.draws);
        if (ss.blessed) std::fprintf(out, "%ld positions are blessed losses.\n", ss.blessed);
        std::fprintf(out, "%ld positions are losses.\n\n", ss.losses);
        for (auto& [d, n] : ss.lose) std::fprintf(out, "%ld positions lose in %d ply.\n", n, d);
        std::fprintf(out, "\n");
    }
    if (st.longest[0]) std::fprintf(out, "Longest win for white: %d ply\n", st.longest[0]);
    if (st.longest[1]) std::fprintf(out, "Longest win for black: %d ply\n", st.longest[1]);
    std::fprintf(out, "\n");
}

struct Published {
    TableStats st;
    std::string fen[2];
};

std::map<std::string, Published> read_published(const std::string& path) {
    std::map<std::string, Published> all;
    std::ifstream in(path);
    std::string line, table;
    int side = 0;
    while (std::getline(in, line)) {
        long n;
        int d;
        char word[32];
        if (line.rfind("##########", 0) == 0) {
            std::istringstream ls(line);
            std::string hashes;
            ls >> hashes >> table;
            all[table];
        } else if (line == "White to move:") {
            side = 0;
        } else if (line == "Black to move:") {
            side = 1;
        } else if (std::sscanf(line.c_str(), "%ld positions win in %d ply.", &n, &d) == 2) {
            all[table].st.side[side].win[d] = n;
        } else if (std::sscanf(line.c_str(), "%ld positions lose in %d ply.", &n, &d) == 2) {
            all[table].st.side[side].lose[d] = n;
        } else if (std::sscanf(line.c_str(), "%ld positions are %31[a-z ]", &n, word) == 2) {
            SideStats& ss = all[table].st.side[side];
            std::string w = word;
            if (w == "wins") ss.wins = n;
            else if (w == "draws") ss.draws = n;
            else if (w == "losses") ss.losses = n;
            else if (w == "cursed wins") ss.cursed = n;
            else if (w == "blessed losses") ss.blessed = n;
        } else if (std::sscanf(line.c_str(), "Longest win for %31[a-z]: %d ply;", word, &d) == 2) {
            int c = std::string(word) == "white" ? 0 : 1;
            all[table].st.longest[c] = d;
            all[table].fen[c] = line.substr(line.find(';') + 2);
        }
    }
    return all;
}

// DTZ of a position given by FEN, from the side to move (negative: loses).
bool fen_dtz(const std::string& fen, int& dtz) {
    Pos p;
    int r = 7, f = 0;
    std::size_t i = 0;
    for (; i < fen.size() && fen[i] != ' '; ++i) {
        char c = fen[i];
        if (c == '/') {
            --r;
            f = 0;
        } else if (c >= '1' && c <= '8') {
            f += c - '0';
        } else {
            int type = letter_type(static_cast<char>(c & ~32));
            if (!type || p.n == 4) return false;
            p.code[p.n] = type + ((c & 32) ? 8 : 0);
            p.sq[p.n++] = r * 8 + f++;
        }
    }
    int stm = (i + 1 < fen.size() && fen[i + 1] == 'b') ? 1 : 0;
    Value v = lookup(p, stm);
    dtz = v.wdl == WIN ? v.dtz : v.wdl == LOSS ? -v.dtz : 0;
    return true;
}

// ---------------------------------------------------------------- encoding

struct BitWriter {
    std::vector<unsigned char> bytes;
    std::uint64_t bits = 0;
    void put(std::uint32_t value, int n) {
        for (int i = n - 1; i >= 0; --i) {
            if ((bits & 7) == 0) bytes.push_back(0);
            if (value >> i & 1) bytes.back() |= static_cast<unsigned char>(0x80 >> (bits & 7));
            ++bits;
        }
    }
};

// Code lengths for the given frequencies, none longer than maxCodeLength
// (frequencies are flattened until the tree is shallow enough).
std::vector<int> code_lengths(std::vector<std::uint64_t> freq) {
    std::size_t n = freq.size();
    std::vector<int> len(n, 0);
    for (;;) {
        std::vector<std::pair<std::uint64_t, int>> nodes;  // weight, node id
        std::vector<int> parent;
        for (std::size_t i = 0; i < n; ++i)
            if (freq[i]) {
                nodes.push_back({freq[i], static_cast<int>(parent.size())});
                parent.push_back(-1);
            }
        if (nodes.empty()) return len;
        if (nodes.size() == 1) {
            for (std::size_t i = 0; i < n; ++i)
                if (freq[i]) len[i] = 1;
            return len;
        }
        std::vector<int> leafOf;
        for (std::size_t i = 0; i < n; ++i)
            if (freq[i]) leafOf.push_back(static_cast<int>(i));
        auto cmp = [](auto& a, auto& b) { return a.first > b.first; };
        std::make_heap(nodes.begin(), nodes.end(), cmp);
        while (nodes.size() > 1) {
            std::pop_heap(nodes.begin(), nodes.end(), cmp);
            auto a = nodes.back();
            nodes.pop_back();
            std::pop_heap(nodes.begin(), nodes.end(), cmp);
            auto b = nodes.back();
            nodes.pop_back();
            int id = static_cast<int>(parent.size());
            parent.push_back(-1);
            parent[a.second] = id;
            parent[b.second] = id;
            nodes.push_back({a.first + b.first, id});
            std::push_heap(nodes.begin(), nodes.end(), cmp);
        }
        int maxLen = 0;
        for (std::size_t k = 0; k < leafOf.size(); ++k) {
            int l = 0;
            for (int x = static_cast<int>(k); parent[x] >= 0; x = parent[x]) ++l;
            len[leafOf[k]] = l;
            maxLen = std::max(maxLen, l);
        }
        if (maxLen <= maxCodeLength) return len;
        for (auto& f : freq)
            if (f) f = f / 2 + 1;
    }
}

struct Canon {
    std::vector<std::uint32_t> code;  // per symbol
    std::vector<int> len;
};

Canon canonical(const std::vector<int>& len) {
    Canon c;
    c.len = len;
    c.code.assign(len.size(), 0);
    std::vector<int> order;
    for (std::size_t i = 0; i < len.size(); ++i)
        if (len[i]) order.push_back(static_cast<int>(i));
    std::sort(order.begin(), order.end(), [&](int a, int b) { return len[a] != len[b] ? len[a] < len[b] : a < b; });
    std::uint32_t next = 0;
    int l = order.empty() ? 0 : len[order[0]];
    for (int s : order) {
        next <<= (len[s] - l);
        l = len[s];
        c.code[s] = next++;
    }
    return c;
}

void put_u32(std::vector<unsigned char>& b, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b.push_back(static_cast<unsigned char>(v >> (8 * i)));
}
void put_u16(std::vector<unsigned char>& b, std::uint32_t v) {
    b.push_back(static_cast<unsigned char>(v));
    b.push_back(static_cast<unsigned char>(v >> 8));
}

constexpr int blockShift = 10;

// Allowed values per entry: [lo, hi]; a free entry takes the value of the
// run it falls into, which makes runs long.
std::vector<unsigned char> encode_part(const std::vector<std::uint8_t>& lo, const std::vector<std::uint8_t>& hi) {
    std::size_t n = lo.size();
    std::uint32_t block = 1u << blockShift;
    std::uint32_t blocks = static_cast<std::uint32_t>((n + block - 1) / block);
    struct Run {
        int value;
        std::uint32_t len;
    };
    std::vector<std::vector<Run>> runs(blocks);
    std::vector<std::uint64_t> vf(512, 0), rf(32, 0);
    for (std::uint32_t b = 0; b < blocks; ++b) {
        std::size_t s = std::size_t(b) * block, e = std::min(n, s + block);
        std::size_t i = s;
        while (i < e) {
            // Extend the run as far as one value fits every entry.
            int l = 0, h = 255;
            std::size_t j = i;
            while (j < e && std::max<int>(l, lo[j]) <= std::min<int>(h, hi[j])) {
                l = std::max<int>(l, lo[j]);
                h = std::min<int>(h, hi[j]);
                ++j;
            }
            int v = l;
            if (l == 0 && h == 255) v = runs[b].empty() ? 0 : runs[b].back().value;
            std::uint32_t len = static_cast<std::uint32_t>(j - i);
            runs[b].push_back({v, len});
            if (len == 1) {
                ++vf[v];
            } else {
                ++vf[256 + v];
                ++rf[31 - __builtin_clz(len)];
            }
            i = j;
        }
    }
    Canon vc = canonical(code_lengths(vf)), rc = canonical(code_lengths(rf));
    BitWriter w;
    std::vector<std::uint32_t> offsets;
    for (std::uint32_t b = 0; b < blocks; ++b) {
        offsets.push_back(static_cast<std::uint32_t>(w.bits));
        for (const Run& r : runs[b]) {
            if (r.len == 1) {
                w.put(vc.code[r.value], vc.len[r.value]);
                continue;
            }
            int k = 31 - __builtin_clz(r.len);
            w.put(vc.code[256 + r.value], vc.len[256 + r.value]);
            w.put(rc.code[k], rc.len[k]);
            if (k) w.put(r.len - (1u << k), k);
        }
    }
    offsets.push_back(static_cast<std::uint32_t>(w.bits));
    std::vector<unsigned char> out;
    put_u32(out, blocks);
    int nv = 0, nr = 0;
    for (int l : vc.len) nv += l > 0;
    for (int l : rc.len) nr += l > 0;
    put_u16(out, static_cast<std::uint32_t>(nv));
    for (int s = 0; s < 512; ++s)
        if (vc.len[s]) {
            put_u16(out, static_cast<std::uint32_t>(s));
            out.push_back(static_cast<unsigned char>(vc.len[s]));
        }
    put_u16(out, static_cast<std::uint32_t>(nr));
    for (int s = 0; s < 32; ++s)
        if (rc.len[s]) {
            put_u16(out, static_cast<std::uint32_t>(s));
            out.push_back(static_cast<unsigned char>(rc.len[s]));
        }
    for (std::uint32_t o : offsets) put_u32(out, o);
    out.insert(out.end(), w.bytes.begin(), w.bytes.end());
    out.insert(out.end(), 8, 0);
    return out;
}

std::vector<unsigned char> make_file(const Table& t, bool dtzFile, const std::vector<std::uint8_t>* lo,
                                     const std::vector<std::uint8_t>* hi, int sides) {
    std::vector<unsigned char> f;
    put_u32(f, dtzFile ? dtzMagic : wdlMagic);
    f.insert(f.end(), layoutSignature, layoutSignature + 4);
    put_u16(f, tbLayoutVersion);
    f.push_back(dtzFile ? 2 : 0);
    f.push_back(static_cast<unsigned char>(sides));
    f.push_back(static_cast<unsigned char>(t.mat.n));
    f.push_back(blockShift);
    f.push_back(0);
    f.push_back(0);
    for (int i = 0; i < 4; ++i) f.push_back(static_cast<unsigned char>(i < t.mat.n ? t.mat.code[i] : 0));
    put_u32(f, t.mat.size);
    std::size_t offsetPos = f.size();
    put_u32(f, 0);
    put_u32(f, 0);
    for (int s = 0; s < 2; ++s) {
        if (!(sides >> s & 1)) continue;
        std::uint32_t off = static_cast<std::uint32_t>(f.size());
        for (int i = 0; i < 4; ++i) f[offsetPos + 4 * s + i] = static_cast<unsigned char>(off >> (8 * i));
        std::vector<unsigned char> part = encode_part(lo[s], hi[s]);
        f.insert(f.end(), part.begin(), part.end());
    }
    while (f.size() % 64 != 16) f.push_back(0);
    return f;
}

bool write_bytes(const std::string& path, const std::vector<unsigned char>& b) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    bool ok = std::fwrite(b.data(), 1, b.size(), f) == b.size();
    return std::fclose(f) == 0 && ok;
}

// Spot-checks a written file by reading it back the way the reader does.
bool verify_file(const std::vector<unsigned char>& f, const std::vector<std::uint8_t>* lo,
                 const std::vector<std::uint8_t>* hi, int sides, std::uint32_t size) {
    for (int s = 0; s < 2; ++s) {
        if (!(sides >> s & 1)) continue;
        Part part;
        std::uint32_t off = read_u32(f.data() + 24 + 4 * s);
        if (!setup_part(f.data() + off, f.data() + f.size(), blockShift, part)) return false;
        for (std::uint32_t i = 0; i < size; i += 61) {
            int v = part_value(part, i);
            if (v < lo[s][i] || v > hi[s][i]) return false;
        }
    }
    return true;
}

// The assembler embedding of every file and the C++ table describing them.
void write_embedding(const std::string& dir, const std::vector<std::pair<std::string, std::size_t>>& files) {
    std::string as, cpp;
    as += "    .section .rodata\n";
    cpp += "// Generated by tbgen: the embedded endgame-table files.\n#include \"tablebase/embedded.h\"\n\n";
    cpp += "namespace morvane::syzygy_embedded {\n\n";
    for (auto& [name, size] : files) {
        std::string sym = name;
        std::replace(sym.begin(), sym.end(), '.', '_');
        std::string mangled = "_ZN7morvane15syzygy_embedded" + std::to_string(sym.size()) + sym + "E";
        as += "    .globl " + mangled + "\n    .balign 64\n" + mangled + ":\n    .incbin \"" + dir + "/" + name +
              "\"\n";
        cpp += "extern const unsigned char " + sym + "[];\n";
    }
    as += "    .section .note.GNU-stack,\"\",@progbits\n";
    cpp += "\n";
    for (int group = 3; group <= 4; ++group) {
        std::size_t count = 0;
        std::string rows;
        for (auto& [name, size] : files) {
            int pieces = static_cast<int>(name.find('.')) - 1;
            if (pieces != group) continue;
            std::string sym = name;
            std::replace(sym.begin(), sym.end(), '.', '_');
            rows += "    {\"" + name + "\", " + sym + ", " + std::to_string(size) + "u},\n";
            ++count;
        }
        cpp += "const EmbeddedFile files_" + std::to_string(group) + "[" + std::to_string(count) + "] = {\n" + rows +
               "};\n\n";
    }
    cpp += "}  // namespace morvane::syzygy_embedded\n";
    std::ofstream(dir + "/embedded_tables.S") << as;
    std::ofstream(dir + "/embedded_tables.cpp") << cpp;
}

struct BuildResult {
    bool ok = false;
    TableStats stats;
    std::size_t wdlSize = 0, dtzSize = 0;
};

// Solves one table, writes its two files and gathers its statistics.
BuildResult build_table(Table& t, const std::string& dir) {
    BuildResult r;
    Solver(t).solve();
    r.stats = table_stats(t);
    for (int s = 0; s < 2; ++s)
        for (std::uint32_t i = 0; i < t.mat.size; ++i)
            if (t.val[s][i] != INVALID && t.dtz[s][i] > 100)
                std::fprintf(stderr, "tbgen: %s has a DTZ beyond 100 plies\n", t.name.c_str());

    // Allowed stored values: invalid entries are free; an entry whose
    // value a capture already reaches (draw or better) may hold anything
    // up to it, since the reader takes the better of both.
    std::vector<std::uint8_t> wlo[2], whi[2], dlo[2], dhi[2];
    for (int s = 0; s < 2; ++s) {
        wlo[s].assign(t.mat.size, 0);
        whi[s].assign(t.mat.size, 255);
        dlo[s].assign(t.mat.size, 0);
        dhi[s].assign(t.mat.size, 255);
    }
    for (std::uint32_t i = 0; i < t.mat.size; ++i) {
        for (int s = 0; s < 2; ++s) {
            int v = t.val[s][i];
            if (v == INVALID) continue;
            int sv = scale_value(v, t.dtz[s][i]);
            int cv = t.capv[s][i];
            if (cv >= 2 && cv == sv) {
                wlo[s][i] = 0;
                whi[s][i] = static_cast<std::uint8_t>(sv);
            } else {
                wlo[s][i] = whi[s][i] = static_cast<std::uint8_t>(sv);
            }
            // A win with a winning capture or pawn move is 1 ply from
            // zeroing, which the reader sees without the file.
            bool known = v == DRAW || (v == WIN && t.dtz[s][i] == 1 && cv == 4);
            if (!known) dlo[s][i] = dhi[s][i] = t.dtz[s][i];
        }
    }
    std::vector<unsigned char> wdl = make_file(t, false, wlo, whi, 3);
    // Distances are stored for one side to move only, the one that packs
    // smaller; the reader finds the other side's by looking one move ahead.
    std::vector<unsigned char> dtz = make_file(t, true, dlo, dhi, 1);
    std::vector<unsigned char> dtzBlack = make_file(t, true, dlo, dhi, 2);
    int dtzSides = 1;
    if (dtzBlack.size() < dtz.size()) {
        dtz.swap(dtzBlack);
        dtzSides = 2;
    }
    if (!verify_file(wdl, wlo, whi, 3, t.mat.size) || !verify_file(dtz, dlo, dhi, dtzSides, t.mat.size)) {
        std::fprintf(stderr, "tbgen: %s does not read back\n", t.name.c_str());
        return r;
    }
    if (!write_bytes(dir + "/" + t.name + ".rtbw", wdl) || !write_bytes(dir + "/" + t.name + ".rtbz", dtz)) {
        std::fprintf(stderr, "tbgen: cannot write %s\n", t.name.c_str());
        return r;
    }
    r.wdlSize = wdl.size();
    r.dtzSize = dtz.size();
    r.ok = true;
    return r;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: tbgen OUTDIR [--expect STATS_FILE]\n");
        return 2;
    }
    std::string dir = argv[1];
    std::string expect;
    for (int i = 2; i + 1 < argc; ++i)
        if (std::string(argv[i]) == "--expect") expect = argv[i + 1];
    init_attack_tables();
    init_check_tables();

    // Tables a capture or promotion leads into come first.
    std::vector<std::string> names(tableNames, tableNames + 35);
    auto rank = [](const std::string& n) {
        int pawns = static_cast<int>(std::count(n.begin(), n.end(), 'P'));
        return static_cast<int>(n.size()) * 10 + pawns;
    };
    std::stable_sort(names.begin(), names.end(), [&](auto& a, auto& b) { return rank(a) < rank(b); });
    g_tables.resize(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        g_tables[i].name = names[i];
        parse_material(names[i], g_tables[i].mat);
        g_byName[names[i]] = static_cast<int>(i);
        g_byKey[material_key(g_tables[i].mat.code, g_tables[i].mat.n, false)] = static_cast<int>(i);
    }

    std::map<std::string, Published> published;
    if (!expect.empty()) published = read_published(expect);

    // Tables of one rank depend only on lower ranks: build each rank on two
    // threads.
    std::vector<BuildResult> results(g_tables.size());
    for (std::size_t lo = 0; lo < g_tables.size();) {
        std::size_t hi = lo;
        while (hi < g_tables.size() && rank(g_tables[hi].name) == rank(g_tables[lo].name)) ++hi;
        std::atomic<std::size_t> next{lo};
        auto worker = [&] {
            for (std::size_t i; (i = next++) < hi;) results[i] = build_table(g_tables[i], dir);
        };
        std::thread helper(worker);
        worker();
        helper.join();
        lo = hi;
    }

    std::FILE* statsOut = std::fopen((dir + "/tbgen-stats.txt").c_str(), "w");
    bool allMatch = true;
    std::map<std::string, std::size_t> sizes;
    std::size_t total = 0;
    for (std::size_t k = 0; k < g_tables.size(); ++k) {
        const Table& t = g_tables[k];
        const BuildResult& r = results[k];
        if (!r.ok) return 1;
        print_stats(statsOut, t.name, r.stats);
        if (!expect.empty()) {
            auto it = published.find(t.name);
            bool ok = it != published.end() && it->second.st == r.stats;
            for (int c = 0; ok && c < 2; ++c) {
                if (it->second.fen[c].empty()) continue;
                int d = 0;
                ok = fen_dtz(it->second.fen[c], d) && std::abs(d) == r.stats.longest[c];
            }
            if (!ok) {
                std::fprintf(stderr, "tbgen: %s differs from the published statistics\n", t.name.c_str());
                allMatch = false;
            }
        }
        sizes[t.name + ".rtbw"] = r.wdlSize;
        sizes[t.name + ".rtbz"] = r.dtzSize;
        total += r.wdlSize + r.dtzSize;
        std::fprintf(stderr, "tbgen: %-6s %8zu %8zu\n", t.name.c_str(), r.wdlSize, r.dtzSize);
    }
    std::fclose(statsOut);
    std::fprintf(stderr, "tbgen: %zu bytes in all\n", total);

    std::vector<std::pair<std::string, std::size_t>> files;
    std::vector<std::string> sorted(tableNames, tableNames + 35);
    for (const std::string& n : sorted) {
        files.push_back({n + ".rtbw", sizes[n + ".rtbw"]});
        files.push_back({n + ".rtbz", sizes[n + ".rtbz"]});
    }
    write_embedding(dir, files);
    if (!allMatch) {
        std::fprintf(stderr, "tbgen: statistics differ from %s\n", expect.c_str());
        return 1;
    }
    return 0;
}
