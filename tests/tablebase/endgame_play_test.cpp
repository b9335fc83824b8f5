#include <gtest/gtest.h>

#include <random>

#include "core/notation.h"
#include "movegen/movegen.h"
#include "support/engine_process.h"
#include "support/test_positions.h"
#include "tb_support.h"

namespace morvane {
namespace {

using test::probe_wdl;

// The move the tables rank best: the longest resistance for a losing side,
// the fastest conversion for a winning one.
Move table_move(Board& b) {
    const unsigned r = test::probe_root_fen(b.fen());
    if (r == TB_RESULT_FAILED || r == TB_RESULT_CHECKMATE || r == TB_RESULT_STALEMATE) return NULL_MOVE;
    std::string text = square_to_string(static_cast<Square>(tb_result_from(r))) +
                       square_to_string(static_cast<Square>(tb_result_to(r)));
    if (tb_result_promotes(r)) text += "qrbn"[tb_result_promotes(r) - 1];
    return test::find_move(b, text);
}

class EndgamePlay : public ::testing::Test {
protected:
    void SetUp() override {
        test::load_embedded_tables();
        engine_.send("uci");
        ASSERT_TRUE(engine_.ready());
    }
    void TearDown() override { tb_init(""); }

    // Plays from fen, the engine moving first and `reply` answering, until
    // the game ends or `plies` have been played. No engine move may hand
    // the opponent a won position, nor may the fifty-move rule come.
    template <class Reply>
    void play_out(Board& board, const char* fen, int plies, Reply&& reply) {
        board.set_fen(fen);
        std::string moves;
        for (int ply = 0; ply < plies; ++ply) {
            ScoredMove list[MAX_MOVES];
            if (generate_legal(board, list, false) == 0 || board.is_insufficient_material()) return;
            ASSERT_LT(board.state().halfmove, 100) << "fifty-move rule reached: " << board.fen();
            const Move m = ply % 2 == 0 ? engine_move(board, fen, moves) : reply(board);
            ASSERT_NE(m, NULL_MOVE);
            (moves += ' ') += move_to_uci(m);
            board.do_move(m);
            if (ply % 2 == 0) {
                ASSERT_NE(probe_wdl(board), TB_WIN) << move_to_uci(m) << " loses: " << board.fen();
            }
        }
    }

    // The engine's move in the game so far, checked for legality.
    Move engine_move(Board& board, const std::string& startFen, const std::string& moves) {
        engine_.send("position fen " + startFen + (moves.empty() ? "" : " moves" + moves));
        engine_.send("go depth 3");
        const auto line = engine_.wait_for("bestmove ", 20000);
        EXPECT_TRUE(line) << "no answer";
        if (!line) return NULL_MOVE;
        const std::string text = line->substr(9);
        const Move m = test::find_move(board, text);
        EXPECT_NE(m, NULL_MOVE) << "illegal move " << text << " in " << board.fen();
        return m;
    }

    test::EngineUnderTest engine_;
};

TEST_F(EndgamePlay, WonEndingsAreMatedWithinFiftyMoves) {
    const char* wins[] = {
        "8/8/8/4k3/8/8/8/1Q2K3 w - - 0 1",   // KQvK
        "8/8/3k4/8/8/8/8/R3K3 w - - 0 1",    // KRvK
        "8/8/8/3k4/8/8/8/1N2KB2 w - - 0 1",  // KBNvK
        "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1",   // KPvK
        "8/8/4k3/8/8/2r5/8/3QK3 w - - 0 1",  // KQvKR
    };
    std::mt19937_64 rng(47);
    auto random_move = [&](Board& b) {
        ScoredMove moves[MAX_MOVES];
        const int n = generate_legal(b, moves, false);
        return n ? moves[rng() % static_cast<unsigned>(n)].move : NULL_MOVE;
    };
    for (const char* fen : wins) {
        ASSERT_EQ(test::probe_wdl_fen(fen), TB_WIN) << fen;
        for (const bool bestDefence : {true, false}) {
            SCOPED_TRACE(std::string(fen) + (bestDefence ? " against the tables" : " against random moves"));
            Board board;
            if (bestDefence) play_out(board, fen, 300, table_move);
            else play_out(board, fen, 300, random_move);
            ScoredMove list[MAX_MOVES];
            EXPECT_TRUE(board.checkers() && generate_legal(board, list, false) == 0 && board.side_to_move() == BLACK)
                << "game ended without mate: " << board.fen();
        }
    }
}

// Against the tables' own best tries.
TEST_F(EndgamePlay, DrawnEndingsAreNeverLost) {
    const char* draws[] = {
        "8/8/4k3/8/8/2r5/8/3RK3 w - - 0 1",   // KRvKR
        "8/3q4/4k3/8/8/8/8/3QK3 w - - 0 1",   // KQvKQ
        "8/8/8/8/3k4/3p4/8/3K4 w - - 0 1",    // KvKP, the king before the pawn
        "8/8/8/8/1k6/8/8/1K1N1n2 w - - 0 1",  // KNvKN
    };
    for (const char* fen : draws) {
        SCOPED_TRACE(fen);
        ASSERT_EQ(test::probe_wdl_fen(fen), TB_DRAW);
        Board board;
        play_out(board, fen, 60, table_move);
    }
}

}  // namespace
}  // namespace morvane
