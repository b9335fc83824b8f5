// Positions shared by several test files: the standard perft positions,
// which between them exercise castling, en passant, promotions and pins.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "core/notation.h"
#include "movegen/movegen.h"

namespace morvane::test {

inline constexpr const char* PerftFens[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
};

// The legal move with this UCI text, or the null move.
inline Move find_move(Board& board, const std::string& uci) {
    ScoredMove moves[MAX_MOVES];
    const int n = generate_legal(board, moves, false);
    for (int i = 0; i < n; ++i)
        if (move_to_uci(moves[i].move) == uci) return moves[i].move;
    return NULL_MOVE;
}

// Whether the UCI moves can be played one after another from fen.
inline bool plays_legally(const std::string& fen, const std::vector<std::string>& moves) {
    Board board;
    board.set_fen(fen);
    for (const std::string& uci : moves) {
        const Move m = find_move(board, uci);
        if (!m) return false;
        board.do_move(m);
    }
    return true;
}

// Plays `games` random games of at most `plies` moves, starting from the
// perft positions in turn. visit(board, moves, n) sees every position with
// its legal moves before the random move is played; the walk stops at the
// first fatal test failure.
template <class Visit>
void walk_random_games(Board& board, std::mt19937_64& rng, int games, int plies, Visit&& visit) {
    for (int game = 0; game < games; ++game) {
        board.set_fen(PerftFens[game % 6]);
        for (int ply = 0; ply < plies; ++ply) {
            ScoredMove moves[MAX_MOVES];
            const int n = generate_legal(board, moves, false);
            if (n == 0) break;
            visit(board, moves, n);
            if (::testing::Test::HasFatalFailure()) return;
            board.do_move(moves[rng() % n].move);
        }
    }
}

}  // namespace morvane::test
