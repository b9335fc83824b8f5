// Deep perft counts from the standard test positions, checked against the
// published figures, with leaf nodes per second. Usage: perft_bench [quick]
#include <chrono>
#include <cstdint>
#include <cstring>
#include <iostream>

#include "core/attacks.h"
#include "core/zobrist.h"
#include "movegen/movegen.h"

using namespace morvane;

namespace {

struct PerftCase {
    const char* fen;
    int depth;
    std::uint64_t expected;
};

constexpr PerftCase Cases[] = {
    {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", 6, 119060324ULL},
    {"r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -", 5, 193690690ULL},
    {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", 7, 178633661ULL},
    {"r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1", 6, 706045033ULL},
    {"rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8", 5, 89941194ULL},
    {"r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10", 5, 164075551ULL},
};

}  // namespace

int main(int argc, char** argv) {
    init_zobrist();
    init_attacks();
    const bool quick = argc > 1 && std::strcmp(argv[1], "quick") == 0;
    Board board;
    std::uint64_t totalNodes = 0;
    double totalSeconds = 0;
    bool allMatch = true;
    for (const PerftCase& c : Cases) {
        board.set_fen(c.fen);
        const int depth = quick ? c.depth - 1 : c.depth;
        const auto start = std::chrono::steady_clock::now();
        const std::uint64_t nodes = perft_count(board, depth);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        const bool match = quick || nodes == c.expected;
        allMatch = allMatch && match;
        totalNodes += nodes;
        totalSeconds += seconds;
        std::cout << "depth " << depth << "  nodes " << nodes << (match ? "  ok" : "  MISMATCH") << "  "
                  << static_cast<std::uint64_t>(nodes / seconds) << " nps  " << c.fen << '\n';
    }
    std::cout << "total " << totalNodes << " leaf nodes in " << totalSeconds << " s, "
              << static_cast<std::uint64_t>(totalNodes / totalSeconds) << " leaf nodes per second\n";
    return allMatch ? 0 : 1;
}
