// Whatever the damage, a probe must stay inside the mapped file (the
// sanitizer build stops at the first stray read) and answer a real result or
// a failure. MORVANE_FUZZ_ROUNDS raises the number of damaged files.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <random>

#include "support/files.h"
#include "tb_support.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;

unsigned u16_at(const std::string& b, std::size_t at) {
    return at + 1 < b.size() ? unsigned(std::uint8_t(b[at])) | unsigned(std::uint8_t(b[at + 1])) << 8 : 0;
}
std::size_t u32_at(const std::string& b, std::size_t at) {
    return u16_at(b, at) | std::size_t(u16_at(b, at + 2)) << 16;
}

void put_u32(std::string& b, std::size_t at, std::uint32_t v) {
    for (int i = 0; i < 4 && at + i < b.size(); ++i) b[at + i] = static_cast<char>(v >> (8 * i));
}

// One kind of damage, chosen at random.
std::string damaged(std::string b, std::mt19937_64& rng) {
    auto pick = [&](std::size_t n) { return n ? static_cast<std::size_t>(rng() % n) : 0; };
    // Where the first stored part keeps its fields, as far as the file
    // still describes them.
    const std::size_t blocks = u32_at(b, 24) ? u32_at(b, 24) : u32_at(b, 28), valueCode = blocks + 4;
    const std::size_t runCode = valueCode + 2 + 3 * u16_at(b, valueCode);
    const std::size_t offsets = runCode + 2 + 3 * u16_at(b, runCode);
    switch (rng() % 6) {
        case 0:  // a few bit flips anywhere, header included
            for (int i = 1 + static_cast<int>(rng() % 8); i > 0; --i) b[pick(b.size())] ^= char(1 << (rng() % 8));
            break;
        case 1:  // cut short, keeping a length the directory scan accepts
            b.resize(std::min(b.size(), 64 * pick(b.size() / 64 + 1) + 16));
            break;
        case 2: {  // a made-up symbol or code length in one of the two codes
            const std::size_t code = rng() & 1 ? valueCode : runCode;
            const std::size_t triple = code + 2 + 3 * pick(std::max(1u, u16_at(b, code)));
            if (triple + 2 >= b.size()) break;
            if (rng() & 1) {
                const unsigned symbol = static_cast<unsigned>(rng() % 4096);
                b[triple] = static_cast<char>(symbol);
                b[triple + 1] = static_cast<char>(symbol >> 8);
            } else {
                b[triple + 2] = static_cast<char>(rng() % 16);
            }
            break;
        }
        case 3:  // a block count from nothing to everything
            put_u32(
                b, blocks,
                rng() & 1 ? 0xFFFFFFFFu - static_cast<std::uint32_t>(rng() % 4) : static_cast<std::uint32_t>(rng()));
            break;
        case 4:  // block offsets pointing anywhere in the stream or beyond
            for (int i = 0; i < 4; ++i)
                put_u32(b, offsets + 4 * pick(u32_at(b, blocks) + 1), static_cast<std::uint32_t>(rng()));
            break;
        default:  // the bit stream overwritten with noise
            for (std::size_t i = offsets + pick(b.size()); i < b.size() && i < offsets + 4096; ++i)
                b[i] = static_cast<char>(rng());
            break;
    }
    return b;
}

TEST(TablebaseFuzz, DamagedFilesNeverLeadOutsideTheFile) {
    test::ScratchTmpdir scratch;
    const fs::path dir = scratch.path() / "fuzz";
    fs::create_directories(dir);
    // Tables with and without pawns, and those their captures and
    // promotions lead to, so that the probes reach every decoding path.
    const char* tables[] = {"KPvK", "KRvK", "KQvK", "KBvK", "KNvK", "KPvKP", "KRvKP", "KQvKR"};
    for (const char* table : tables)
        for (const char* suffix : {".rtbw", ".rtbz"}) {
            const std::string name = std::string(table) + suffix;
            fs::copy_file(fs::path(test::shared_table_dir()) / name, dir / name);
        }

    const char* rounds = std::getenv("MORVANE_FUZZ_ROUNDS");
    const int damagedFiles = rounds ? std::atoi(rounds) : 300;
    std::mt19937_64 rng(19);
    int answered = 0, failed = 0;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (int round = 0; round < damagedFiles; ++round) {
        const std::string table = tables[rng() % 3 == 0 ? 5 + rng() % 3 : rng() % 2 ? 0 : 1];
        const fs::path file = dir / (table + (rng() & 1 ? ".rtbw" : ".rtbz"));
        const std::string pristine = test::read_file(file);
        std::ofstream(file, std::ios::binary) << damaged(pristine, rng);
        tb_init(dir.c_str());
        for (int probe = 0; probe < 12; ++probe) {
            Board board;
            if (!test::random_position(table, rng, board)) continue;
            const unsigned wdl = test::probe_wdl(board), root = test::probe_root_fen(board.fen());
            // A damaged file may give a wrong answer, never an impossible one.
            EXPECT_TRUE(wdl == TB_RESULT_FAILED || wdl <= TB_WIN) << wdl;
            EXPECT_TRUE(root == TB_RESULT_FAILED || tb_result_wdl(root) <= TB_WIN) << root;
            wdl == TB_RESULT_FAILED ? ++failed : ++answered;
        }
        std::ofstream(file, std::ios::binary) << pristine;
    }
    const std::string err = testing::internal::GetCapturedStderr();
    testing::internal::GetCapturedStdout();
    // The damage was seen: some probes failed and some files were reported.
    EXPECT_GT(failed, 0);
    EXPECT_GT(answered, 0);
    EXPECT_NE(err.find("endommage"), std::string::npos);
    std::cout << damagedFiles << " damaged files, " << answered + failed << " probes (" << failed << " failed)\n";

    // Restored files answer again.
    tb_init(dir.c_str());
    EXPECT_EQ(test::probe_wdl_fen("8/8/8/8/4k3/8/1Q6/K7 w - - 0 1"), TB_WIN);
    EXPECT_EQ(test::probe_wdl_fen("8/8/8/8/4k3/8/1R6/K7 w - - 0 1"), TB_WIN);
    tb_init("");
}

}  // namespace
}  // namespace morvane
