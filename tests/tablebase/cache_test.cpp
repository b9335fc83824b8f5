#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <vector>

#include "support/files.h"
#include "tb_support.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;

std::string extract_capturing(std::string& err, int* dirFd = nullptr) {
    testing::internal::CaptureStderr();
    std::string dir = extract_embedded_to_cache(dirFd);
    err = testing::internal::GetCapturedStderr();
    return dir;
}

using test::read_file;

bool cache_matches_embedded(const fs::path& dir) {
    bool same = true;
    test::for_each_embedded([&](const auto& f) {
        same = same && read_file(dir / f.name) == std::string(reinterpret_cast<const char*>(f.data), f.size);
    });
    return same;
}

TEST(TablebaseCache, FreshCacheThenRepairOfTruncatedAndAlteredFiles) {
    test::ScratchTmpdir tmp;
    std::string err;
    std::string dir = extract_capturing(err);
    EXPECT_EQ(fs::path(dir), tmp.cache());
    EXPECT_EQ(err,
              "info string Syzygy (repli embarque) : 70 fichier(s) extrait(s), 0 deja en cache, dossier=" + dir + "\n");
    EXPECT_TRUE(cache_matches_embedded(dir));
    EXPECT_EQ(fs::status(dir).permissions() & fs::perms::all, fs::perms::owner_all);
    // The tables ride inside the executable, within the 12 MB it can spare.
    std::uint64_t total = 0;
    test::for_each_embedded([&](const auto& f) { total += f.size; });
    EXPECT_LE(total, 12u * 1024 * 1024);

    extract_capturing(err);
    EXPECT_NE(err.find(": 0 fichier(s) extrait(s), 70 deja en cache, dossier="), std::string::npos);

    fs::resize_file(tmp.cache() / "KRvKP.rtbz", 0);
    // Same size, four bytes changed: found by content and replaced.
    std::string altered = read_file(tmp.cache() / "KQvK.rtbw");
    altered.replace(100, 4, "\x01\x02\x03\x04");
    std::ofstream(tmp.cache() / "KQvK.rtbw", std::ios::binary) << altered;
    extract_capturing(err);
    EXPECT_NE(err.find(": 2 fichier(s) extrait(s), 68 deja en cache, dossier="), std::string::npos);
    EXPECT_TRUE(cache_matches_embedded(dir));
    // No temporary file is left behind.
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 70);
}

// A file, a link or another user's directory planted in the cache or in its
// place must never lead the engine to write anywhere else.
TEST(TablebaseCache, PlantedFilesLinksAndForeignDirectoriesAreNeverWrittenThrough) {
    test::ScratchTmpdir tmp;
    std::ofstream(tmp.cache()) << "a file where the directory should be";
    std::string err;
    EXPECT_EQ(extract_capturing(err), "");
    EXPECT_NE(err.find("refuse (pas un dossier), tables embarquees indisponibles\n"), std::string::npos);
    fs::remove(tmp.cache());

    const fs::path victim = tmp.path() / "victim";
    fs::create_directory(victim);
    std::ofstream(victim / "precious.txt") << "keep me";

    fs::create_directory_symlink(victim, tmp.cache());
    EXPECT_EQ(extract_capturing(err), "");
    EXPECT_EQ(err, "info string Syzygy (repli embarque) : dossier de cache " + tmp.cache().string() +
                       " refuse (lien symbolique), tables embarquees indisponibles\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(victim), fs::directory_iterator()), 1);

    fs::remove(tmp.cache());
    extract_capturing(err);
    fs::remove(tmp.cache() / "KBvK.rtbw");
    fs::create_symlink(victim / "precious.txt", tmp.cache() / "KBvK.rtbw");
    extract_capturing(err);
    EXPECT_NE(err.find(": 1 fichier(s) extrait(s), 69 deja en cache, dossier="), std::string::npos);
    EXPECT_EQ(read_file(victim / "precious.txt"), "keep me");
    EXPECT_FALSE(fs::is_symlink(tmp.cache() / "KBvK.rtbw"));
    EXPECT_TRUE(cache_matches_embedded(tmp.cache()));

    // Another user's directory under our cache name: refused, nothing written.
    struct stat st {};
    st.st_mode = S_IFDIR | 0700;
    st.st_uid = 1000;
    EXPECT_EQ(cache_dir_problem(st, 1000), nullptr);
    EXPECT_STREQ(cache_dir_problem(st, 1001), "appartient a un autre utilisateur");
    // Only the superuser can hand a real directory to someone else.
    if (geteuid() != 0) return;
    fs::remove_all(tmp.cache());
    fs::create_directory(tmp.cache());
    ASSERT_EQ(chown(tmp.cache().c_str(), 12345, 12345), 0);
    EXPECT_EQ(extract_capturing(err), "");
    EXPECT_NE(err.find("refuse (appartient a un autre utilisateur)"), std::string::npos);
    EXPECT_TRUE(fs::is_empty(tmp.cache()));
}

// A directory renamed in its place afterwards, a link planted in it, or (as
// the superuser can make one) a file of another user are refused.
TEST(TablebaseCache, ReaderOpensTablesOnlyThroughTheCheckedDirectory) {
    test::ScratchTmpdir tmp;
    const std::string kqk = "8/8/8/8/4k3/8/1Q6/K7 w - - 0 1", krk = "8/8/8/8/4k3/8/1R6/K7 w - - 0 1";
    std::string err;
    int dirFd = -1;
    const std::string dir = extract_capturing(err, &dirFd);
    ASSERT_EQ(dir, tmp.cache().string());
    ASSERT_GE(dirFd, 0);

    // A third user swaps in a directory of their own, full of broken tables.
    const fs::path checked = tmp.path() / "checked-then-moved";
    fs::rename(dir, checked);
    fs::create_directory(dir);
    test::for_each_embedded([&](const auto& f) { std::ofstream(fs::path(dir) / f.name) << std::string(16, 'x'); });
    testing::internal::CaptureStderr();
    EXPECT_TRUE(tb_init_private_dir(dirFd, dir.c_str()));
    EXPECT_EQ(TB_LARGEST, 4u);
    EXPECT_EQ(test::probe_wdl_fen(kqk), TB_WIN);
    EXPECT_EQ(test::probe_wdl_fen(krk), TB_WIN);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    // Inside the checked directory, a link to a sound copy of a table.
    fs::copy_file(checked / "KQvK.rtbw", tmp.path() / "elsewhere.rtbw");
    fs::remove(checked / "KQvK.rtbw");
    fs::create_symlink(tmp.path() / "elsewhere.rtbw", checked / "KQvK.rtbw");
    const bool root = geteuid() == 0;
    if (root) {
        ASSERT_EQ(chown((checked / "KRvK.rtbw").c_str(), 12345, 12345), 0);
    }
    tb_init_private_dir(::open(checked.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), dir.c_str());
    EXPECT_EQ(test::probe_wdl_fen(kqk), TB_RESULT_FAILED);
    EXPECT_EQ(test::probe_wdl_fen(krk), root ? TB_RESULT_FAILED : TB_WIN);
    EXPECT_EQ(test::probe_wdl_fen("8/8/8/8/4k3/8/1P6/K7 w - - 0 1"), TB_WIN);  // the rest still serves
    tb_init("");
}

// Engines started together on an empty cache: each one, once its own
// extraction is done, must find every file complete.
TEST(TablebaseCache, ConcurrentStartsAllSeeCompleteFiles) {
    test::ScratchTmpdir tmp;
    for (int round = 0; round < 2; ++round) {
        fs::remove_all(tmp.cache());
        int gate[2];
        ASSERT_EQ(pipe(gate), 0);
        std::vector<pid_t> children;
        for (int i = 0; i < 8; ++i) {
            pid_t pid = fork();
            if (pid == 0) {
                close(gate[1]);
                for (char c; read(gate[0], &c, 1) > 0;) continue;  // until the gate closes
                std::string err;
                const std::string dir = extract_capturing(err);
                bool ok = !dir.empty() && err.find("ECHEC") == std::string::npos && cache_matches_embedded(dir) &&
                          tb_init(dir.c_str()) && TB_LARGEST == 4 &&
                          test::probe_wdl_fen("8/8/8/8/4k3/8/1Q6/K7 w - - 0 1") == TB_WIN;
                _exit(ok ? 0 : 1);
            }
            children.push_back(pid);
        }
        close(gate[0]);
        close(gate[1]);  // all children start at once
        for (pid_t pid : children) {
            int status = -1;
            waitpid(pid, &status, 0);
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "round " << round;
        }
    }
}

TEST(TablebaseCache, WriteFailuresAreCountedAndACompleteReadOnlyCacheNeedsNone) {
    test::ScratchTmpdir tmp;
    std::string err;
    extract_capturing(err);
    if (geteuid() != 0) {  // permissions do not bind the superuser
        fs::permissions(tmp.cache(), fs::perms::owner_read | fs::perms::owner_exec);
        extract_capturing(err);
        EXPECT_EQ(err.find("ECHEC"), std::string::npos);
        fs::permissions(tmp.cache(), fs::perms::owner_all);
    }
    // A directory where a file should be cannot be opened for writing.
    fs::remove(tmp.cache() / "KQvK.rtbz");
    fs::create_directory(tmp.cache() / "KQvK.rtbz");
    extract_capturing(err);
    EXPECT_NE(err.find(": 0 fichier(s) extrait(s), 69 deja en cache, 1 ECHEC(s) d'ecriture, dossier="),
              std::string::npos);
}

}  // namespace
}  // namespace morvane
