// The engine under UCI, with its embedded tables, converts won 3- and
// 4-piece endings to mate inside the fifty-move rule whatever the defence,
// and holds drawn endings against the tables' own best tries.
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
    TbPosition a = tb_position(b);
    unsigned results[MAX_MOVES + 1];
    const unsigned r = tb_probe_root_impl(a.white, a.black, a.kings, a.queens, a.rooks, a.bishops, a.knights, a.pawns,
                                          b.state().halfmove, a.ep, a.turn, results);
    if (r == TB_RESULT_FAILED || r == TB_RESULT_CHECKMATE || r == TB_RESULT_STALEMATE) return NULL_MOVE;
    std::string text = square_to_string(static_cast<Square>(tb_result_from(r))) +
                       square_to_string(static_cast<Square>(tb_result_to(r)));
    if (tb_result_promotes(r)) text += "qrbn"[tb_result_promotes(r) - 1];
    return test::find_move(b, text);
}

Move random_move(Board& b, std::mt19937_64& rng) {
    ScoredMove moves[MAX_MOVES];
    const int n = generate_legal(b, moves, false);
    return n ? moves[rng() % static_cast<unsigned>(n)].move : NULL_MOVE;
}

class EndgamePlay : public ::testing::Test {
protected:
    void SetUp() override {
        test::load_embedded_tables();
        engine_.send("uci");
        ASSERT_TRUE(engine_.ready());
    }
    void TearDown() override { tb_init(""); }

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

    test::EngineProcess engine_;
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
    for (const char* fen : wins) {
        for (const bool bestDefence : {true, false}) {
            SCOPED_TRACE(std::string(fen) + (bestDefence ? " against the tables" : " against random moves"));
            Board board;
            board.set_fen(fen);
            ASSERT_EQ(probe_wdl(board), TB_WIN);
            std::string moves;
            bool mated = false;
            for (int ply = 0; ply < 300 && !mated; ++ply) {
                ScoredMove list[MAX_MOVES];
                if (generate_legal(board, list, false) == 0) {
                    mated = board.checkers() && ply % 2 == 1;
                    ASSERT_TRUE(mated) << "game ended without mate: " << board.fen();
                    break;
                }
                ASSERT_LT(board.state().halfmove, 100) << "fifty-move rule reached: " << board.fen();
                const Move m = ply % 2 == 0  ? engine_move(board, fen, moves)
                               : bestDefence ? table_move(board)
                                             : random_move(board, rng);
                ASSERT_NE(m, NULL_MOVE);
                moves += ' ';
                moves += move_to_uci(m);
                board.do_move(m);
            }
            EXPECT_TRUE(mated);
        }
    }
}

TEST_F(EndgamePlay, DrawnEndingsAreNeverLost) {
    const char* draws[] = {
        "8/8/4k3/8/8/2r5/8/3RK3 w - - 0 1",   // KRvKR
        "8/3q4/4k3/8/8/8/8/3QK3 w - - 0 1",   // KQvKQ
        "8/8/8/8/3k4/3p4/8/3K4 w - - 0 1",    // KvKP, the king before the pawn
        "8/8/8/8/1k6/8/8/1K1N1n2 w - - 0 1",  // KNvKN
    };
    for (const char* fen : draws) {
        SCOPED_TRACE(fen);
        Board board;
        board.set_fen(fen);
        ASSERT_EQ(probe_wdl(board), TB_DRAW);
        std::string moves;
        for (int ply = 0; ply < 60; ++ply) {
            ScoredMove list[MAX_MOVES];
            if (generate_legal(board, list, false) == 0 || board.is_insufficient_material()) break;
            const Move m = ply % 2 == 0 ? engine_move(board, fen, moves) : table_move(board);
            ASSERT_NE(m, NULL_MOVE);
            moves += ' ';
            moves += move_to_uci(m);
            board.do_move(m);
            if (ply % 2 == 0) {
                ASSERT_NE(probe_wdl(board), TB_WIN) << "the engine's " << move_to_uci(m) << " loses: " << board.fen();
            }
        }
    }
}

}  // namespace
}  // namespace morvane
