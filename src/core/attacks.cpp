#include "core/attacks.h"

#include <random>

namespace morvane {

Bitboard pawnAtt[2][64];
Bitboard knightAtt[64];
Bitboard kingAtt[64];

Bitboard rookMask[64], bishopMask[64];
Bitboard rookMagic[64], bishopMagic[64];
unsigned rookShift[64], bishopShift[64];
unsigned rookOffset[64], bishopOffset[64];
std::vector<Bitboard> rookTableFlat, bishopTableFlat;

bool attacksInit = false;
Bitboard betweenTable[64][64];

namespace {

constexpr int RookDirs[4][2] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}};
constexpr int BishopDirs[4][2] = {{1, 1}, {1, -1}, {-1, 1}, {-1, -1}};

bool on_board(int file, int rank) { return file >= 0 && file < 8 && rank >= 0 && rank < 8; }

Bitboard leaper_set(Square s, const int (*steps)[2], int count) {
    Bitboard set = 0;
    for (int i = 0; i < count; ++i) {
        int f = file_of(s) + steps[i][0], r = rank_of(s) + steps[i][1];
        if (on_board(f, r)) set |= square_bb(make_square(f, r));
    }
    return set;
}

// Rays walked square by square, stopping after the first occupied square.
Bitboard ray_attacks(Square s, Bitboard occupied, const int (*dirs)[2]) {
    Bitboard set = 0;
    for (int d = 0; d < 4; ++d) {
        int f = file_of(s) + dirs[d][0], r = rank_of(s) + dirs[d][1];
        while (on_board(f, r)) {
            Bitboard b = square_bb(make_square(f, r));
            set |= b;
            if (occupied & b) break;
            f += dirs[d][0];
            r += dirs[d][1];
        }
    }
    return set;
}

// Steps from a towards b collecting every square before b.
Bitboard walk_between(Square a, Square b) {
    int df = file_of(b) - file_of(a), dr = rank_of(b) - rank_of(a);
    if (a == b || !(df == 0 || dr == 0 || df == dr || df == -dr)) return 0;
    int sf = (df > 0) - (df < 0), sr = (dr > 0) - (dr < 0);
    Bitboard between = 0;
    for (int f = file_of(a) + sf, r = rank_of(a) + sr; make_square(f, r) != b; f += sf, r += sr)
        between |= square_bb(make_square(f, r));
    return between;
}

// Relevant occupancy: the rays without their edge squares, which never
// change the attack set.
Bitboard relevant_mask(Square s, const int (*dirs)[2]) {
    Bitboard mask = 0;
    for (int d = 0; d < 4; ++d) {
        int f = file_of(s) + dirs[d][0], r = rank_of(s) + dirs[d][1];
        while (on_board(f + dirs[d][0], r + dirs[d][1])) {
            mask |= square_bb(make_square(f, r));
            f += dirs[d][0];
            r += dirs[d][1];
        }
    }
    return mask;
}

// Finds a magic for one square with a generator seeded per square, so the
// tables are identical from run to run.
Bitboard find_magic(Square s, Bitboard mask, unsigned shift, const int (*dirs)[2], std::vector<Bitboard>& block) {
    const int bits = popcount(mask);
    const std::size_t n = std::size_t{1} << bits;
    std::vector<Bitboard> subsets(n), attacks(n);
    Bitboard subset = 0;
    for (std::size_t i = 0; i < n; ++i) {  // Carry-Rippler enumeration
        subsets[i] = subset;
        attacks[i] = ray_attacks(s, subset, dirs);
        subset = (subset - mask) & mask;
    }
    std::mt19937_64 rng(0xE0F5A0D7C3B1ULL + static_cast<unsigned>(s));
    // Slots stamped with an older attempt number count as empty, which
    // spares refilling the whole block for every rejected candidate.
    std::vector<unsigned> stamp(n, 0);
    block.assign(n, 0);
    for (unsigned attempt = 1;; ++attempt) {
        Bitboard candidate = rng();
        candidate &= rng();
        candidate &= rng();
        if (popcount((mask * candidate) & 0xFF00000000000000ULL) < 6) continue;
        bool ok = true;
        for (std::size_t i = 0; i < n && ok; ++i) {
            const std::size_t idx = (subsets[i] * candidate) >> shift;
            if (stamp[idx] != attempt) {
                stamp[idx] = attempt;
                block[idx] = attacks[i];
            } else if (block[idx] != attacks[i]) {
                ok = false;
            }
        }
        if (ok) {
            // Entries no subset maps to are never read; keep them defined.
            for (std::size_t i = 0; i < n; ++i)
                if (stamp[i] != attempt) block[i] = ~Bitboard{0};
            return candidate;
        }
    }
}

}  // namespace

void init_magics() {
    std::vector<Bitboard> rookBlocks[64], bishopBlocks[64];
    for (Square s = 0; s < 64; ++s) {
        rookMask[s] = relevant_mask(s, RookDirs);
        rookShift[s] = static_cast<unsigned>(64 - popcount(rookMask[s]));
        rookMagic[s] = find_magic(s, rookMask[s], rookShift[s], RookDirs, rookBlocks[s]);
        bishopMask[s] = relevant_mask(s, BishopDirs);
        bishopShift[s] = static_cast<unsigned>(64 - popcount(bishopMask[s]));
        bishopMagic[s] = find_magic(s, bishopMask[s], bishopShift[s], BishopDirs, bishopBlocks[s]);
    }
    unsigned rookTotal = 0, bishopTotal = 0;
    for (Square s = 0; s < 64; ++s) {
        rookOffset[s] = rookTotal;
        bishopOffset[s] = bishopTotal;
        rookTotal += static_cast<unsigned>(rookBlocks[s].size());
        bishopTotal += static_cast<unsigned>(bishopBlocks[s].size());
    }
    rookTableFlat.assign(rookTotal, 0);
    bishopTableFlat.assign(bishopTotal, 0);
    for (Square s = 0; s < 64; ++s) {
        std::copy(rookBlocks[s].begin(), rookBlocks[s].end(), rookTableFlat.begin() + rookOffset[s]);
        std::copy(bishopBlocks[s].begin(), bishopBlocks[s].end(), bishopTableFlat.begin() + bishopOffset[s]);
    }
}

void init_attacks() {
    if (attacksInit) return;
    constexpr int KnightSteps[8][2] = {{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};
    constexpr int KingSteps[8][2] = {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
    constexpr int WhitePawnSteps[2][2] = {{-1, 1}, {1, 1}};
    constexpr int BlackPawnSteps[2][2] = {{-1, -1}, {1, -1}};
    for (Square s = 0; s < 64; ++s) {
        knightAtt[s] = leaper_set(s, KnightSteps, 8);
        kingAtt[s] = leaper_set(s, KingSteps, 8);
        pawnAtt[WHITE][s] = leaper_set(s, WhitePawnSteps, 2);
        pawnAtt[BLACK][s] = leaper_set(s, BlackPawnSteps, 2);
    }
    for (Square a = 0; a < 64; ++a)
        for (Square b = 0; b < 64; ++b) betweenTable[a][b] = walk_between(a, b);
    init_magics();
    attacksInit = true;
}

std::string square_to_string(Square s) {
    if (s == NO_SQUARE) return "-";
    return {static_cast<char>('a' + file_of(s)), static_cast<char>('1' + rank_of(s))};
}

}  // namespace morvane
