#include <gtest/gtest.h>

#include <fstream>
#include <functional>

#include "tb_support.h"

namespace morvane {
namespace {

using test::probe_dtz_fen;
using test::probe_root_fen;
using test::probe_wdl_fen;

// No path, or the UCI option's <empty>, loads nothing; the embedded tables
// answer from either side.
TEST(TablebaseReader, EmbeddedTablesAnswer) {
    for (const char* none : {"", "<empty>"}) {
        EXPECT_TRUE(tb_init(none));
        EXPECT_EQ(TB_LARGEST, 0u);
        EXPECT_EQ(probe_wdl_fen("8/8/8/8/8/8/1Q6/K1k5 w - - 0 1"), TB_RESULT_FAILED);
    }
    test::load_embedded_tables();
    EXPECT_EQ(TB_LARGEST, 4u);
    EXPECT_EQ(probe_wdl_fen("8/8/8/8/4k3/8/1Q6/K7 w - - 0 1"), TB_WIN);
    EXPECT_EQ(probe_wdl_fen("8/8/8/8/4k3/8/1Q6/K7 b - - 0 1"), TB_LOSS);
    // The same material with colours exchanged reads the one KQvK file.
    EXPECT_EQ(probe_wdl_fen("k7/1q6/8/4K3/8/8/8/8 b - - 0 1"), TB_WIN);
    EXPECT_EQ(probe_wdl_fen("k7/1q6/8/4K3/8/8/8/8 w - - 0 1"), TB_LOSS);
    EXPECT_EQ(probe_wdl_fen("8/8/8/8/4k3/8/1B6/K7 w - - 0 1"), TB_DRAW);
    // Black to move takes the hanging queen: a draw, found by the capture.
    EXPECT_EQ(probe_wdl_fen("7K/8/8/8/8/8/1Qk5/8 b - - 0 1"), TB_DRAW);
    // Six pieces are not in the tables.
    EXPECT_EQ(probe_wdl_fen("8/8/8/8/4k3/2p5/1QP5/KR6 w - - 0 1"), TB_RESULT_FAILED);
    // Nor is an illegal position (the side not to move in check).
    EXPECT_EQ(probe_wdl_fen("8/8/8/8/8/8/1Q6/k1K5 w - - 0 1"), TB_RESULT_FAILED);
}

// The longest published wins, probed from their own positions.
TEST(TablebaseReader, LongestWinsHaveTheirDistance) {
    test::load_embedded_tables();
    struct Case {
        const char* fen;
        int dtz;
    } cases[] = {
        {"8/8/8/8/4k3/8/1Q6/K7 b - - 0 1", -20},    {"8/8/8/8/8/8/2Rk4/1K6 b - - 0 1", -32},
        {"8/8/8/6B1/8/8/4k3/1K5N b - - 0 1", -66},  {"8/8/2k5/1r6/8/8/8/2KQ4 b - - 0 1", -62},
        {"8/8/7k/8/7K/1P6/8/8 b - - 0 1", -20},     {"8/7k/1p6/1P6/7K/8/8/8 w - - 0 1", 21},
        {"3Q4/3K4/8/8/3k4/8/3p4/8 b - - 0 1", -53}, {"8/8/8/8/8/8/8/qk1K2Q1 w - - 0 1", 19},
        {"5R2/8/8/8/8/k7/8/2K3n1 b - - 0 1", -54},  {"7K/8/p7/8/k7/7R/8/8 w - - 0 1", 25},
        {"8/8/8/8/5R2/3k4/2p2K2/8 w - - 0 1", -20}, {"8/1P6/Pk6/8/8/8/8/K7 b - - 0 1", -15},
    };
    for (const Case& c : cases) {
        int success = 0;
        EXPECT_EQ(probe_dtz_fen(c.fen, &success), c.dtz) << c.fen;
        EXPECT_NE(success, 0) << c.fen;
    }
}

TEST(TablebaseReader, RootRanksByDistance) {
    test::load_embedded_tables();
    // KQvK: the move must keep the win and its distance is the position's.
    const char* kqk = "8/8/8/8/4k3/8/1Q6/K7 w - - 0 1";
    int success = 0;
    int dtz = probe_dtz_fen(kqk, &success);
    ASSERT_GT(dtz, 1);
    unsigned r = probe_root_fen(kqk);
    ASSERT_NE(r, TB_RESULT_FAILED);
    EXPECT_EQ(tb_result_wdl(r), TB_WIN);
    EXPECT_EQ(tb_result_dtz(r), static_cast<unsigned>(dtz));
    // Mate and stalemate are reported as such.
    EXPECT_EQ(probe_root_fen("8/8/8/8/8/8/1Q6/k1K5 b - - 0 1"), TB_RESULT_CHECKMATE);
    EXPECT_EQ(probe_root_fen("k7/2Q5/1K6/8/8/8/8/8 b - - 0 1"), TB_RESULT_STALEMATE);
    // The half-move clock spoils a win that needs more than the rest of the
    // fifty moves.
    EXPECT_EQ(tb_result_wdl(probe_root_fen("8/8/8/8/4k3/8/1Q6/K7 w - - 99 1")), TB_CURSED_WIN);
    // Among drawing moves the choice does not change from probe to probe.
    const unsigned draw = probe_root_fen("r7/8/3k4/8/8/3K4/8/7R w - - 0 1");
    EXPECT_EQ(tb_result_wdl(draw), TB_DRAW);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(probe_root_fen("r7/8/3k4/8/8/3K4/8/7R w - - 0 1"), draw);
}

class TablebaseFiles : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(dir_);
        for (const char* name : {"KQvK.rtbw", "KQvK.rtbz", "KRvK.rtbw", "KRvK.rtbz"})
            std::filesystem::copy_file(std::filesystem::path(test::shared_table_dir()) / name, dir_ / name);
    }
    void TearDown() override {
        std::filesystem::remove_all(scratch_.path() / "files");
        tb_init("");
    }
    void overwrite(const char* name, std::size_t offset, const std::string& bytes) {
        std::fstream f(dir_ / name, std::ios::in | std::ios::out | std::ios::binary);
        f.seekp(static_cast<std::streamoff>(offset));
        f.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    test::ScratchTmpdir scratch_;
    std::filesystem::path dir_ = scratch_.path() / "files";
};

// Only the damaged file's own table is lost, and the reason is given.
TEST_F(TablebaseFiles, DamagedFilesAreReportedAndLeftOut) {
    const struct {
        std::function<void()> damage;
        std::string err, out;
    } cases[] = {
        {[&] { std::filesystem::resize_file(dir_ / "KRvK.rtbw", 100); }, "Incomplete tablebase file KRvK..rtbw\n",
         "info string Incomplete tablebase file KRvK..rtbw\n"},
        {[&] { overwrite("KRvK.rtbw", 4, "ABCD"); },
         "info string Table KRvK.rtbw ignoree : format d'un autre programme\n", ""},
        {[&] { overwrite("KRvK.rtbw", 0, "\x01\x02\x03\x04"); },
         "info string Table KRvK.rtbw endommagee (en-tete invalide), ignoree\n", ""},
    };
    for (const auto& c : cases) {
        std::filesystem::copy_file(std::filesystem::path(test::shared_table_dir()) / "KRvK.rtbw", dir_ / "KRvK.rtbw",
                                   std::filesystem::copy_options::overwrite_existing);
        c.damage();
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        tb_init(dir_.c_str());
        const unsigned rook = probe_wdl_fen("8/8/8/8/4k3/8/1R6/K7 w - - 0 1");
        const unsigned queen = probe_wdl_fen("8/8/8/8/4k3/8/1Q6/K7 w - - 0 1");
        const std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), c.err);
        EXPECT_EQ(out, c.out);
        EXPECT_EQ(TB_LARGEST, 3u);
        EXPECT_EQ(rook, TB_RESULT_FAILED);
        EXPECT_EQ(queen, TB_WIN);
    }
}

}  // namespace
}  // namespace morvane
