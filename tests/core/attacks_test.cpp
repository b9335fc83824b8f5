#include <gtest/gtest.h>

#include <random>

#include "core/attacks.h"

using namespace morvane;

namespace {

Bitboard squares(std::initializer_list<Square> list) {
    Bitboard b = 0;
    for (Square s : list) b |= square_bb(s);
    return b;
}

}  // namespace

// A magic that maps two occupancies to one slot gives one of them the other's
// attacks; only a walk along the rays, blocker included, shows it.
TEST(AttacksTest, MagicLookupsAgreeWithRayWalksEverywhere) {
    std::mt19937_64 rng(7);
    for (int trial = 0; trial < 2000; ++trial) {
        const Square s = static_cast<Square>(rng() % 64);
        const Bitboard occ = trial < 64 ? 0 : rng() & rng();
        Bitboard rook = 0, bishop = 0;
        for (int d = 0; d < 8; ++d) {
            static constexpr int Dirs[8][2] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}, {1, 1}, {1, -1}, {-1, 1}, {-1, -1}};
            for (int f = file_of(s) + Dirs[d][0], r = rank_of(s) + Dirs[d][1]; f >= 0 && f < 8 && r >= 0 && r < 8;
                 f += Dirs[d][0], r += Dirs[d][1]) {
                (d < 4 ? rook : bishop) |= square_bb(make_square(f, r));
                if (occ & square_bb(make_square(f, r))) break;
            }
        }
        ASSERT_EQ(rook_attacks(s, occ), rook) << s;
        ASSERT_EQ(bishop_attacks(s, occ), bishop) << s;
    }
}

// Pins and check blocks rely on the line between two squares, and on
// nothing at all between squares that share no line.
TEST(AttacksTest, SquaresBetween) {
    EXPECT_EQ(squares_between(0, 63), squares({9, 18, 27, 36, 45, 54}));
    EXPECT_EQ(squares_between(60, 4), squares({12, 20, 28, 36, 44, 52}));
    EXPECT_EQ(squares_between(0, 1), 0u);
    EXPECT_EQ(squares_between(0, 10), 0u);
    EXPECT_EQ(squares_between(5, 5), 0u);
}
