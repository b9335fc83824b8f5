#include <gtest/gtest.h>

#include "core/board.h"

using namespace morvane;

TEST(Attacks, SliderSetsStopAtFirstBlocker) {
    Board board;  // fills the tables
    EXPECT_EQ(popcount(rook_attacks(0, 0)), 14);
    EXPECT_EQ(popcount(bishop_attacks(27, 0)), 13);
}
