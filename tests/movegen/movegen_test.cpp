#include <gtest/gtest.h>

#include <algorithm>

#include "core/notation.h"
#include "support/test_positions.h"

using namespace morvane;

namespace {

std::vector<std::string> legal_texts(Board& board, bool capturesOnly) {
    ScoredMove moves[MAX_MOVES];
    const int n = generate_legal(board, moves, capturesOnly);
    std::vector<std::string> texts;
    for (int i = 0; i < n; ++i) texts.push_back(move_to_uci(moves[i].move));
    return texts;
}

bool contains(const std::vector<std::string>& v, const std::string& s) {
    return std::find(v.begin(), v.end(), s) != v.end();
}

}  // namespace

TEST(Perft, ShallowCountsOfTheStandardPositions) {
    // Published counts; the deep ones are checked by tools/perft_bench.
    const std::uint64_t expected[][4] = {
        {20, 400, 8902, 197281}, {48, 2039, 97862, 4085603}, {14, 191, 2812, 43238},
        {6, 264, 9467, 422333},  {44, 1486, 62379, 2103487}, {46, 2079, 89890, 3894594},
    };
    Board board;
    for (int i = 0; i < 6; ++i) {
        board.set_fen(test::PerftFens[i]);
        for (int depth = 1; depth <= 4; ++depth)
            EXPECT_EQ(perft_count(board, depth), expected[i][depth - 1]) << test::PerftFens[i] << " depth " << depth;
    }
}

TEST(MoveGen, ChecksAndCaptureMode) {
    Board board;
    // Double check by rook and knight: only king moves.
    board.set_fen("4k3/8/8/8/8/3n4/8/R3K2r w Q - 0 1");
    for (const auto& m : legal_texts(board, false)) EXPECT_EQ(m.substr(0, 2), "e1");

    // In check, capture mode still returns every evasion, quiet ones too.
    board.set_fen("4k3/8/8/8/8/8/4r3/R3K3 w Q - 0 1");
    const auto evasions = legal_texts(board, true);
    EXPECT_TRUE(contains(evasions, "e1e2"));
    EXPECT_TRUE(contains(evasions, "e1d1"));
    EXPECT_EQ(evasions, legal_texts(board, false));

    // Quiet position: captures, en passant and push promotions only.
    board.set_fen("r3k3/1P6/8/3pP3/8/8/8/R3K2R w KQq d6 0 2");
    const auto tactical = legal_texts(board, true);
    EXPECT_TRUE(contains(tactical, "e5d6"));
    EXPECT_TRUE(contains(tactical, "b7a8q"));
    EXPECT_TRUE(contains(tactical, "b7b8n"));
    EXPECT_TRUE(contains(tactical, "a1a8"));
    EXPECT_FALSE(contains(tactical, "e1g1"));
    EXPECT_FALSE(contains(tactical, "e1f1"));
    EXPECT_FALSE(contains(tactical, "e5e6"));
}
