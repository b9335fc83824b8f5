#include <gtest/gtest.h>

#include <climits>

#include "config/safe_ranges.h"
#include "eval/evaluate.h"
#include "search/search.h"
#include "search/time_manager.h"
#include "search/tt.h"
#include "support/capture.h"
#include "support/test_positions.h"

using namespace morvane;

TEST(SafeRanges, EveryDefaultLiesWithinItsRange) {
    EngineConfig config;
    test::CapturedStreams io;
    EXPECT_EQ(clamp_to_safe_ranges("defaults", config), 0);
    EXPECT_EQ(io.err(), "");
}

// Every key at the ends of its range and at zero, with evaluations, short
// searches and clock allocations behind it: under the sanitizers any
// overflow or division by zero aborts the test.
TEST(SafeRanges, EveryKeyAtItsBoundsEvaluatesAndSearches) {
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
    const EngineConfig defaults;
    const std::vector<ConfigField> keys = all_fields(const_cast<EngineConfig&>(defaults));
    Board board;
    const auto ctx = std::make_unique<SearchContext>();
    for (std::size_t k = 0; k < keys.size(); ++k) {
        const SafeRange range = keys[k].range;
        for (const int value : {range.min, range.max, 0}) {
            g_config = defaults;
            const ConfigField field = all_fields(g_config)[k];
            std::fill(field.ptr, field.ptr + field.count, value);
            clamp_to_safe_ranges("sweep", g_config);  // 0 may lie outside
            for (const std::string& fen : fens) {
                board.set_fen(fen);
                evaluate(board, -30001, 30001);
                evaluate(board, -50, 50);
            }
            SearchLimits limits;
            limits.nodes = 1500;
            for (const std::string& fen : {fens[1], fens[6], fens[8]}) {
                board.set_fen(fen);
                tt_clear();
                const SearchResult r = iterative_deepening(board, *ctx, limits, nullptr);
                ASSERT_NE(r.best_move, NULL_MOVE) << keys[k].name << " = " << value;
            }
            // Clock arithmetic at both ends of the time range.
            for (const std::int64_t t : {std::int64_t{0}, std::int64_t{1000}, INT64_MAX}) {
                SearchLimits clock;
                clock.wtime = clock.btime = t;
                clock.winc = clock.binc = t;
                EXPECT_GE(allocate_time_ms(board, clock), 0) << keys[k].name << " = " << value;
            }
            io.clear();
        }
    }
    g_config = saved;
}
