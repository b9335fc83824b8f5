#include <gtest/gtest.h>

#include <fstream>

#include "search/search.h"
#include "support/capture.h"
#include "tablebase/syzygy.h"
#include "tb_support.h"
#include "uci/uci_loop.h"

namespace morvane {
namespace {

class SyzygyUse : public ::testing::Test {
protected:
    void SetUp() override {
        test::shared_table_dir();  // extract once, under a scratch TMPDIR
        ASSERT_TRUE(syzygy_init(test::shared_table_dir()));
    }
    void TearDown() override { tb_init(""); }
};

TEST_F(SyzygyUse, SearchProbeScoresByPlyAndRefusesWhatTheTablesDoNotHold) {
    Board b;
    b.set_fen("8/8/8/8/4k3/8/1Q6/K7 w - - 0 1");
    int score = 0;
    ASSERT_TRUE(syzygy_probe_search(b, 5, score));
    EXPECT_EQ(score, 19995);
    b.set_fen("8/8/8/8/4k3/8/1Q6/K7 b - - 0 1");
    ASSERT_TRUE(syzygy_probe_search(b, 7, score));
    EXPECT_EQ(score, -19993);
    b.set_fen("8/8/8/8/4k3/8/1B6/K7 w - - 0 1");
    ASSERT_TRUE(syzygy_probe_search(b, 3, score));
    EXPECT_EQ(score, 0);

    // Castling rights are unknown to the tables; mate and stalemate are
    // left to the search.
    TbRootMove r;
    b.set_fen("4k3/8/8/8/8/8/8/R3K3 w Q - 0 1");
    EXPECT_FALSE(syzygy_probe_search(b, 1, score));
    EXPECT_FALSE(syzygy_root_probe(b, r));
    b.set_fen("k7/2Q5/1K6/8/8/8/8/8 b - - 0 1");
    EXPECT_FALSE(syzygy_root_probe(b, r));
    b.set_fen("8/8/8/8/8/8/1Q6/k1K5 b - - 0 1");
    EXPECT_FALSE(syzygy_root_probe(b, r));
}

TEST_F(SyzygyUse, RootProbeIgnoresTheHalfMoveClockAndPlaysTheTablesMove) {
    Board b;
    b.set_fen("8/8/8/8/4k3/8/1Q6/K7 w - - 1 1");
    int score = 0;
    EXPECT_FALSE(syzygy_probe_search(b, 5, score));
    TbRootMove r;
    ASSERT_TRUE(syzygy_root_probe(b, r));
    EXPECT_EQ(r.score, 20000);
    // The root search plays the tables' move without searching it.
    SearchLimits limits;
    limits.depth = 3;
    const SearchResult searched = iterative_deepening(b, *std::make_unique<SearchContext>(), limits, nullptr);
    EXPECT_EQ(searched.best_move, r.move);
    EXPECT_EQ(searched.score, 20000);
    EXPECT_EQ(searched.pv, std::vector<Move>{r.move});
    EXPECT_EQ(searched.nodes, 0u);
    // A pawn promotes to a queen when that wins fastest.
    b.set_fen("8/1P6/8/8/8/5k2/8/K7 w - - 0 1");
    ASSERT_TRUE(syzygy_root_probe(b, r));
    EXPECT_EQ(r.move, make_move(49, 57, FLAG_PROMOTION, 3));
    EXPECT_EQ(r.score, 20000);
}

// The UCI option reports what the tables became: the embedded tables for
// no path or a path without tables, none when no cache can be made.
TEST(SyzygyInit, SyzygyPathOptionReportsTheOutcome) {
    Board board;
    test::CapturedStreams io;
    {
        test::ScratchTmpdir tmp;
        execute_uci_command(board, "setoption name SyzygyPath value <empty>");
        EXPECT_NE(io.err().find("info string SyzygyPath=\"\" -> actif, max_pieces=4\n"), std::string::npos);
        // A directory without tables falls back on the embedded ones.
        const std::string empty = (tmp.path() / "empty").string();
        std::filesystem::create_directories(empty);
        io.clear();
        execute_uci_command(board, "setoption name SyzygyPath value " + empty);
        EXPECT_NE(io.err().find("info string SyzygyPath \"" + empty +
                                "\" : aucune tablebase utilisable, repli sur les donnees embarquees\n"),
                  std::string::npos);
        EXPECT_EQ(TB_LARGEST, 4u);
    }
    {
        // No cache can be made where a file stands in the way.
        test::ScratchTmpdir tmp;
        std::ofstream(tmp.cache()) << "in the way";
        io.clear();
        execute_uci_command(board, "setoption name SyzygyPath value " + tmp.path().string());
        EXPECT_NE(io.err().find("aucune tablebase utilisable"), std::string::npos);
        EXPECT_NE(io.err().find("info string SyzygyPath=\"" + tmp.path().string() +
                                "\" -> aucune tablebase disponible, max_pieces=0\n"),
                  std::string::npos);
    }
    tb_init("");
}

}  // namespace
}  // namespace morvane
