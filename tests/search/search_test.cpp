#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "config/engine_config.h"
#include "core/notation.h"
#include "movegen/movegen.h"
#include "search/search.h"
#include "search/search_flags.h"
#include "search/time_manager.h"
#include "search/tt.h"
#include "support/test_positions.h"

using namespace morvane;

namespace {

class SearchTest : public ::testing::Test {
protected:
    EngineConfig saved = g_config;
    Board board;
    std::unique_ptr<SearchContext> ctx = std::make_unique<SearchContext>();

    void SetUp() override {
        tt_clear();
        g_stopRequested.store(false);
        g_pruningEnabled.store(true);
    }
    void TearDown() override {
        g_config = saved;
        g_pruningEnabled.store(true);
    }

    // A fresh search to the depth; `nodes` adds up every iteration's count.
    SearchResult search(const char* fen, int depth, std::uint64_t* nodes = nullptr) {
        board.set_fen(fen);
        tt_clear();
        SearchLimits limits;
        limits.depth = depth;
        return iterative_deepening(board, *ctx, limits, [&](const SearchResult& r) {
            if (nodes) *nodes += r.nodes;
        });
    }
    std::uint64_t nodes_to_depth(const char* fen, int depth) {
        std::uint64_t total = 0;
        search(fen, depth, &total);
        return total;
    }
};

}  // namespace

TEST_F(SearchTest, FindsMatesWithTheirDistance) {
    struct MateCase {
        const char* fen;
        int plies;
        const char* move;  // empty when several moves mate equally fast
    };
    const MateCase cases[] = {
        {"6k1/5ppp/8/8/8/8/8/R3K3 w Q - 0 1", 1, "a1a8"},              // back rank
        {"k7/2P5/1K6/8/8/8/8/8 w - - 0 1", 1, ""},                     // promotion (queen or rook)
        {"3rqb2/4kp2/8/1N1pP1P1/8/7B/8/4R1K1 w - d6 0 1", 1, "e5d6"},  // en passant, double check
        {"2rkr3/2p1p3/8/1B6/8/8/8/R3K3 w Q - 0 1", 1, ""},             // castling or the rook alone
        {"r1bqkb1r/pppp1ppp/2n2n2/4p2Q/2B1P3/8/PPPP1PPP/RNB1K1NR w KQkq - 4 4", 1, "h5f7"},
        {"7k/8/5K2/8/8/8/8/6R1 w - - 0 1", 3, ""},         // quiet move, then mate
        {"r5rk/5p1p/5R2/4B3/8/8/7P/7K w - - 0 1", 5, ""},  // Rxh7+ Kxh7? sacrificial lines
        {"8/8/8/8/8/5K1k/8/6R1 w - - 0 1", 1, "g1h1"},
    };
    for (const MateCase& c : cases) {
        const SearchResult r = search(c.fen, 8);
        EXPECT_EQ(r.score, 30000 - c.plies) << c.fen << " best " << move_to_uci(r.best_move);
        if (*c.move) {
            EXPECT_EQ(move_to_uci(r.best_move), c.move) << c.fen;
        }
    }
}

TEST_F(SearchTest, MatedAndStalematedRoots) {
    for (const auto& [fen, score] :
         {std::pair{"7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", -30000}, std::pair{"7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", 0}}) {
        const SearchResult r = search(fen, 5);
        EXPECT_EQ(r.best_move, NULL_MOVE) << fen;
        EXPECT_EQ(r.score, score) << fen;
    }
}

TEST_F(SearchTest, DrawRules) {
    auto node = [&](int depth) {
        ctx->reset();
        return negamax(board, *ctx, 1, depth, -INFINITE_SCORE, INFINITE_SCORE);
    };
    auto leaf = [&] {
        ctx->reset();
        return quiescence(board, *ctx, 1, -INFINITE_SCORE, INFINITE_SCORE);
    };
    // Fifty-move rule: 0 in the principal search even in check, while a
    // mate still counts.
    board.set_fen("4k3/8/8/8/8/8/4r3/4K3 w - - 100 80");
    EXPECT_EQ(node(3), 0);
    EXPECT_EQ(leaf(), 0);
    // Bare kings and king + knight: insufficient material.
    board.set_fen("4k3/8/8/8/8/8/8/4KN2 w - - 0 1");
    EXPECT_EQ(node(4), 0);
    EXPECT_EQ(leaf(), 0);
    // A queen up is no draw.
    board.set_fen("4k3/8/8/8/8/8/8/3QK3 w - - 0 1");
    EXPECT_GT(node(3), 500);
    // Repetition: back to a position seen two plies earlier scores 0.
    board.set_fen("4k3/8/8/8/8/8/8/3QK3 w - - 0 1");
    for (const char* m : {"d1c2", "e8f8", "c2d1", "f8e8"}) board.do_move(test::find_move(board, m));
    EXPECT_EQ(node(3), 0);
    EXPECT_EQ(leaf(), 0);
}

// An excluded move or a null-move mark left on the stack would silently
// change a sibling's search.
TEST_F(SearchTest, SearchStackIsLeftCleanAndItsVariationIsLegal) {
    board.set_fen("r2q1rk1/pp1nbppp/2p1pn2/3p4/2PP1B2/2N1PN2/PPQ2PPP/R3KB1R w KQ - 3 9");
    SearchResult r;
    // Deepening fills the table, so that singular verifications happen.
    for (int depth = 1; depth <= 10; ++depth) r = search_root(board, *ctx, depth, -INFINITE_SCORE, INFINITE_SCORE);
    for (int ply = -SearchContext::STACK_OFFSET; ply < MAX_PLY; ++ply) {
        EXPECT_EQ(ctx->at(ply).excluded, NULL_MOVE) << ply;
        EXPECT_FALSE(ctx->at(ply).nullMove) << ply;
    }
    for (int ply = -SearchContext::STACK_OFFSET; ply < 0; ++ply) {
        EXPECT_EQ(ctx->at(ply).move, NULL_MOVE) << ply;
        EXPECT_EQ(ctx->at(ply).staticEval, NO_EVAL) << ply;
    }
    ASSERT_GE(r.pv.size(), 2u);
    EXPECT_EQ(r.pv[0], r.best_move);
    for (const Move m : r.pv) {
        ASSERT_EQ(test::find_move(board, move_to_uci(m)), m);
        board.do_move(m);
    }
}

// Nothing of one search leaks into the next through the reused context.
TEST_F(SearchTest, SameSearchSameNodes) {
    const char* fen = "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3";
    EXPECT_EQ(nodes_to_depth(fen, 8), nodes_to_depth(fen, 8));
}

TEST_F(SearchTest, DeadlineFormula) {
    const char* middlegame = "r2q1rk1/pp1nbppp/2p1pn2/3p4/2PP1B2/2N1PN2/PPQ2PPP/R3KB1R w KQ - 3 9";
    const char* queenless = "r4rk1/pp3ppp/2n1bn2/3p4/3P4/2NBBN2/PP3PPP/R4RK1 w - - 0 1";
    const char* fewPieces = "8/8/4k3/8/8/2K5/8/8 w - - 0 1";  // the endgame-table zone
    const struct {
        const char* fen;
        std::int64_t movetime, wtime, btime, winc;
        int movestogo;
        std::int64_t expected;
    } cases[] = {
        {StartFen, -1, -1, -1, 0, 0, -1},                     // infinite
        {StartFen, 1000, 5, -1, 0, 0, 1000},                  // movetime rules over the clock
        {StartFen, -1, 60000, 60000, 0, 0, 60000 / 60 - 50},  // opening: 60 moves to go
        {StartFen, -1, 60000, 60000, 1000, 0, 1950},
        {StartFen, -1, 60000, 60000, 1000, 10, 1000 + 6000 - 50},
        {StartFen, -1, 10, 10, 0, 0, 10},  // both floors at 10
        {StartFen, -1, 2000, 10, 1000, 0, 983},  // short of three increments: at least inc - 20
        // Still 60 moves to go with nearly all pieces on, whatever the move
        // number of the FEN; 20 once queens are off; 40 with few pieces.
        {middlegame, -1, 20000, 20000, 0, 0, 20000 / 60 - 50},
        {queenless, -1, 20000, 20000, 0, 0, 20000 / 20 - 50},
        {fewPieces, -1, 20000, 20000, 0, 0, 20000 / 40 - 50},
    };
    for (const auto& c : cases) {
        board.set_fen(c.fen);
        SearchLimits l;
        l.movetime = c.movetime;
        l.wtime = c.wtime;
        l.btime = c.btime;
        l.winc = c.winc;
        l.movestogo = c.movestogo;
        EXPECT_EQ(allocate_time_ms(board, l), c.expected) << c.fen << " " << c.wtime << "+" << c.winc;
    }
}

TEST_F(SearchTest, EveryPruningSwitchRemovesItsTechnique) {
    const char* fen = "r2q1rk1/pp1nbppp/2p1pn2/3p4/2PP1B2/2N1PN2/PPQ2PPP/R3KB1R w KQ - 3 9";
    const std::uint64_t base = nodes_to_depth(fen, 9);
    const std::vector<ConfigField> fields = all_fields(g_config);
    for (const char* technique : {"iir", "razor", "rfp", "null_move", "futility", "lmr", "late_move_pruning",
                                  "singular_extensions", "countermove", "capture_history", "history_malus"}) {
        const auto on = std::find_if(fields.begin(), fields.end(), [&](const ConfigField& f) {
            return f.name == std::string(technique) + "_enabled";
        });
        ASSERT_NE(on, fields.end()) << technique;
        *on->ptr = 0;
        EXPECT_NE(nodes_to_depth(fen, 9), base) << technique;
        *on->ptr = 1;
    }
    g_pruningEnabled.store(false);
    EXPECT_GT(nodes_to_depth(fen, 7), nodes_to_depth(fen, 5));
    const std::uint64_t plain = nodes_to_depth(fen, 7);
    g_pruningEnabled.store(true);
    EXPECT_GT(plain, nodes_to_depth(fen, 7));
}
