// The shown variation completed from the table: only legal moves, the board
// handed back untouched, no walking in circles, and several best moves at
// the root each with their own exact line.
#include <gtest/gtest.h>

#include <memory>

#include "core/notation.h"
#include "search/pv_extension.h"
#include "search/search.h"
#include "search/search_flags.h"
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
    const SearchResult r = iterative_deepening(board, limits, nullptr);
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

    // A line that is not legal here is cut where it goes wrong, and a table
    // move that is not legal in its position is not followed.
    board.set_fen(Middlegame);
    Board other;
    other.set_fen(StartFen);
    std::vector<Move> foreign{test::find_move(other, "e2e4")};
    extend_pv_from_tt(board, foreign, 5);
    EXPECT_TRUE(foreign.empty() || foreign[0] != test::find_move(other, "e2e4"));
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

TEST(PvExtension, SeveralRootLinesAreDistinctAndOrderedByScore) {
    tt_clear();
    Board board;
    board.set_fen(Middlegame);
    auto ctx = std::make_unique<SearchContext>();
    std::vector<SearchResult> lines;
    g_abort.store(false);
    for (int depth = 1; depth <= 6; ++depth) {
        const SearchResult best = search_root_lines(board, *ctx, depth, 4, lines);
        ASSERT_EQ(lines.size(), 4u);
        EXPECT_EQ(best.best_move, lines[0].best_move);
        for (std::size_t k = 0; k < lines.size(); ++k) {
            EXPECT_EQ(lines[k].multipv, static_cast<int>(k + 1));
            EXPECT_EQ(lines[k].pv[0], lines[k].best_move);
            if (k > 0) {
                EXPECT_GE(lines[k - 1].score, lines[k].score);
            }
            for (std::size_t j = 0; j < k; ++j) EXPECT_NE(lines[j].best_move, lines[k].best_move);
        }
    }
    // Fewer legal moves than lines asked for: each of them, once.
    board.set_fen("7k/8/8/8/8/8/1r6/K7 w - - 0 1");
    search_root_lines(board, *ctx, 3, 4, lines);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(move_to_uci(lines[0].best_move), "a1b2");
}
