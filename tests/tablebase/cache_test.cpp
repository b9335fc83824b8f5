#include <gtest/gtest.h>

#include <fstream>
#include <unistd.h>

#include "tablebase/embedded.h"
#include "tb_support.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;

std::string extract_capturing(std::string& err) {
    testing::internal::CaptureStderr();
    std::string dir = extract_embedded_to_cache();
    err = testing::internal::GetCapturedStderr();
    return dir;
}

TEST(TablebaseCache, EmbeddedFilesAreWellFormed) {
    std::uint64_t total = 0;
    for (const auto* group : {syzygy_embedded::files_3, syzygy_embedded::files_4}) {
        int count = group == syzygy_embedded::files_3 ? 10 : 60;
        for (int i = 0; i < count; ++i) {
            const auto& f = group[i];
            std::string name = f.name;
            bool wdl = name.ends_with(".rtbw");
            EXPECT_EQ(f.size % 64, 16u) << name;
            EXPECT_EQ(f.data[0], wdl ? 0x71 : 0xD7) << name;
            EXPECT_EQ(f.data[3], wdl ? 0x5D : 0xA5) << name;
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(f.data) + 4, 4), "MRVN") << name;
            if (i % 2 == 1) {
                EXPECT_EQ(name.substr(0, name.size() - 5) + ".rtbw", group[i - 1].name);
            }
            if (i >= 2 && i % 2 == 0) {
                EXPECT_LT(std::string(group[i - 2].name), name);
            }
            total += f.size;
        }
    }
    EXPECT_LE(total, 12u * 1024 * 1024);
    EXPECT_EQ(syzygy_embedded::KQvK_rtbw, syzygy_embedded::files_3[6].data);
}

TEST(TablebaseCache, FreshCacheThenRepairByRewritingTruncatedFile) {
    test::ScratchTmpdir tmp;
    std::string err;
    std::string dir = extract_capturing(err);
    EXPECT_EQ(fs::path(dir), tmp.cache());
    EXPECT_EQ(err, "info string Syzygy (repli embarque) : 70 fichier(s) extrait(s), 0 deja en cache, dossier=" + dir + "\n");
    for (const auto& f : syzygy_embedded::files_4) EXPECT_EQ(fs::file_size(tmp.cache() / f.name), f.size);

    extract_capturing(err);
    EXPECT_NE(err.find(": 0 fichier(s) extrait(s), 70 deja en cache, dossier="), std::string::npos);

    fs::resize_file(tmp.cache() / "KRvKP.rtbz", 0);
    // Same size, other content: trusted and kept.
    std::string foreign(syzygy_embedded::files_3[0].size, 'x');
    std::ofstream(tmp.cache() / "KBvK.rtbw", std::ios::binary) << foreign;
    extract_capturing(err);
    EXPECT_NE(err.find(": 1 fichier(s) extrait(s), 69 deja en cache, dossier="), std::string::npos);
    std::ifstream in(tmp.cache() / "KBvK.rtbw", std::ios::binary);
    std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(content, foreign);
    EXPECT_GT(fs::file_size(tmp.cache() / "KRvKP.rtbz"), 0u);
}

TEST(TablebaseCache, WriteFailuresAreCounted) {
    test::ScratchTmpdir tmp;
    std::string err;
    extract_capturing(err);
    // A directory where a file should be cannot be opened for writing.
    fs::remove(tmp.cache() / "KQvK.rtbz");
    fs::create_directory(tmp.cache() / "KQvK.rtbz");
    extract_capturing(err);
    EXPECT_NE(err.find(": 0 fichier(s) extrait(s), 69 deja en cache, 1 ECHEC(s) d'ecriture, dossier="),
              std::string::npos);
}

TEST(TablebaseCache, ReadOnlyCacheNeedsNoWrite) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind the superuser";
    test::ScratchTmpdir tmp;
    std::string err;
    extract_capturing(err);
    fs::permissions(tmp.cache(), fs::perms::owner_read | fs::perms::owner_exec);
    extract_capturing(err);
    EXPECT_EQ(err.find("ECHEC"), std::string::npos);
    fs::permissions(tmp.cache(), fs::perms::owner_all);
    fs::remove(tmp.cache() / "KNvK.rtbz");
    fs::permissions(tmp.cache(), fs::perms::owner_read | fs::perms::owner_exec);
    extract_capturing(err);
    EXPECT_NE(err.find(", 1 ECHEC(s) d'ecriture"), std::string::npos);
}

TEST(TablebaseCache, UncreatableCacheGivesNoDirectory) {
    test::ScratchTmpdir tmp;
    std::ofstream(tmp.cache()) << "a file where the directory should be";
    std::string err;
    EXPECT_EQ(extract_capturing(err), "");
    EXPECT_EQ(err, "");
}

}  // namespace
}  // namespace morvane
