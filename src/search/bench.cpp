#include "search/bench.h"

#include <chrono>
#include <memory>
#include <ostream>

#include "core/notation.h"
#include "search/search.h"
#include "search/search_flags.h"
#include "search/tt.h"

namespace morvane {

namespace {

constexpr const char* BenchFens[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq - 0 1",
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - 1 8",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
    "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3",
    "rnbqkb1r/pp2pppp/3p1n2/8/3NP3/8/PPP2PPP/RNBQKB1R w KQkq - 1 5",
    "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N1PN2/PP3PPP/R2QKB1R w KQ - 0 8",
    "r2q1rk1/pp1nbppp/2p1pn2/3p4/2PP1B2/2N1PN2/PPQ2PPP/R3KB1R w KQ - 3 9",
    "2rq1rk1/pb2bppp/1pn1pn2/3p4/2PP4/1PN1PN2/PB2BPPP/2RQ1RK1 w - - 0 12",
    "r1b2rk1/2q1bppp/p2ppn2/1p6/3BPP2/2N2B2/PPPQ2PP/R4R1K w - - 0 14",
    "r4rk1/pp1q1ppp/2n1bn2/3p4/3P4/2NBBN2/PP3PPP/R2Q1RK1 b - - 5 12",
    "3r1rk1/pp3ppp/2n1b3/q2p4/3P4/P1N1BN2/1P3PPP/R2Q1RK1 w - - 1 16",
    "r1bqr1k1/ppp2ppp/2np1n2/2b1p3/2B1P3/2NP1N2/PPP2PPP/R1BQR1K1 w - - 2 8",
    "2kr3r/ppp1qppp/2n1bn2/4p3/4P3/2N1BN2/PPP1QPPP/2KR3R w - - 6 11",
    "r3r1k1/pp3pbp/1qp3p1/2B5/2BP2b1/Q1n2N2/P4PPP/3R1K1R b - - 0 17",
    "4rrk1/pp1n3p/3q2pQ/2p1pb2/2PP4/2P3N1/P2B2PP/4RRK1 b - - 7 19",
    "r1q2rk1/2p1bppp/2Pp4/p6b/Q1PNp3/4B3/PP1R1PPP/2K4R w - - 2 18",
    "6k1/6p1/6Pp/ppp5/3pn2P/1P3K2/1PP2P2/3N4 b - - 0 1",
    "3b4/5kp1/1p1p1p1p/pP1PpP1P/P1P1P3/3KN3/8/8 w - - 0 1",
    "2K5/p7/7P/5pR1/8/5k2/r7/8 w - - 0 1",
    "8/6pk/1p6/8/PP3p1p/5P2/4KP1q/3Q4 w - - 0 1",
    "7k/3p2pp/4q3/8/4Q3/5Kp1/P6b/8 w - - 0 1",
    "8/2p5/8/2kPKp1p/2p4P/2P5/3P4/8 w - - 0 1",
    "8/1p3pp1/7p/5P1P/2k3P1/8/2K2P2/8 w - - 0 1",
    "8/pp2r1k1/2p1p3/3pP2p/1P1P1P1P/P5KR/8/8 w - - 0 1",
    "5k2/7R/4P2p/5K2/p1r2P1p/8/8/8 b - - 0 1",
    "6k1/4pp1p/3p2p1/P1pPb3/R7/1r2P1PP/3B1P2/6K1 w - - 0 1",
    "8/3p3B/5p2/5P2/p7/PP5b/k7/6K1 w - - 0 1",
};

}  // namespace

std::span<const char* const> bench_positions() { return BenchFens; }

BenchTotals run_bench(int depth, std::ostream& out) {
    Board board;
    const auto ctx = std::make_unique<SearchContext>();  // large: on the heap
    BenchTotals totals;
    const auto start = std::chrono::steady_clock::now();
    for (const char* fen : BenchFens) {
        board.set_fen(fen);
        tt_clear();
        g_stopRequested.store(false);
        SearchLimits limits;
        limits.depth = depth;
        std::uint64_t nodes = 0;
        const SearchResult r = iterative_deepening(board, *ctx, limits,
                                                   [&](const SearchResult& it) { nodes += it.nodes; });
        totals.nodes += nodes;
        out << nodes << " nodes, best " << move_to_uci(r.best_move) << " score " << r.score << "  " << fen << '\n';
    }
    totals.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return totals;
}

}  // namespace morvane
