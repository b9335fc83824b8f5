// Builds every 3- and 4-piece endgame table by retrograde analysis, writes
// them in our own file layout (src/tablebase/tb_layout.h), checks their
// statistics against the published figures and writes the assembler and
// C++ sources that embed them in the engine.
//
// Usage: tbgen OUTDIR [--expect STATS_FILE]
//
// Values are computed without the fifty-move rule, then the distance to
// zeroing (DTZ) of every won or lost position is found by a breadth-first
// pass over the reversible moves. A win whose DTZ exceeds 100 plies would be
// a cursed win and the loser's position a blessed loss; none occurs with
// four pieces, which the generator checks and reports.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "retro_board.h"
#include "solver.h"
#include "statistics.h"
#include "table_file.h"
#include "table_set.h"

using namespace tbgen;

namespace {

struct BuildResult {
    bool ok = false;
    TableStats stats;
    std::size_t wdlSize = 0, dtzSize = 0;
};

// Solves one table, writes its two files and gathers its statistics.
BuildResult build_table(const TableSet& set, Table& t, const std::string& dir) {
    BuildResult r;
    solve_table(set, t);
    r.stats = table_stats(t);
    for (int s = 0; s < 2; ++s)
        for (std::uint32_t i = 0; i < t.mat.size; ++i)
            if (t.val[s][i] != INVALID && t.dtz[s][i] > 100)
                std::fprintf(stderr, "tbgen: %s has a DTZ beyond 100 plies\n", t.name.c_str());

    // Allowed stored values: invalid entries are free; an entry whose
    // value a capture already reaches (draw or better) may hold anything
    // up to it, since the reader takes the better of both.
    std::vector<std::uint8_t> wlo[2], whi[2], dlo[2], dhi[2];
    for (int s = 0; s < 2; ++s) {
        wlo[s].assign(t.mat.size, 0);
        whi[s].assign(t.mat.size, 255);
        dlo[s].assign(t.mat.size, 0);
        dhi[s].assign(t.mat.size, 255);
    }
    for (std::uint32_t i = 0; i < t.mat.size; ++i) {
        for (int s = 0; s < 2; ++s) {
            int v = t.val[s][i];
            if (v == INVALID) continue;
            int sv = scale_value(v, t.dtz[s][i]);
            int cv = t.capv[s][i];
            if (cv >= 2 && cv == sv) {
                wlo[s][i] = 0;
                whi[s][i] = static_cast<std::uint8_t>(sv);
            } else {
                wlo[s][i] = whi[s][i] = static_cast<std::uint8_t>(sv);
            }
            // A win with a winning capture or pawn move is 1 ply from
            // zeroing, which the reader sees without the file.
            bool known = v == DRAW || (v == WIN && t.dtz[s][i] == 1 && cv == 4);
            if (!known) dlo[s][i] = dhi[s][i] = t.dtz[s][i];
        }
    }
    std::vector<unsigned char> wdl = make_file(t, false, wlo, whi, 3);
    // Distances are stored for one side to move only, the one that packs
    // smaller; the reader finds the other side's by looking one move ahead.
    std::vector<unsigned char> dtz = make_file(t, true, dlo, dhi, 1);
    std::vector<unsigned char> dtzBlack = make_file(t, true, dlo, dhi, 2);
    int dtzSides = 1;
    if (dtzBlack.size() < dtz.size()) {
        dtz.swap(dtzBlack);
        dtzSides = 2;
    }
    if (!verify_file(wdl, wlo, whi, 3, t.mat.size) || !verify_file(dtz, dlo, dhi, dtzSides, t.mat.size)) {
        std::fprintf(stderr, "tbgen: %s does not read back\n", t.name.c_str());
        return r;
    }
    if (!write_bytes(dir + "/" + t.name + ".rtbw", wdl) || !write_bytes(dir + "/" + t.name + ".rtbz", dtz)) {
        std::fprintf(stderr, "tbgen: cannot write %s\n", t.name.c_str());
        return r;
    }
    r.wdlSize = wdl.size();
    r.dtzSize = dtz.size();
    r.ok = true;
    return r;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: tbgen OUTDIR [--expect STATS_FILE]\n");
        return 2;
    }
    std::string dir = argv[1];
    std::string expect;
    for (int i = 2; i + 1 < argc; ++i)
        if (std::string(argv[i]) == "--expect") expect = argv[i + 1];
    init_board_tables();

    // Tables a capture or promotion leads into come first.
    std::vector<std::string> names(tableNames, tableNames + 35);
    auto rank = [](const std::string& n) {
        int pawns = static_cast<int>(std::count(n.begin(), n.end(), 'P'));
        return static_cast<int>(n.size()) * 10 + pawns;
    };
    std::stable_sort(names.begin(), names.end(), [&](auto& a, auto& b) { return rank(a) < rank(b); });
    TableSet set;
    set.tables.resize(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        set.tables[i].name = names[i];
        parse_material(names[i], set.tables[i].mat);
        set.byKey[material_key(set.tables[i].mat.code, set.tables[i].mat.n, false)] = static_cast<int>(i);
    }

    std::map<std::string, Published> published;
    if (!expect.empty()) published = read_published(expect);

    // Tables of one rank depend only on lower ranks: build each rank on two
    // threads.
    std::vector<BuildResult> results(set.tables.size());
    for (std::size_t lo = 0; lo < set.tables.size();) {
        std::size_t hi = lo;
        while (hi < set.tables.size() && rank(set.tables[hi].name) == rank(set.tables[lo].name)) ++hi;
        std::atomic<std::size_t> next{lo};
        auto worker = [&] {
            for (std::size_t i; (i = next++) < hi;) results[i] = build_table(set, set.tables[i], dir);
        };
        std::thread helper(worker);
        worker();
        helper.join();
        lo = hi;
    }

    std::FILE* statsOut = std::fopen((dir + "/tbgen-stats.txt").c_str(), "w");
    bool allMatch = true;
    std::map<std::string, std::size_t> sizes;
    std::size_t total = 0;
    for (std::size_t k = 0; k < set.tables.size(); ++k) {
        const Table& t = set.tables[k];
        const BuildResult& r = results[k];
        if (!r.ok) return 1;
        print_stats(statsOut, t.name, r.stats);
        if (!expect.empty()) {
            auto it = published.find(t.name);
            bool ok = it != published.end() && it->second.st == r.stats;
            for (int c = 0; ok && c < 2; ++c) {
                if (it->second.fen[c].empty()) continue;
                int d = 0;
                ok = fen_dtz(set, it->second.fen[c], d) && std::abs(d) == r.stats.longest[c];
            }
            if (!ok) {
                std::fprintf(stderr, "tbgen: %s differs from the published statistics\n", t.name.c_str());
                allMatch = false;
            }
        }
        sizes[t.name + ".rtbw"] = r.wdlSize;
        sizes[t.name + ".rtbz"] = r.dtzSize;
        total += r.wdlSize + r.dtzSize;
        std::fprintf(stderr, "tbgen: %-6s %8zu %8zu\n", t.name.c_str(), r.wdlSize, r.dtzSize);
    }
    std::fclose(statsOut);
    std::fprintf(stderr, "tbgen: %zu bytes in all\n", total);

    std::vector<std::pair<std::string, std::size_t>> files;
    std::vector<std::string> sorted(tableNames, tableNames + 35);
    for (const std::string& n : sorted) {
        files.push_back({n + ".rtbw", sizes[n + ".rtbw"]});
        files.push_back({n + ".rtbz", sizes[n + ".rtbz"]});
    }
    write_embedding(dir, files);
    if (!allMatch) {
        std::fprintf(stderr, "tbgen: statistics differ from %s\n", expect.c_str());
        return 1;
    }
    return 0;
}
