// The engine's behaviour signature: a fixed set of positions searched to a
// fixed depth from a cleared table. Its node total changes only when the
// search or evaluation changes; it also reports nodes per second.
// Usage: bench [depth]        (default 10)
//        bench overrun [ms]   (searches each position with a movetime, default
//                             100, and reports how far the answer came late)
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

#include "core/attacks.h"
#include "core/zobrist.h"
#include "search/bench.h"
#include "search/search.h"
#include "search/tt.h"

using namespace morvane;

namespace {

int report_overruns(int movetimeMs) {
    Board board;
    const auto ctx = std::make_unique<SearchContext>();
    long worst = 0;
    for (const char* fen : bench_positions()) {
        board.set_fen(fen);
        tt_clear();
        SearchLimits limits;
        limits.movetime = movetimeMs;
        const auto start = std::chrono::steady_clock::now();
        iterative_deepening(board, *ctx, limits, nullptr);
        const long ms = static_cast<long>(
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count());
        worst = std::max(worst, ms - movetimeMs);
    }
    std::cout << "Worst overrun of a " << movetimeMs << " ms movetime: " << worst << " ms\n";
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    init_zobrist();
    init_attacks();
    if (argc > 1 && std::string(argv[1]) == "overrun") return report_overruns(argc > 2 ? std::atoi(argv[2]) : 100);
    const int depth = argc > 1 ? std::atoi(argv[1]) : 10;
    const BenchTotals totals = run_bench(depth, std::cout);
    std::cout << "Total nodes: " << totals.nodes
              << "\nNodes per second: " << static_cast<std::uint64_t>(totals.nodes / totals.seconds)
              << "\nTime: " << totals.seconds << " s\n";
}
