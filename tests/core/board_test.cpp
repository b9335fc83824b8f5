#include <gtest/gtest.h>

#include <stdexcept>

#include "core/notation.h"
#include "core/position_check.h"
#include "support/test_positions.h"

using namespace morvane;

namespace {

Move uci(Board& board, const std::string& text) {
    const Move m = test::find_move(board, text);
    if (!m) ADD_FAILURE() << "no legal move " << text;
    return m;
}

void play(Board& board, std::initializer_list<const char*> moves) {
    for (const char* m : moves) board.do_move(uci(board, m));
}

void expect_consistent(const Board& b) {
    Bitboard all[2] = {0, 0};
    for (Square s = 0; s < 64; ++s) {
        const int code = b.piece_on(s);
        if (!code) continue;
        ASSERT_TRUE(b.pieces(piece_color(code), piece_type(code)) & square_bb(s)) << s;
        all[piece_color(code)] |= square_bb(s);
    }
    ASSERT_EQ(b.pieces(WHITE), all[WHITE]);
    ASSERT_EQ(b.pieces(BLACK), all[BLACK]);
    ASSERT_EQ(b.occupied(), all[WHITE] | all[BLACK]);
    ASSERT_EQ(b.key(), b.compute_key());
    ASSERT_EQ(b.pawn_key(), b.compute_pawn_key());
}

}  // namespace

// Incremental keys and piece sets match recomputation, every generated move
// leaves its own king safe, and undoing every move brings back the start.
TEST(Board, RandomGamesKeepKeysAndLegalityAndUnwind) {
    Board board;
    std::mt19937_64 rng(2024);
    for (const char* fen : test::PerftFens) {
        for (int game = 0; game < 40; ++game) {
            board.set_fen(fen);
            const std::uint64_t rootKey = board.key();
            const std::string rootFen = board.fen();
            for (int ply = 0; ply < 120; ++ply) {
                ScoredMove moves[MAX_MOVES];
                const int n = generate_legal(board, moves, false);
                if (n == 0) break;
                const Color us = board.side_to_move();
                for (int i = 0; i < n; ++i) {
                    board.do_move(moves[i].move);
                    ASSERT_FALSE(board.attackers_to(board.king_square(us), board.occupied()) & board.pieces(us ^ 1));
                    board.undo_move();
                }
                ScoredMove captures[MAX_MOVES];
                ASSERT_LE(generate_legal(board, captures, true), n);
                if (rng() % 8 == 0 && !board.checkers()) {
                    board.do_null_move();
                    expect_consistent(board);
                    board.undo_null_move();
                }
                board.do_move(moves[rng() % n].move);
                expect_consistent(board);
            }
            while (board.ply() > 0) board.undo_move();
            ASSERT_EQ(board.key(), rootKey);
            ASSERT_EQ(board.fen(), rootFen);
            expect_consistent(board);
        }
    }
}

TEST(Board, EnPassantSquareIsStoredButHashedOnlyWhenCapturable) {
    Board board;
    play(board, {"e2e4"});
    EXPECT_EQ(board.state().epSquare, 20);  // e3
    Board fresh;
    fresh.set_fen("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1");
    EXPECT_EQ(board.key(), fresh.key());  // no black pawn attacks e3

    board.set_fen("rnbqkbnr/ppp1pppp/8/8/3pP3/8/PPPP1PPP/RNBQKBNR b KQkq e3 0 3");
    Board noEp;
    noEp.set_fen("rnbqkbnr/ppp1pppp/8/8/3pP3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 3");
    EXPECT_NE(board.key(), noEp.key());
}

TEST(Board, FenFieldsDefaultsAndBadFens) {
    // Missing fields take their defaults, the full-move number is not kept,
    // and the 16-bit half-move clock neither wraps nor goes negative.
    const std::pair<const char*, const char*> fens[] = {
        {StartFen, StartFen},
        {"4k3/8/8/8/8/8/8/4K3 w - - 7 30", "4k3/8/8/8/8/8/8/4K3 w - - 7 1"},
        {"4k3/8/8/8/8/8/8/4K3", "4k3/8/8/8/8/8/8/4K3 w - - 0 1"},
        {"4k3/8/8/8/8/8/8/4K3 w - - 70000 1", "4k3/8/8/8/8/8/8/4K3 w - - 10000 1"},
        {"4k3/8/8/8/8/8/8/4K3 w - - -5 1", "4k3/8/8/8/8/8/8/4K3 w - - 0 1"},
    };
    Board board;
    for (const auto& [in, out] : fens) {
        board.set_fen(in);
        EXPECT_EQ(board.fen(), out);
    }
    // Placements that run off a rank or off the board are refused before
    // anything is written outside it.
    for (const char* bad : {"rnbqkbnrr/8/8/8/8/8/8/8 w - -", "8/8/8/8/8/8/8/8/8/k w - -", "88k/8/8/8/8/8/8/K7 w - -"})
        EXPECT_THROW(board.set_fen(bad), std::runtime_error) << bad;
    EXPECT_NO_THROW(board.set_fen("9/8/8/8/8/8/8/8 w - -"));  // digits alone place nothing
}

TEST(Board, InsufficientMaterial) {
    Board board;
    auto insufficient = [&](const char* fen) {
        board.set_fen(fen);
        return board.is_insufficient_material();
    };
    EXPECT_TRUE(insufficient("8/8/8/8/8/8/8/4K2k w - - 0 1"));
    EXPECT_TRUE(insufficient("7k/8/8/8/8/8/8/2N1KN2 w - - 0 1"));
    EXPECT_FALSE(insufficient("7k/8/8/8/8/8/8/2B1KN2 w - - 0 1"));
    EXPECT_TRUE(insufficient("7k/8/6b1/8/8/8/8/2B1K3 w - - 0 1"));  // c1 dark, g6 light
    EXPECT_TRUE(insufficient("7k/8/8/8/8/8/8/2B1K1B1 w - - 0 1"));  // c1 and g1: both dark
    EXPECT_FALSE(insufficient("7k/8/8/8/8/8/8/2BBK3 w - - 0 1"));   // c1 and d1 differ
    EXPECT_FALSE(insufficient("7k/8/8/8/8/8/P7/4K3 w - - 0 1"));
    EXPECT_FALSE(insufficient("7k/8/8/8/8/8/8/1NNNK3 w - - 0 1"));
}

TEST(Board, HistoryLimitsNullMovesAndTrimmedHistories) {
    Board board;
    EXPECT_THROW(board.undo_move(), std::runtime_error);
    EXPECT_THROW(board.undo_null_move(), std::runtime_error);
    const char* cycle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int i = 0; i < MAX_GAME_PLY - 1; ++i) board.do_move(uci(board, cycle[i % 4]));
    EXPECT_EQ(board.ply(), MAX_GAME_PLY - 1);
    const std::string before = board.fen();
    try {
        board.do_move(make_move(6, 21));
        FAIL();
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "MAX_GAME_PLY dépassé");
    }
    EXPECT_EQ(board.fen(), before);
    EXPECT_THROW(board.do_null_move(), std::runtime_error);

    board.set_fen("4k3/8/8/8/3p4/8/4P3/4K3 w - - 5 40");
    play(board, {"e2e4"});
    board.do_null_move();
    EXPECT_EQ(board.state().epSquare, NO_SQUARE);
    EXPECT_EQ(board.state().halfmove, 0);
    EXPECT_EQ(board.side_to_move(), WHITE);
    board.undo_null_move();
    EXPECT_EQ(board.state().epSquare, 20);

    // A long history keeps its recent part, and unwinds.
    board.set_fen(StartFen);
    play(board, {"e2e4", "e7e5"});
    for (int i = 0; i < 8; ++i) board.do_move(uci(board, cycle[i % 4]));
    const std::uint64_t key = board.key();
    const std::string fen = board.fen();
    board.keep_recent_history(board.state().halfmove);
    EXPECT_EQ(board.ply(), 8);
    EXPECT_EQ(board.game_ply(), 10);
    EXPECT_EQ(board.key(), key);
    EXPECT_EQ(board.fen(), fen);
    // The position after e4 e5 was kept: one more cycle makes it stand on
    // the board for the fourth time.
    for (int i = 0; i < 4; ++i) board.do_move(uci(board, cycle[i]));
    EXPECT_EQ(board.earlier_occurrences(9), 3);
    EXPECT_TRUE(board.is_repetition());

    // Unwinding after a failure deep in a search takes back moves and null
    // moves alike.
    const int root = board.ply();
    const std::string rootFen = board.fen();
    play(board, {"d2d4"});
    board.do_null_move();
    play(board, {"c1g5"});
    board.undo_to(root);
    EXPECT_EQ(board.fen(), rootFen);
    EXPECT_EQ(board.key(), board.compute_key());
}

TEST(PositionCheck, RejectsPositionsTheEngineCannotPlay) {
    Board board;
    EXPECT_EQ(position_problem(board), "");
    const char* unplayable[] = {
        "8/8/8/8/8/8/8/4K3 w - - 0 1",             // no black king
        "4k3/8/8/8/8/8/8/4KK2 w - - 0 1",          // two white kings
        "P3k3/8/8/8/8/8/8/4K3 w - - 0 1",          // pawn on the last rank
        "4k3/8/8/8/8/8/4Q3/4K3 w - - 0 1",         // side not to move in check
        "QQQQQQQQ/QQ2k3/8/8/8/8/8/4K3 b - - 0 1",  // more promotions than pawns
    };
    for (const char* fen : unplayable) {
        board.set_fen(fen);
        EXPECT_NE(position_problem(board), "") << fen;
    }
    for (const char* fen : test::PerftFens) {
        board.set_fen(fen);
        EXPECT_EQ(position_problem(board), "") << fen;
    }
}
