#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>

#include "config/safe_ranges.h"
#include "core/score.h"
#include "eval/evaluate.h"
#include "search/search.h"
#include "search/time_manager.h"
#include "search/tt.h"
#include "support/capture.h"
#include "support/mirror.h"
#include "support/test_positions.h"

using namespace morvane;

namespace {

// Runs `check` with the key at index k set to each of `values` (brought back
// into its range, as the loader would), the other keys at their defaults.
template <typename Check>
void with_each_value(std::size_t k, std::initializer_list<int> values, Check check) {
    const EngineConfig defaults;
    for (const int value : values) {
        g_config = defaults;
        const ConfigField field = all_fields(g_config)[k];
        std::fill(field.ptr, field.ptr + field.count, value);
        clamp_to_safe_ranges("sweep", g_config);  // 0 may lie outside
        check(field, value);
    }
    g_config = defaults;
}

std::size_t key_count() {
    EngineConfig config;
    return all_fields(config).size();
}

}  // namespace

// Every key at the ends of its range and at zero: the evaluation stays
// colour-symmetric (no term overflowed on one side only), short searches find
// a move, and the clock never gives more than it holds. Under the sanitizers
// any overflow or division by zero aborts the test.
TEST(SafeRanges, EveryKeyAtItsBoundsEvaluatesSearchesAndAllocatesTime) {
    const EngineConfig saved = g_config;
    const char* extraFens[] = {
        "8/8/3k4/8/2P5/8/4K3/8 w - - 0 60",                                // few pieces: tablebase zone
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - 0 1",                           // mate in one
        "r1bq1rk1/ppp2ppp/2n5/3np3/2B5/2NP1N2/PPP2PPP/R2QK2R w KQ - 0 9",  // open king, pins
        "8/5k2/3b4/2p1p3/2P1P3/3B4/5K2/8 w - - 0 40",                      // opposite bishops, locked pawns
    };
    std::vector<std::string> fens(std::begin(test::PerftFens), std::end(test::PerftFens));
    fens.insert(fens.end(), std::begin(extraFens), std::end(extraFens));

    test::CapturedStreams io;
    Board board, mirrored;
    const auto ctx = std::make_unique<SearchContext>();
    constexpr std::int64_t YearMs = 365LL * 24 * 60 * 60 * 1000;
    for (std::size_t k = 0; k < key_count(); ++k) {
        const SafeRange range = all_fields(g_config)[k].range;
        with_each_value(k, {range.min, range.max, 0}, [&](const ConfigField& field, int value) {
            for (const std::string& fen : fens) {
                board.set_fen(fen);
                mirrored.set_fen(test::mirror_fen(fen));
                for (const int margin : {INFINITE_SCORE, 50})
                    ASSERT_EQ(evaluate(board, -margin, margin), evaluate(mirrored, -margin, margin))
                        << field.name << " = " << value << ", " << fen;
            }
            SearchLimits limits;
            limits.nodes = 1500;
            for (const std::string& fen : {fens[1], fens[6], fens[8]}) {
                board.set_fen(fen);
                tt_clear();
                const SearchResult r = iterative_deepening(board, *ctx, limits, nullptr);
                ASSERT_NE(r.best_move, NULL_MOVE) << field.name << " = " << value;
                ASSERT_LE(std::abs(r.score), MATE_SCORE) << field.name << " = " << value;
            }
            // Clock arithmetic at both ends of the time range: at most what
            // the clock holds (a year at most), never less than the floor.
            for (const std::int64_t t : {std::int64_t{0}, std::int64_t{1000}, INT64_MAX}) {
                SearchLimits clock;
                clock.wtime = clock.btime = t;
                clock.winc = clock.binc = t;
                const std::int64_t ms = allocate_time_ms(board, clock);
                EXPECT_GE(ms, 10) << field.name << " = " << value;
                EXPECT_LE(ms, std::max<std::int64_t>(std::min(t, YearMs), 10)) << field.name << " = " << value;
            }
            io.clear();
        });
    }
    g_config = saved;
}

// Searched deeper than every minimum depth, so that every pruning, reduction
// and extension runs with the extreme value; the search asserts at each node
// that a bound built from a margin stays a window of real scores.
TEST(SafeRanges, EverySearchKeyAtItsBoundsSearchesPastEveryMinimumDepth) {
    const EngineConfig saved = g_config;
    EngineConfig defaults;
    int deepest = 0;
    for (const ConfigField& field : all_fields(defaults))
        if (field.name.ends_with("_min_depth")) deepest = std::max(deepest, *field.ptr);
    ASSERT_GE(deepest, 8);

    const char* fens[] = {
        "8/5k2/3b4/2p1p3/2P1P3/3B4/5K2/8 w - - 0 40",  // pieces for the null move, checks
        "6k1/6p1/6Kp/8/8/8/6PP/8 w - - 0 1",           // kings in contact, pawn races
    };
    constexpr std::uint64_t NodeCap = 40000;  // for values that switch every pruning off
    test::CapturedStreams io;
    Board board;
    const auto ctx = std::make_unique<SearchContext>();
    int reached = 0, searches = 0;
    for (std::size_t k = 0; k < key_count(); ++k) {
        const ConfigField key = all_fields(defaults)[k];
        if (key.unit != ParameterUnit::Search && key.unit != ParameterUnit::Switch) continue;
        with_each_value(k, {key.range.min, key.range.max}, [&](const ConfigField& field, int value) {
            for (const char* fen : fens) {
                board.set_fen(fen);
                tt_clear();
                SearchLimits limits;
                limits.depth = deepest + 1;
                limits.nodes = NodeCap;
                const SearchResult r = iterative_deepening(board, *ctx, limits, nullptr);
                ASSERT_NE(r.best_move, NULL_MOVE) << field.name << " = " << value;
                ASSERT_LE(std::abs(r.score), MATE_SCORE) << field.name << " = " << value;
                reached += r.depth == limits.depth;
                ++searches;
            }
            io.clear();
        });
    }
    // Otherwise the sweep no longer reaches the deepest techniques.
    EXPECT_EQ(reached, searches) << "searches that stopped short of depth " << deepest + 1;
    g_config = saved;
}
