// Full static evaluations per second (lazy exits off) over a fixed set of
// 1,000 middlegame positions, reached by seeded random play from three
// middlegame-ish openings.
//
// All positions are loaded in turn into one board, as the search uses one
// board: its pawn table then holds the structures of every position, as it
// holds those of a searched tree. A position is loaded by copying the few
// hundred bytes evaluation reads, not by parsing its FEN, so that loading
// costs little next to evaluating; the time of a pass that only loads is
// still subtracted.
#include <algorithm>
#include <chrono>
#include <iostream>
#include <random>
#include <vector>

#include "eval/evaluate.h"
#include "movegen/movegen.h"

using namespace morvane;

namespace {

// What evaluate reads of a board, besides its pawn table.
struct Snapshot {
    Bitboard pieces[2][7];
    Bitboard byColor[2];
    Bitboard occupied;
    std::int32_t squares[64];
    Color side;
    StateEntry state;
    KeyEntry keys;
};

Snapshot take(const Board& board) {
    Snapshot s{};
    std::copy(&board.pieces[0][0], &board.pieces[0][0] + 14, &s.pieces[0][0]);
    std::copy(board.byColor, board.byColor + 2, s.byColor);
    s.occupied = board.occupied;
    std::copy(board.squares, board.squares + 64, s.squares);
    s.side = board.side;
    s.state = board.state();
    s.keys = board.keys[board.ply];
    return s;
}

void load(Board& board, const Snapshot& s) {
    std::copy(&s.pieces[0][0], &s.pieces[0][0] + 14, &board.pieces[0][0]);
    std::copy(s.byColor, s.byColor + 2, board.byColor);
    board.occupied = s.occupied;
    std::copy(s.squares, s.squares + 64, board.squares);
    board.side = s.side;
    board.ply = 0;
    board.states[0] = s.state;
    board.keys[0] = s.keys;
}

std::vector<Snapshot> fixed_positions(Board& board) {
    const char* seeds[] = {
        "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
        "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    };
    std::vector<Snapshot> positions;
    std::mt19937_64 rng(42);
    for (int i = 0; positions.size() < 1000; ++i) {
        board.set_fen(seeds[i % 3]);
        for (int ply = 0; ply < 16; ++ply) {
            ScoredMove moves[MAX_MOVES];
            const int n = generate_legal(board, moves, false);
            if (n == 0) break;
            board.do_move(moves[rng() % n].move);
        }
        positions.push_back(take(board));
    }
    return positions;
}

// Seconds for `rounds` passes over the positions, evaluating each one when
// asked; evaluations and their checksum are added up.
double pass(Board& board, const std::vector<Snapshot>& positions, int rounds, bool evaluateToo, long long& evals,
            long long& checksum) {
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < rounds; ++round)
        for (const Snapshot& position : positions) {
            load(board, position);
            if (!evaluateToo) continue;
            checksum += evaluate(board, -30001, 30001);
            ++evals;
        }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 1000;
    Board board;
    const std::vector<Snapshot> positions = fixed_positions(board);
    long long evals = 0, checksum = 0, ignored = 0;
    pass(board, positions, 1, true, ignored, ignored);  // fills the pawn table
    const double loading = pass(board, positions, rounds, false, ignored, ignored);
    const double total = pass(board, positions, rounds, true, evals, checksum);
    const double seconds = total - loading;
    std::cout << evals << " evaluations in " << seconds << " s (loading " << loading << " s subtracted): "
              << static_cast<long long>(evals / seconds) << " per second (checksum " << checksum << ")\n";
}
