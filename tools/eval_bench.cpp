// Full static evaluations per second (lazy exits off) over a fixed set of
// middlegame positions reached by seeded random play.
#include <chrono>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "eval/evaluate.h"
#include "movegen/movegen.h"

using namespace morvane;

int main() {
    const char* seeds[] = {
        "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
        "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    };
    std::vector<std::string> fens;
    std::mt19937_64 rng(42);
    Board board;
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
    std::vector<Board> boards(fens.size());
    for (std::size_t i = 0; i < fens.size(); ++i) boards[i].set_fen(fens[i]);

    long long checksum = 0, evals = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < 300; ++round)
        for (const Board& b : boards) {
            checksum += evaluate(b, -30001, 30001);
            ++evals;
        }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::cout << evals << " evaluations in " << seconds << " s: " << static_cast<long long>(evals / seconds)
              << " per second (checksum " << checksum << ")\n";
}
