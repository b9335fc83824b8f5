// The engine's behaviour signature: a fixed set of positions, each searched
// to a fixed depth from a cleared table. The node total changes only when
// the search or the evaluation changes; the bench tool and the engine's own
// "bench" command print the same total.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>

namespace morvane {

std::span<const char* const> bench_positions();

struct BenchTotals {
    std::uint64_t nodes = 0;
    double seconds = 0;
};

// Searches every position to depth, writing one line per position to out.
BenchTotals run_bench(int depth, std::ostream& out);

}  // namespace morvane
