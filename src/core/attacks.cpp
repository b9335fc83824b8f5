#include "core/attacks.h"

#include <stdexcept>

#include "core/magics.h"

namespace morvane {

Bitboard pawnAtt[2][64];
Bitboard knightAtt[64];
Bitboard kingAtt[64];

SliderMagic rookMagics[64], bishopMagics[64];
std::vector<Bitboard> rookTable, bishopTable;

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

// Fills one square's slot block through its fixed magic. Two blocker
// subsets sharing a slot must share their attack set, or the magic would
// answer wrongly for one of them.
void fill_magic_block(Square s, const int (*dirs)[2], Bitboard magic, SliderMagic& entry,
                      std::vector<Bitboard>& block) {
    const Bitboard mask = relevant_mask(s, dirs);
    const int bits = popcount(mask);
    entry.mask = mask;
    entry.magic = magic;
    entry.shift = static_cast<unsigned>(64 - bits);
    // Slots no subset maps to are never read; keep them defined.
    block.assign(std::size_t{1} << bits, ~Bitboard{0});
    Bitboard subset = 0;
    do {  // Carry-Rippler enumeration of every subset of the mask
        const Bitboard attacks = ray_attacks(s, subset, dirs);
        Bitboard& slot = block[(subset * magic) >> entry.shift];
        if (slot != ~Bitboard{0} && slot != attacks) throw std::logic_error("a magic maps two attack sets to one slot");
        slot = attacks;
        subset = (subset - mask) & mask;
    } while (subset);
}

// One flat table per slider kind; each square's record points at its block.
void fill_slider_tables(const int (*dirs)[2], const Bitboard* magics, SliderMagic* entries,
                        std::vector<Bitboard>& table) {
    std::vector<Bitboard> blocks[64];
    std::size_t total = 0;
    for (Square s = 0; s < 64; ++s) {
        fill_magic_block(s, dirs, magics[s], entries[s], blocks[s]);
        total += blocks[s].size();
    }
    table.clear();
    table.reserve(total);
    std::size_t offsets[64];
    for (Square s = 0; s < 64; ++s) {
        offsets[s] = table.size();
        table.insert(table.end(), blocks[s].begin(), blocks[s].end());
    }
    // Pointers are taken once the table is complete and will not move.
    for (Square s = 0; s < 64; ++s) entries[s].attacks = table.data() + offsets[s];
}

}  // namespace

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
    fill_slider_tables(RookDirs, RookMagics, rookMagics, rookTable);
    fill_slider_tables(BishopDirs, BishopMagics, bishopMagics, bishopTable);
    attacksInit = true;
}

std::string square_to_string(Square s) {
    if (s == NO_SQUARE) return "-";
    return {static_cast<char>('a' + file_of(s)), static_cast<char>('1' + rank_of(s))};
}

}  // namespace morvane
