// A position's value and distance to zeroing are the best its moves reach:
// a wrong index, a misread block or a trusted "don't care" value breaks this
// somewhere in a few hundred random positions.
#include <gtest/gtest.h>

#include <random>

#include "movegen/movegen.h"
#include "tb_support.h"

namespace morvane {
namespace {

using test::probe_dtz;
using test::probe_wdl;
using test::random_position;

struct Outcome {
    int wdl;  // from the mover's side: 0 loss, 2 draw, 4 win
    int dtz;  // plies to zeroing, signed, from the mover's side
};

// What one move achieves for the side that plays it.
Outcome outcome_of_move(Board& board, Move m) {
    const bool zeroing = piece_type(board.piece_on(move_from(m))) == PAWN || board.piece_on(move_to(m)) != 0;
    board.do_move(m);
    Outcome o{2, 0};
    ScoredMove replies[MAX_MOVES];
    if (generate_legal(board, replies, false) == 0) {
        o = board.checkers() ? Outcome{4, 1} : Outcome{2, 0};
    } else if (zeroing) {
        const int w = 4 - static_cast<int>(probe_wdl(board));
        o = {w, w == 4 ? 1 : w == 0 ? -1 : 0};
    } else {
        int success = 0;
        const int d = probe_dtz(board, &success);
        EXPECT_NE(success, 0) << board.fen();
        o = d < 0 ? Outcome{4, 1 - d} : d > 0 ? Outcome{0, -d - 1} : Outcome{2, 0};
    }
    board.undo_move();
    return o;
}

// The position's value and distance against the best its moves reach.
void expect_agreement_with_successors(Board& board) {
    ScoredMove moves[MAX_MOVES];
    const int n = generate_legal(board, moves, false);
    const unsigned wdl = probe_wdl(board);
    int success = 0;
    const int dtz = probe_dtz(board, &success);
    ASSERT_NE(wdl, TB_RESULT_FAILED) << board.fen();
    ASSERT_NE(success, 0) << board.fen();

    int bestWdl = 0, winDtz = 1000, lossDtz = 0;
    for (int k = 0; k < n; ++k) {
        const Outcome o = outcome_of_move(board, moves[k].move);
        bestWdl = std::max(bestWdl, o.wdl);
        if (o.wdl == 4) winDtz = std::min(winDtz, o.dtz);
        if (o.wdl == 0) lossDtz = std::min(lossDtz, o.dtz);
    }
    ASSERT_EQ(static_cast<int>(wdl), bestWdl) << board.fen();
    const int expected = bestWdl == 4 ? winDtz : bestWdl == 0 ? lossDtz : 0;
    ASSERT_EQ(dtz, expected) << board.fen();
}

TEST(TablebaseConsistency, EveryTableAgreesWithItsSuccessors) {
    test::load_embedded_tables();
    ASSERT_EQ(TB_LARGEST, 4u);
    std::mt19937_64 rng(8);
    int checked = 0;
    test::for_each_embedded([&](const syzygy_embedded::EmbeddedFile& f) {
        std::string table = f.name;
        if (!table.ends_with(".rtbw") || HasFatalFailure()) return;
        table.resize(table.find('.'));
        for (int done = 0; done < 150 && !HasFatalFailure();) {
            Board board;
            ScoredMove moves[MAX_MOVES];
            if (!random_position(table, rng, board) || generate_legal(board, moves, false) == 0) continue;
            ++done;
            expect_agreement_with_successors(board);
            ++checked;
        }
    });
    EXPECT_EQ(checked, 35 * 150);
}

// Stored values ignore en passant; the reader must resolve it, including
// the case where that capture is the only legal move.
TEST(TablebaseConsistency, EnPassantPositionsAgreeWithTheirSuccessors) {
    test::load_embedded_tables();
    for (const char* fen :
         {"8/8/8/8/1Pp5/2K5/8/k7 b - b3 0 1", "k7/8/8/8/1Pp5/8/8/7K b - b3 0 1", "8/8/8/k7/1Pp5/8/8/2K5 b - b3 0 1",
          "8/8/8/7k/1p6/1P6/7K/8 b - - 0 1", "8/3k4/8/8/8/2K5/5P2/6r1 w - - 0 1"}) {
        Board board;
        board.set_fen(fen);
        expect_agreement_with_successors(board);
    }
}

}  // namespace
}  // namespace morvane
