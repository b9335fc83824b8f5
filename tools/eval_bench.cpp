// Full static evaluations per second (lazy exits off) over a fixed set of
// 1,000 middlegame positions, reached by seeded random play from three
// middlegame-ish openings.
//
// All positions are loaded in turn into one board, as the search uses one
// board; the pawn table then holds the structures of every position, as it
// holds those of a searched tree. A position is loaded from a snapshot of
// the few hundred bytes evaluation reads, not by parsing its FEN, so that
// loading costs little next to evaluating; the time of a pass that only
// loads is still subtracted.
//
// Usage: eval_bench [ROUNDS] [CONFIG]: with a parameter file, the weights
// the engine plays with, which decide how often the costlier terms fire.
#include <algorithm>
#include <chrono>
#include <iostream>
#include <random>
#include <vector>

#include "config/config_loader.h"
#include "core/zobrist.h"
#include "eval/evaluate.h"
#include "movegen/movegen.h"

using namespace morvane;

namespace {

std::vector<PositionSnapshot> fixed_positions(Board& board) {
    const char* seeds[] = {
        "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
        "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    };
    std::vector<PositionSnapshot> positions;
    std::mt19937_64 rng(42);
    for (int i = 0; positions.size() < 1000; ++i) {
        board.set_fen(seeds[i % 3]);
        for (int ply = 0; ply < 16; ++ply) {
            ScoredMove moves[MAX_MOVES];
            const int n = generate_legal(board, moves, false);
            if (n == 0) break;
            board.do_move(moves[rng() % n].move);
        }
        positions.push_back(board.snapshot());
    }
    return positions;
}

// Seconds for `rounds` passes over the positions, evaluating each one when
// asked; evaluations and their checksum are added up.
double pass(Board& board, const std::vector<PositionSnapshot>& positions, int rounds, bool evaluateToo,
            long long& evals, long long& checksum) {
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < rounds; ++round)
        for (const PositionSnapshot& position : positions) {
            board.restore(position);
            if (!evaluateToo) continue;
            checksum += evaluate(board, -30001, 30001);
            ++evals;
        }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 1000;
    init_zobrist();
    init_attacks();
    Board board;
    const std::vector<PositionSnapshot> positions = fixed_positions(board);
    if (argc > 2 && !load_config(argv[2], g_config)) {
        std::cerr << "eval_bench: cannot read " << argv[2] << '\n';
        return 1;
    }
    long long evals = 0, checksum = 0, ignored = 0;
    pass(board, positions, 1, true, ignored, ignored);  // fills the pawn table
    const double loading = pass(board, positions, rounds, false, ignored, ignored);
    const double total = pass(board, positions, rounds, true, evals, checksum);
    const double seconds = total - loading;
    std::cout << evals << " evaluations in " << seconds << " s (loading " << loading
              << " s subtracted): " << static_cast<long long>(evals / seconds) << " per second (checksum " << checksum
              << ")\n";
}
