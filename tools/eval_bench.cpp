// Full static evaluations per second (lazy exits off) over a fixed set of
// 1,000 middlegame positions, reached by seeded random play from three
// middlegame-ish openings.
//
// All positions are set up in turn on one board, as the search uses one
// board: its pawn table then holds the structures of every position, as it
// holds those of a searched tree. The time of a pass that only sets the
// positions up is subtracted, so the figure is the cost of evaluate alone.
#include <chrono>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "eval/evaluate.h"
#include "movegen/movegen.h"

using namespace morvane;

namespace {

std::vector<std::string> fixed_positions(Board& board) {
    const char* seeds[] = {
        "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
        "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    };
    std::vector<std::string> fens;
    std::mt19937_64 rng(42);
    for (int i = 0; fens.size() < 1000; ++i) {
        board.set_fen(seeds[i % 3]);
        for (int ply = 0; ply < 16; ++ply) {
            ScoredMove moves[MAX_MOVES];
            const int n = generate_legal(board, moves, false);
            if (n == 0) break;
            board.do_move(moves[rng() % n].move);
        }
        fens.push_back(board.fen());
    }
    return fens;
}

// Seconds for `rounds` passes over the positions, evaluating each one when
// asked; evaluations and their checksum are added up.
double pass(Board& board, const std::vector<std::string>& fens, int rounds, bool evaluateToo, long long& evals,
            long long& checksum) {
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < rounds; ++round)
        for (const std::string& fen : fens) {
            board.set_fen(fen);
            if (!evaluateToo) continue;
            checksum += evaluate(board, -30001, 30001);
            ++evals;
        }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main() {
    Board board;
    const std::vector<std::string> fens = fixed_positions(board);
    long long evals = 0, checksum = 0, ignored = 0;
    pass(board, fens, 1, true, ignored, ignored);  // fills the pawn table
    const double settingUp = pass(board, fens, 300, false, ignored, ignored);
    const double total = pass(board, fens, 300, true, evals, checksum);
    const double seconds = total - settingUp;
    std::cout << evals << " evaluations in " << seconds << " s: " << static_cast<long long>(evals / seconds)
              << " per second (checksum " << checksum << ")\n";
}
