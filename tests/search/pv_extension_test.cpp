// The shown variation completed from the table: only legal moves, the board
// handed back untouched, no walking in circles.
#include <gtest/gtest.h>

#include <memory>

#include "core/notation.h"
#include "search/pv_extension.h"
#include "search/search.h"
#include "search/tt.h"
#include "support/test_positions.h"

using namespace morvane;

namespace {

constexpr const char* Middlegame = "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N1PN2/PP3PPP/R2QKB1R w KQ - 0 8";

Move play(Board& board, const char* uci) {
    const Move m = test::find_move(board, uci);
    board.do_move(m);
    return m;
}

}  // namespace

TEST(PvExtension, FollowsTheTableWithLegalMovesAndLeavesTheBoardAsItWas) {
    tt_clear();
    Board board;
    board.set_fen(Middlegame);
    SearchLimits limits;
    limits.depth = 9;
    const SearchResult r = iterative_deepening(board, *std::make_unique<SearchContext>(), limits, nullptr);
    const std::string fen = board.fen();
    const std::uint64_t key = board.key();

    std::vector<Move> line{r.best_move};
    extend_pv_from_tt(board, line, 9);
    EXPECT_EQ(board.fen(), fen);
    EXPECT_EQ(board.key(), key);
    EXPECT_GT(line.size(), 3u);
    EXPECT_LE(line.size(), 9u);
    EXPECT_EQ(line[0], r.best_move);
    for (const Move m : line) {
        ASSERT_EQ(test::find_move(board, move_to_uci(m)), m) << move_to_uci(m);
        board.do_move(m);
    }

    // A table move that is not legal in its position (a key collision) is
    // not followed.
    board.set_fen(Middlegame);
    Board other;
    other.set_fen(StartFen);
    tt_clear();
    g_tt.store(board.key(), 0, test::find_move(other, "g1f3"), 5, BOUND_EXACT, 0);
    std::vector<Move> fromTable;
    extend_pv_from_tt(board, fromTable, 5);
    EXPECT_TRUE(fromTable.empty());
    EXPECT_EQ(board.fen(), fen);
}

TEST(PvExtension, StopsWhereTheLineRepeatsAPosition) {
    // Knights out and back: the table leads round in a circle.
    tt_clear();
    Board board;
    board.set_fen(StartFen);
    const char* circle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (const char* uci : circle) {
        const std::uint64_t key = board.key();
        g_tt.store(key, 0, play(board, uci), 3, BOUND_EXACT, 0);
    }
    board.set_fen(StartFen);
    std::vector<Move> line;
    extend_pv_from_tt(board, line, 12);
    ASSERT_EQ(line.size(), 4u);  // the fourth move repeats the start
    EXPECT_EQ(move_to_uci(line[3]), "f6g8");
    EXPECT_EQ(board.fen(), Board().fen());
}
