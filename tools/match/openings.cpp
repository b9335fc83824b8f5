#include "match/openings.h"

#include <fstream>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <unordered_set>

#include "core/position_check.h"
#include "movegen/movegen.h"
#include "search/search.h"
#include "search/search_flags.h"
#include "search/tt.h"
#include "sts/epd.h"

using namespace morvane;

namespace match {

namespace {

bool is_number(const std::string& s) { return !s.empty() && s.find_first_not_of("0123456789") == std::string::npos; }

// The four position fields of a FEN, as the EPD line writes them.
std::string epd_of(const Board& board) {
    std::istringstream in(board.fen());
    std::string f[4];
    in >> f[0] >> f[1] >> f[2] >> f[3];
    return f[0] + ' ' + f[1] + ' ' + f[2] + ' ' + f[3];
}

}  // namespace

bool load_openings(const std::string& path, std::vector<std::string>& fens, std::ostream& log) {
    std::ifstream file(path);
    if (!file) return false;
    auto board = std::make_unique<Board>();
    std::string raw;
    int lineNumber = 0;
    while (std::getline(file, raw)) {
        ++lineNumber;
        const std::string line = trim(raw);
        if (line.empty() || line[0] == '#') continue;
        std::istringstream in(line);
        std::string f[6];
        in >> f[0] >> f[1] >> f[2] >> f[3] >> f[4] >> f[5];
        if (f[3].empty()) {
            log << path << ':' << lineNumber << ": incomplete position, skipped\n";
            continue;
        }
        // Move counters when both are there; an EPD line's operations otherwise.
        const bool counters = is_number(f[4]) && is_number(f[5]);
        const std::string fen = f[0] + ' ' + f[1] + ' ' + f[2] + ' ' + f[3] + ' ' +
                                (counters ? f[4] + ' ' + f[5] : std::string("0 1"));
        board->set_fen(fen);
        if (const std::string problem = position_problem(*board); !problem.empty()) {
            log << path << ':' << lineNumber << ": unplayable position (" << problem << "), skipped\n";
            continue;
        }
        fens.push_back(fen);
    }
    return true;
}

void shuffle_openings(std::vector<std::string>& fens, std::uint64_t seed) {
    std::mt19937_64 rng(seed);
    for (std::size_t i = fens.size(); i > 1; --i) std::swap(fens[i - 1], fens[rng() % i]);
}

int generate_openings(const OpeningRecipe& recipe, std::ostream& out, std::ostream& log) {
    std::mt19937_64 rng(recipe.seed);
    auto board = std::make_unique<Board>();
    const auto ctx = std::make_unique<SearchContext>();
    std::unordered_set<std::uint64_t> seen;
    int written = 0, tried = 0;
    while (written < recipe.count) {
        board->set_fen(StartFen);
        bool playable = true;
        for (int ply = 0; ply < recipe.plies && playable; ++ply) {
            ScoredMove list[MAX_MOVES];
            const int n = generate_legal(*board, list, false);
            if (n == 0) playable = false;
            else board->do_move(list[rng() % static_cast<unsigned>(n)].move);
        }
        ++tried;
        if (!playable || !seen.insert(board->key()).second) continue;
        ScoredMove list[MAX_MOVES];
        if (generate_legal(*board, list, false) == 0) continue;
        // Each position is judged from an empty table so that its verdict
        // does not depend on the positions tried before it.
        tt_clear();
        g_stopRequested.store(false, std::memory_order_relaxed);
        SearchLimits limits;
        limits.depth = recipe.depth;
        const SearchResult result = iterative_deepening(*board, *ctx, limits, nullptr);
        if (result.score < -recipe.maxScore || result.score > recipe.maxScore) continue;
        out << epd_of(*board) << '\n';
        if (++written % 250 == 0) log << written << " openings from " << tried << " random lines\n";
    }
    log << written << " openings from " << tried << " random lines\n";
    return written;
}

}  // namespace match
