// Average cost of a win/draw/loss probe of mapped endgame tables, over
// random legal positions of several tables (capture resolution included).
// Usage: tb_probe_bench [positions per table, default 200000]
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "core/attacks.h"
#include "tablebase/cache.h"
#include "tablebase/tbprobe.h"

using namespace morvane;

namespace {

struct Sample {
    std::uint64_t w, b, k, q, r, bi, n, p;
    bool turn;
};

// Random placements of the pieces of `name`; only those the reader accepts
// (legal, in the tables) are kept.
std::vector<Sample> random_positions(const std::string& name, int count, std::mt19937_64& rng) {
    std::vector<Sample> out;
    std::size_t v = name.find('v');
    while (static_cast<int>(out.size()) < count) {
        Sample s{};
        std::uint64_t occ = 0;
        bool ok = true;
        for (std::size_t i = 0; i < name.size() && ok; ++i) {
            if (i == v) continue;
            int sq;
            do sq = static_cast<int>(rng() % 64);
            while (occ >> sq & 1);
            std::uint64_t bit = std::uint64_t{1} << sq;
            occ |= bit;
            (i < v ? s.w : s.b) |= bit;
            switch (name[i]) {
                case 'K': s.k |= bit; break;
                case 'Q': s.q |= bit; break;
                case 'R': s.r |= bit; break;
                case 'B': s.bi |= bit; break;
                case 'N': s.n |= bit; break;
                case 'P':
                    s.p |= bit;
                    ok = sq >= 8 && sq < 56;
                    break;
            }
        }
        s.turn = rng() & 1;
        if (ok && tb_probe_wdl_impl(s.w, s.b, s.k, s.q, s.r, s.bi, s.n, s.p, 0, s.turn) != TB_RESULT_FAILED)
            out.push_back(s);
    }
    return out;
}

}  // namespace

int main(int argc, char** argv) {
    int perTable = argc > 1 ? std::atoi(argv[1]) : 200000;
    init_attacks();
    std::string dir = extract_embedded_to_cache();
    if (dir.empty() || !tb_init(dir.c_str()) || TB_LARGEST == 0) {
        std::fprintf(stderr, "no tables\n");
        return 1;
    }
    std::mt19937_64 rng(20261122);
    std::vector<Sample> all;
    for (const char* t : {"KQvK", "KPvK", "KQvKR", "KRvKP", "KPvKP", "KBNvK", "KQPvK", "KNvKP", "KBBvK", "KRvKN"}) {
        std::vector<Sample> s = random_positions(t, perTable, rng);
        all.insert(all.end(), s.begin(), s.end());
    }
    std::shuffle(all.begin(), all.end(), rng);
    unsigned sum = 0;
    auto start = std::chrono::steady_clock::now();
    for (const Sample& s : all) sum += tb_probe_wdl_impl(s.w, s.b, s.k, s.q, s.r, s.bi, s.n, s.p, 0, s.turn);
    auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - start).count();
    std::printf("%zu win/draw/loss probes over 10 tables: %.0f ns per probe (checksum %u)\n", all.size(),
                static_cast<double>(ns) / static_cast<double>(all.size()), sum);
    return 0;
}
