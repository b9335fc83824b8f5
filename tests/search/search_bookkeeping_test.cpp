// The search's bookkeeping, where a slip costs strength silently rather
// than failing loudly.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "config/engine_config.h"
#include "movegen/movegen.h"
#include "search/search.h"
#include "search/search_flags.h"
#include "search/time_manager.h"
#include "search/tt.h"
#include "support/test_positions.h"

using namespace morvane;
using test::find_move;

namespace {

class SearchBookkeeping : public ::testing::Test {
protected:
    EngineConfig saved = g_config;
    std::unique_ptr<Board> board = std::make_unique<Board>();
    std::unique_ptr<SearchContext> ctx = std::make_unique<SearchContext>();

    void SetUp() override {
        g_config = EngineConfig{};
        ctx->reset();
        tt_clear();
        g_stopRequested.store(false);
    }
    void TearDown() override {
        g_config = saved;
        g_hasDeadline.store(false);
        g_abort.store(false);
        g_nodeBudget.store(UINT64_MAX);
    }

    Move move(const char* uci) { return find_move(*board, uci); }

    std::vector<Move> ordered(Move ttMove, Move prevMove, int ply = 3) {
        ScoredMove list[MAX_MOVES];
        const int n = generate_legal(*board, list, false);
        score_moves(*board, list, n, *ctx, ply, ttMove, prevMove);
        std::vector<Move> out;
        for (int i = 0; i < n; ++i) out.push_back(list[i].move);
        return out;
    }
};

std::ptrdiff_t rank_of(const std::vector<Move>& order, Move m) {
    return std::find(order.begin(), order.end(), m) - order.begin();
}

}  // namespace

// White can win a knight with the pawn or lose the queen for a pawn on d6
// (the c7 pawn guards it); everything else is quiet.
constexpr const char* Ordering = "4k3/2p5/3p4/3n4/4P3/Q7/8/4K3 w - - 0 1";

TEST_F(SearchBookkeeping, MovesAreOrderedTableMoveCapturesKillersHistoryLosingCaptures) {
    board->set_fen(Ordering);
    const int ply = 3;
    ctx->killers[ply][0] = move("e1d2");
    ctx->killers[ply][1] = move("a3a4");
    ctx->history[WHITE][move_from(move("a3b3"))][move_to(move("a3b3"))] = 5000;
    const std::vector<Move> order = ordered(move("e1f2"), NULL_MOVE, ply);
    ASSERT_GE(order.size(), 6u);
    EXPECT_EQ(order[0], move("e1f2"));  // the table's move, though quiet
    EXPECT_EQ(order[1], move("e4d5"));  // a capture that wins material
    EXPECT_EQ(order[2], move("e1d2"));  // the first killer, then the second
    EXPECT_EQ(order[3], move("a3a4"));
    EXPECT_EQ(order[4], move("a3b3"));  // the best history among the other quiets
    EXPECT_EQ(order.back(), move("a3d6"));  // losing the queen comes last

    // Killers belong to their ply: elsewhere they are ordinary quiets.
    const std::vector<Move> otherPly = ordered(NULL_MOVE, NULL_MOVE, ply + 1);
    EXPECT_EQ(otherPly[0], move("e4d5"));
    EXPECT_EQ(otherPly[1], move("a3b3"));

    // A countermove to the opponent's last move ranks with the quiets'
    // best: above one without history.
    board->set_fen("4k3/2p5/3p4/8/3nP3/Q7/8/4K3 b - - 0 1");
    const Move previous = move("d4c6");
    board->do_move(previous);
    const Move reply = move("a3a7");
    ctx->countermove[board->piece_on(move_to(previous))][move_to(previous)] = reply;
    const std::vector<Move> withCounter = ordered(NULL_MOVE, previous, ply);
    EXPECT_LT(rank_of(withCounter, reply), rank_of(withCounter, move("a3a5")));
}

TEST_F(SearchBookkeeping, CutoffsUpdateKillersHistoryCountermovesAndCaptureHistory) {
    board->set_fen(Ordering);
    const int ply = 5, depth = 4;
    const Move first = move("e1d2"), second = move("a3a4"), tried = move("a3b3");
    auto history = [&](Move m) { return ctx->history[WHITE][move_from(m)][move_to(m)]; };

    update_cutoff_heuristics(*board, *ctx, first, depth, ply, NULL_MOVE, &tried, 1);
    EXPECT_EQ(ctx->killers[ply][0], first);
    EXPECT_EQ(history(first), depth * depth);
    EXPECT_EQ(history(tried), -(depth * depth) / 2);  // tried before the cut and failed
    update_cutoff_heuristics(*board, *ctx, second, depth, ply, NULL_MOVE, nullptr, 0);
    EXPECT_EQ(ctx->killers[ply][0], second);
    EXPECT_EQ(ctx->killers[ply][1], first);
    // The same killer again must not push the other one out.
    update_cutoff_heuristics(*board, *ctx, second, depth, ply, NULL_MOVE, nullptr, 0);
    EXPECT_EQ(ctx->killers[ply][1], first);
    EXPECT_EQ(ctx->killers[ply - 1][0], NULL_MOVE);

    // History saturates instead of overflowing on deep cut-offs.
    for (int i = 0; i < 100; ++i) update_cutoff_heuristics(*board, *ctx, first, 200, ply, NULL_MOVE, nullptr, 0);
    EXPECT_EQ(history(first), HISTORY_CAP);

    // A capture teaches only the capture history: no killer, no history.
    const Move capture = move("e4d5");
    const int pawn = board->piece_on(move_from(capture));
    update_cutoff_heuristics(*board, *ctx, capture, depth, ply + 1, NULL_MOVE, nullptr, 0);
    EXPECT_EQ(ctx->captureHistory[pawn][move_to(capture)][KNIGHT], depth * depth);
    EXPECT_EQ(ctx->killers[ply + 1][0], NULL_MOVE);
    EXPECT_EQ(history(capture), 0);

    // The countermove is filed under the piece that made the previous move.
    board->set_fen("4k3/2p5/3p4/8/3nP3/Q7/8/4K3 b - - 0 1");
    const Move previous = move("d4c6");
    board->do_move(previous);
    const Move answer = move("a3a7");
    update_cutoff_heuristics(*board, *ctx, answer, depth, ply, previous, nullptr, 0);
    EXPECT_EQ(ctx->countermove[board->piece_on(move_to(previous))][move_to(previous)], answer);
}

TEST_F(SearchBookkeeping, MateScoresReadBackAtTheDistanceOfTheProbingNode) {
    const std::uint64_t key = 0x1234567890ABCDEFULL;
    // Found at ply 3: mate 9 plies from the root, so 6 from this node.
    g_tt.store(key, MATE_SCORE - 9, NULL_MOVE, 5, BOUND_EXACT, 3);
    const TTEntry* e = g_tt.probe(key);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->score, MATE_SCORE - 6);
    EXPECT_EQ(score_from_tt(e->score, 3), MATE_SCORE - 9);
    EXPECT_EQ(score_from_tt(e->score, 7), MATE_SCORE - 13);  // reached again deeper in the tree
    g_tt.store(key, -MATE_SCORE + 10, NULL_MOVE, 5, BOUND_UPPER, 4);
    EXPECT_EQ(score_from_tt(g_tt.probe(key)->score, 2), -MATE_SCORE + 8);
    // Ordinary scores, table wins included, are stored as they are.
    for (int score : {0, -250, TB_WIN_SCORE, MATE_THRESHOLD - 1, -(MATE_THRESHOLD - 1)}) {
        g_tt.store(key, score, NULL_MOVE, 5, BOUND_EXACT, 9);
        EXPECT_EQ(score_from_tt(g_tt.probe(key)->score, 2), score);
    }

    // Resizing rounds down to a power of two of entries, clamps absurd
    // sizes, and empties the table.
    g_tt.resize_mb(3);
    EXPECT_EQ(g_tt.size(), 131072u);
    EXPECT_EQ(g_tt.probe(key), nullptr);
    g_tt.resize_mb(0);
    EXPECT_EQ(g_tt.size(), 65536u);
    g_tt.resize_mb(-7);
    EXPECT_EQ(g_tt.size(), 65536u);
    g_tt.store(key, 0, NULL_MOVE, 1, BOUND_EXACT, 0);
    EXPECT_NE(g_tt.probe(key), nullptr);
    g_tt.resize_mb(16);
    EXPECT_EQ(g_tt.size(), std::size_t{1} << 20);
}

TEST_F(SearchBookkeeping, AnIterationStartsOnlyWhenItCanFinish) {
    g_config.time_predictive_growth_factor = 3;
    // No deadline: every iteration fits.
    g_hasDeadline.store(false);
    EXPECT_TRUE(iteration_fits(30, 1000000));

    g_deadline.store(std::chrono::steady_clock::now() + std::chrono::milliseconds(1000));
    g_hasDeadline.store(true);
    EXPECT_TRUE(iteration_fits(1, 900));   // the first iteration always runs
    EXPECT_TRUE(iteration_fits(6, 100));   // 3 x 100 ms fits in the second left
    EXPECT_TRUE(g_hasDeadline.load());
    EXPECT_FALSE(iteration_fits(7, 400));  // 3 x 400 ms does not
    // Not started, and the deadline dropped so that the search ends now
    // instead of waiting for it.
    EXPECT_FALSE(g_hasDeadline.load());

    g_deadline.store(std::chrono::steady_clock::now() - std::chrono::milliseconds(1));
    g_hasDeadline.store(true);
    EXPECT_FALSE(iteration_fits(1, 0));  // past the deadline nothing starts

    // The stop checks run once per node period only, and raise the abort.
    g_config.time_check_node_mask = 127;
    g_hasDeadline.store(false);
    g_nodeBudget.store(1000);
    EXPECT_FALSE(time_to_stop(1001));  // not a polling node
    EXPECT_FALSE(g_abort.load());
    EXPECT_FALSE(time_to_stop(896));   // polled, within the budget
    EXPECT_TRUE(time_to_stop(1024));   // polled, past it
    EXPECT_TRUE(g_abort.load());
    g_abort.store(false);
    g_nodeBudget.store(UINT64_MAX);
    g_stopRequested.store(true);
    EXPECT_TRUE(time_to_stop(128));
    g_stopRequested.store(false);
}

// Positions whose scores swing between iterations, so that aspiration
// windows fail and the root is searched again within one iteration.
TEST_F(SearchBookkeeping, ANodeLimitIsOneBudgetForAllRootSearches) {
    for (const char* fen : {"r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N2N2/PP2BPPP/R2QKB1R w KQ - 0 9",
                            "2r3k1/pp3ppp/4p3/3qP3/3P4/P4Q2/1P3PPP/2R3K1 b - - 0 25",
                            "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1"}) {
        for (const std::uint64_t budget : {3000ULL, 20000ULL, 60000ULL}) {
            board->set_fen(fen);
            tt_clear();
            SearchLimits limits;
            limits.nodes = budget;
            std::uint64_t spent = 0;
            const SearchResult r =
                iterative_deepening(*board, *ctx, limits, [&](const SearchResult& it) { spent += it.nodes; });
            EXPECT_LE(spent, budget) << fen;
            EXPECT_NE(r.best_move, NULL_MOVE) << fen;
        }
    }
}
