#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>
#include <vector>

#include "sts/report_lock.h"
#include "sts/report_rows.h"
#include "sts/sts_runner.h"
#include "support/capture.h"
#include "support/files.h"

using namespace morvane;
using test::read_file;

namespace {

// Times vary from run to run; everything else must match to the letter.
// They stand in "temps=<ms>ms" in the text report, and three CSV fields
// before the "oui"/"non" column.
std::string without_times(const std::string& text) {
    static const std::regex textTime("temps=\\d+ms"), csvTime(",\\d+(,[^,\\n]*,[^,\\n]*,(oui|non),)");
    return std::regex_replace(std::regex_replace(text, textTime, "temps=Tms"), csvTime, ",T$1");
}

std::string score_total(const std::string& report) {
    const auto at = report.find("Score total");
    return at == std::string::npos ? "" : report.substr(at, report.find('\n', at) - at);
}

const char* threeMates =
    "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd8#; id \"a\";\n"
    "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd7; id \"b\";\n"
    "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd8#; id \"c\";\n";

class StsRunnerTest : public ::testing::Test {
protected:
    test::ScratchDir scratch;
    std::string dir = scratch / "";
    std::string write_suite(const std::string& text) {
        std::ofstream(dir + "suite.epd") << text;
        return dir + "suite.epd";
    }
};

}  // namespace

TEST_F(StsRunnerTest, ReportsEveryKindOfAnswer) {
    const std::string suite = write_suite(
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd8#; id \"first bm\";\n"
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd7 Rd8#; id \"second bm\";\n"
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd7; c0 \"Rd7=10, Rd8=6\"; id \"c0\";\n"
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Zz9; id \"unknown\";\n"
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd8;\n");
    test::CapturedStreams io;
    run_sts_suite(suite, 2, 0, dir + "r", false);
    EXPECT_EQ(without_times(read_file(dir + "r.txt")),
              "=== Rapport de suite de tests (style STS) ===\n"
              "Fichier source : " +
                  suite +
                  "\n"
                  "Profondeur fixe : 2\n"
                  "(eval en centipawns, point de vue du camp au trait dans CHAQUE position -- pas toujours Blancs)\n"
                  "--- Detail par position (ecrit au fur et a mesure, voir historique) ---\n"
                  "first bm : attendu=[Rd8#] joue=Rd8# (d1d8) eval=29999cp score=10/10 profondeur=1 nodes=39 temps=Tms "
                  " resolues=1/1\n"
                  "second bm : attendu=[Rd7 / Rd8#] joue=Rd8# (d1d8) eval=29999cp score=10/10 profondeur=1 nodes=39 "
                  "temps=Tms  [coup attendu : rang=2, eval=569cp]  resolues=2/2\n"
                  "c0 : attendu=[Rd7] joue=Rd8# (d1d8) eval=29999cp score=6/10 profondeur=1 nodes=39 temps=Tms  [coup "
                  "attendu : rang=2, eval=569cp]  resolues=2/3\n"
                  "unknown : attendu=[Zz9] joue=Rd8# (d1d8) eval=29999cp score=0/10 profondeur=1 nodes=39 temps=Tms  "
                  "[ATTENTION: bm non reconnu]  resolues=2/4\n"
                  "ligne 5 : attendu=[Rd8] joue=Rd8# (d1d8) eval=29999cp score=10/10 profondeur=1 nodes=39 temps=Tms  "
                  "resolues=3/5\n"
                  "\n=== Resultat ===\nPositions au total : 5\nScore total : 36 / 50 (72%)\n"
                  "ATTENTION : 1 position(s) (ce lancement) avec un\n"
                  "coup attendu (bm) non reconnu -- voir les lignes marquees ci-dessus.\n");
    EXPECT_EQ(without_times(read_file(dir + "r.csv")),
              "id,attendu,joue_san,joue_uci,eval_cp,score,score_max,profondeur,nodes,temps_ms,rang_coup_attendu,"
              "eval_coup_attendu_cp,bm_non_reconnu,resolues_jusqu_ici,analysees_jusqu_ici\n"
              "\"first bm\",\"Rd8#\",\"Rd8#\",d1d8,29999,10,10,1,39,T,,,non,1,1\n"
              "\"second bm\",\"Rd7 / Rd8#\",\"Rd8#\",d1d8,29999,10,10,1,39,T,2,569,non,2,2\n"
              "\"c0\",\"Rd7\",\"Rd8#\",d1d8,29999,6,10,1,39,T,2,569,non,2,3\n"
              "\"unknown\",\"Zz9\",\"Rd8#\",d1d8,29999,0,10,1,39,T,,,oui,2,4\n"
              "\"ligne 5\",\"Rd8\",\"Rd8#\",d1d8,29999,10,10,1,39,T,,,non,3,5\n");
    EXPECT_NE(io.err().find("=== Score final : 36 / 50 (72%) ==="), std::string::npos);
}

TEST_F(StsRunnerTest, KilledRunResumesToTheSameTotals) {
    const std::string suite = write_suite(
        "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - bm O-O; id \"p0\";\n"
        "rnbqkb1r/pp2pppp/3p1n2/8/3NP3/8/PPP2PPP/RNBQKB1R w KQkq - bm O-O; id \"p1\";\n"
        "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N1PN2/PP3PPP/R2QKB1R w KQ - bm O-O; id \"p2\";\n"
        "r2q1rk1/pp1nbppp/2p1pn2/3p4/2PP1B2/2N1PN2/PPQ2PPP/R3KB1R w KQ - bm O-O; id \"p3\";\n"
        "2rq1rk1/pb2bppp/1pn1pn2/3p4/2PP4/1PN1PN2/PB2BPPP/2RQ1RK1 w - - bm O-O; id \"p4\";\n"
        "r1b2rk1/2q1bppp/p2ppn2/1p6/3BPP2/2N2B2/PPPQ2PP/R4R1K w - - bm O-O; id \"p5\";\n");
    test::CapturedStreams io;
    run_sts_suite(suite, 7, 0, dir + "full", false);

    const pid_t child = fork();
    if (child == 0) {
        run_sts_suite(suite, 7, 0, dir + "cut", false);
        _exit(0);
    }
    // Kill the run once two positions are on disk.
    for (int i = 0; i < 2000; ++i) {
        std::ifstream csv(dir + "cut.csv");
        int lines = 0;
        for (std::string l; std::getline(csv, l);) ++lines;
        if (lines >= 3) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::string before = read_file(dir + "cut.txt");
    ASSERT_EQ(before.find("=== Resultat ==="), std::string::npos) << "the run ended before it was killed";

    io.clear();
    run_sts_suite(suite, 7, 0, dir + "cut", true);
    const std::string after = read_file(dir + "cut.txt");
    EXPECT_EQ(after.substr(0, before.size()), before);  // nothing rewritten
    EXPECT_NE(after.find("--- Reprise (--continue), "), std::string::npos);
    EXPECT_EQ(score_total(after), score_total(read_file(dir + "full.txt")));
    // Finished positions were not searched again.
    EXPECT_EQ(io.err().find("[1/6] p0"), std::string::npos);
}

TEST_F(StsRunnerTest, UnplayableLinesAreScoredAsNotSolvedAndTheRunGoesOn) {
    const std::string suite = write_suite(
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd8#; id \"ok\";\n"
        "8/8/8/8/8/8/8/8 w - - bm Rd8; id \"empty\"; c0 \"Rd8=4\";\n"
        "6k1/5ppp/8/8/8/8/5PxP/3R2K1 w - - bm Rd8#; id \"bad piece\";\n"
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w K - bm Rd8#; id \"after\";\n");
    test::CapturedStreams io;
    EXPECT_NO_THROW(run_sts_suite(suite, 2, 0, dir + "x", false));
    const std::string txt = read_file(dir + "x.txt"), csv = read_file(dir + "x.csv");
    EXPECT_NE(txt.find("empty : attendu=[Rd8] joue=(aucun coup) (0000) eval=0cp score=0/4"), std::string::npos);
    EXPECT_NE(txt.find("[position injouable : il faut exactement un roi de chaque couleur]"), std::string::npos);
    EXPECT_NE(txt.find("[position injouable : FEN invalide: piece inconnue]"), std::string::npos);
    EXPECT_NE(csv.find("\"after\",\"Rd8#\",\"Rd8#\",d1d8,"), std::string::npos);  // the right dropped, then solved
    EXPECT_NE(txt.find("Score total : 20 / 34"), std::string::npos);
    EXPECT_NE(io.err().find("info string empty : position injouable, comptee non resolue: "), std::string::npos);
    EXPECT_NE(io.err().find("info string after : FEN corrigee: droits de roque"), std::string::npos);
    // Their report rows are sound ones for --continue.
    io.clear();
    EXPECT_TRUE(run_sts_suite(suite, 2, 0, dir + "x", true));
    EXPECT_NE(io.err().find("4 position(s) deja testee(s)"), std::string::npos);

    EXPECT_NO_THROW(run_sts_suite(write_suite("8/8/8/8/8/8/8/K6k w - -\n"), 2, 0, dir + "none", false));
    EXPECT_FALSE(std::filesystem::exists(dir + "none.txt"));
    EXPECT_NE(io.err().find("Aucune position valide chargee depuis "), std::string::npos);
}

// --continue trusts only rows this runner could have written: forged rows
// are reported and left out, and a row cut by a killed run is removed
// before the resumed run appends.
TEST_F(StsRunnerTest, ContinueTrustsOnlyWellFormedRows) {
    const std::string suite = write_suite(threeMates);
    test::CapturedStreams io;
    ASSERT_TRUE(run_sts_suite(suite, 2, 0, dir + "full", false));
    const std::string csv = read_file(dir + "full.csv");
    std::istringstream lines(csv);
    std::vector<std::string> rows;
    for (std::string row; std::getline(lines, row);) rows.push_back(row + "\n");
    ASSERT_EQ(rows.size(), 4u);
    // Row "a" stands; "b" is forged five ways; "c" was being written when
    // the run died.
    const std::string forged = rows[0] + rows[1] +
                               "\"b\",\"Rd7\",\"Rd8#\",d1d8,29999,999,10,1,39,0,,,non,2,2\n"
                               "\"b\",\"Rd7\",\"Rd8#\",d1d8,29999,-5,10,1,39,0,,,non,2,2\n"
                               "\"b\",\"Rd7\",\"Rd8#\",d1d8,29999,10,10,1,x39,0,,,non,2,2\n"
                               "\"b\",\"Rd7\",\"Rd8#\",d1d8,29999,10,10,1,39,0,,non,2,2\n"
                               "\"b,\"Rd7\",\"Rd8#\",d1d8,29999,10,10,1,39,0,,,non,2,2\n" +
                               rows[3].substr(0, 20);
    std::ofstream(dir + "cut.csv") << forged;
    std::ofstream(dir + "cut.txt") << "earlier text report\n";
    io.clear();
    ASSERT_TRUE(run_sts_suite(suite, 2, 0, dir + "cut", true));
    const std::string err = io.err();
    const std::string path = dir + "cut.csv";
    for (const char* why :
         {"ligne 3 : score hors de 0..10", "ligne 4 : score hors de 0..10", "ligne 5 : champ 9 non numerique",
          "ligne 6 : 14 champs au lieu de 15", "ligne 7 : guillemet non ferme"})
        EXPECT_NE(err.find(path + " " + why + ", ignoree\n"), std::string::npos) << why;
    EXPECT_NE(err.find("5 ligne(s) ignoree(s) dans " + path + "\n"), std::string::npos);
    EXPECT_NE(err.find("Derniere ligne de " + path + " incomplete"), std::string::npos);
    EXPECT_NE(err.find("1 position(s) deja testee(s)"), std::string::npos);
    EXPECT_EQ(score_total(read_file(dir + "cut.txt")), score_total(read_file(dir + "full.txt")));
    // What was appended starts on a line of its own: every row of the file
    // is now sound, and the torn fragment is gone.
    const PreviousReport after = read_previous_report(read_file(path));
    EXPECT_FALSE(after.tornLastRow);
    EXPECT_EQ(after.rejected.size(), 5u);
    EXPECT_EQ(after.finished.size(), 3u);
}

// A second run on reports that another run holds stops before writing,
// and a run that cannot write leaves the existing reports untouched.
TEST_F(StsRunnerTest, HeldOrUnwritableReportsStopTheRunUntouched) {
    const std::string suite = write_suite(threeMates);
    std::ofstream(dir + "x.txt") << "earlier text\n";
    std::ofstream(dir + "x.csv") << "earlier csv\n";
    test::CapturedStreams io;
    {
        LockedReport other;
        ASSERT_EQ(other.open(dir + "x.csv"), "");
        EXPECT_FALSE(run_sts_suite(suite, 2, 0, dir + "x", false));
        EXPECT_NE(io.err().find(dir + "x.csv deja utilise par un autre lancement -- arret."), std::string::npos);
    }
    EXPECT_EQ(read_file(dir + "x.txt"), "earlier text\n");
    EXPECT_EQ(read_file(dir + "x.csv"), "earlier csv\n");

    std::filesystem::remove(dir + "x.csv");
    std::filesystem::create_directory(dir + "x.csv");
    io.clear();
    EXPECT_FALSE(run_sts_suite(suite, 2, 0, dir + "x", false));
    EXPECT_NE(io.err().find("Impossible d'ecrire les rapports ("), std::string::npos);
    EXPECT_EQ(read_file(dir + "x.txt"), "earlier text\n");

    // Once released, the reports are free again.
    std::filesystem::remove(dir + "x.csv");
    EXPECT_TRUE(run_sts_suite(suite, 2, 0, dir + "x", false));
}

// The batch program tells a calling script that it did nothing useful, and
// refuses a depth or time it cannot hold rather than wrap it.
TEST_F(StsRunnerTest, FailedBatchRunsExitWithNonZeroStatus) {
    const std::string good = write_suite(threeMates), out = " --output " + dir + "r";
    std::ofstream(dir + "empty.epd") << "";
    std::filesystem::create_directory(dir + "folder.epd");
    auto status_of = [&](const std::string& args) {
        return WEXITSTATUS(std::system((std::string(MORVANE_EXE) + " --sts " + args + " 2>/dev/null").c_str()));
    };
    for (const std::string& args :
         {dir + "missing.epd --depth 1" + out, dir + "empty.epd --depth 1" + out, dir + "folder.epd --depth 1" + out,
          good + " --depth 1 --output " + dir + "no/such/dir/r", good + out, good + " --depth 2147483648" + out,
          good + " --depth 4294967297" + out, good + " --depth -9999999999" + out,
          good + " --movetime 9223372036854775807" + out})
        EXPECT_EQ(status_of(args), 1) << args;
    EXPECT_EQ(status_of(good + " --depth 1" + out), 0);
}
