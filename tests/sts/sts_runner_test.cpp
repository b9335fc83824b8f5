#include <gtest/gtest.h>

#include <signal.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <functional>
#include <sys/stat.h>
#include <tuple>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>
#include <vector>

#include "sts/position_run.h"
#include "sts/report_lock.h"
#include "sts/report_rows.h"
#include "sts/sts_runner.h"
#include "support/capture.h"
#include "support/files.h"

using namespace morvane;
using test::read_file;

namespace {

// Times vary from run to run ("temps=<ms>ms", and the CSV field three
// before "oui"/"non"); everything else must match to the letter.
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

// A few dozen positions of every kind: solved or not, partial credit, a
// move the file names wrongly, no id, and lines no search can play.
std::string mixed_suite() {
    const char* fens[] = {
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - -",
        "r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -",
        "rnbqkb1r/pp2pppp/3p1n2/8/3NP3/8/PPP2PPP/RNBQKB1R w KQkq -",
        "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N1PN2/PP3PPP/R2QKB1R w KQ -",
        "2rq1rk1/pb2bppp/1pn1pn2/3p4/2PP4/1PN1PN2/PB2BPPP/2RQ1RK1 b - -",
        "8/8/4k3/8/2K5/3P4/8/8 w - -",
    };
    std::string text;
    for (int i = 0; i < 30; ++i) {
        text += std::string(fens[i % 6]);
        switch (i % 5) {
        case 0: text += " bm Rd8#; id \"p" + std::to_string(i) + "\";\n"; break;
        case 1: text += " bm O-O Kd4; c0 \"O-O=10, Kd4=7, d4=3\"; id \"p" + std::to_string(i) + "\";\n"; break;
        case 2: text += " bm d4 Kb5 Rd7;\n"; break;  // no id: keyed by its line
        case 3: text += " bm Zz9; id \"p" + std::to_string(i) + "\";\n"; break;
        default: text += " bm a3 a6 Kc5; id \"p" + std::to_string(i) + "\";\n"; break;
        }
        if (i % 11 == 4) text += "8/8/8/8/8/8/8/8 w - - bm e4; id \"no king " + std::to_string(i) + "\";\n";
        if (i % 13 == 6) text += "6k1/5ppp/8/8/8/8/5PxP/3R2K1 w - - bm Rd8#; id \"bad " + std::to_string(i) + "\";\n";
    }
    return text;
}

// Standard error without the lines naming the reports or the speed.
std::string progress_of(const std::string& err) {
    std::istringstream lines(err);
    std::string kept;
    for (std::string line; std::getline(lines, line);)
        if (line.rfind("Rapport ", 0) != 0 && line.rfind("Cadence : ", 0) != 0) kept += line + "\n";
    return kept;
}

// Middlegames deep enough for a run to be caught part-way.
std::string castling_suite(int count) {
    const char* fens[] = {"r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq -",
                          "rnbqkb1r/pp2pppp/3p1n2/8/3NP3/8/PPP2PPP/RNBQKB1R w KQkq -",
                          "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N1PN2/PP3PPP/R2QKB1R w KQ -",
                          "r2q1rk1/pp1nbppp/2p1pn2/3p4/2PP1B2/2N1PN2/PPQ2PPP/R3KB1R w KQ -",
                          "2rq1rk1/pb2bppp/1pn1pn2/3p4/2PP4/1PN1PN2/PB2BPPP/2RQ1RK1 w - -",
                          "r1b2rk1/2q1bppp/p2ppn2/1p6/3BPP2/2N2B2/PPPQ2PP/R4R1K w - -"};
    std::string text;
    for (int i = 0; i < count; ++i) text += std::string(fens[i % 6]) + " bm O-O; id \"p" + std::to_string(i) + "\";\n";
    return text;
}

class StsRunnerTest : public ::testing::Test {
protected:
    test::ScratchDir scratch;
    std::string dir = scratch / "";
    std::string write_suite(const std::string& text) {
        std::ofstream(dir + "suite.epd") << text;
        return dir + "suite.epd";
    }

    // One process at depth 3: what every other way of running must give.
    StsRunOptions run;
    std::string oneTxt, oneCsv, oneErr;
    std::string run_mixed_suite_in_one_process() {
        const std::string suite = write_suite(mixed_suite());
        test::CapturedStreams io;
        run.depth = 3;
        run.outputBase = dir + "one";
        EXPECT_TRUE(run_sts_suite(suite, run));
        oneErr = io.err();
        oneTxt = without_times(read_file(dir + "one.txt"));
        oneCsv = without_times(read_file(dir + "one.csv"));
        return suite;
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
    const std::string suite = write_suite(castling_suite(6));
    test::CapturedStreams io;
    run_sts_suite(suite, 7, 0, dir + "full", false);

    const pid_t child = fork();
    if (child == 0) {
        run_sts_suite(suite, 7, 0, dir + "cut", false);
        _exit(0);
    }
    // Kill the run once two positions are on disk.
    for (int i = 0; i < 2000; ++i) {
        const std::string csv = read_file(dir + "cut.csv");
        if (std::count(csv.begin(), csv.end(), '\n') >= 3) break;
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

TEST_F(StsRunnerTest, ContinueTrustsOnlyWellFormedRows) {
    const std::string suite = write_suite(threeMates);
    test::CapturedStreams io;
    ASSERT_TRUE(run_sts_suite(suite, 2, 0, dir + "full", false));
    const std::string csv = read_file(dir + "full.csv");
    std::istringstream lines(csv);
    std::vector<std::string> rows;
    for (std::string row; std::getline(lines, row);) rows.push_back(row + "\n");
    ASSERT_EQ(rows.size(), 4u);
    // Row "a" stands; "b" is forged five ways; "c" was cut when the run died.
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
    // The torn fragment is gone and what was appended starts a line.
    const PreviousReport after = read_previous_report(read_file(path));
    EXPECT_FALSE(after.tornLastRow);
    EXPECT_EQ(after.rejected.size(), 5u);
    EXPECT_EQ(after.finished.size(), 3u);
}

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
        StsRunOptions workers;
        workers.depth = 2;
        workers.jobs = 3;
        workers.outputBase = dir + "x";
        EXPECT_FALSE(run_sts_suite(suite, workers));
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

// A calling script learns that nothing useful was done; a depth or time
// that cannot be held is refused rather than wrapped.
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
          good + " --movetime 9223372036854775807" + out, good + " --depth 1 --jobs 0" + out,
          good + " --depth 1 --jobs 257" + out, good + " --depth 1 --slice 0/2" + out,
          good + " --depth 1 --slice 3/2" + out, good + " --depth 1 --slice 2" + out,
          good + " --depth 1 --timeout -1" + out})
        EXPECT_EQ(status_of(args), 1) << args;
    EXPECT_EQ(status_of(good + " --depth 1" + out), 0);
    EXPECT_EQ(status_of(good + " --depth 1 --jobs 2 --slice 2/2 --timeout 60" + out), 0);
}

// Each position is searched from a fresh board and table, so splitting the
// suite between processes changes no byte of the reports or progress.
TEST_F(StsRunnerTest, JobsGiveTheReportsOfOneProcess) {
    const std::string suite = run_mixed_suite_in_one_process();
    ASSERT_NE(oneTxt.find("[position injouable : "), std::string::npos);
    ASSERT_NE(oneErr.find("Cadence : "), std::string::npos);

    test::CapturedStreams io;
    run.jobs = 3;
    run.outputBase = dir + "three";
    ASSERT_TRUE(run_sts_suite(suite, run));
    EXPECT_EQ(without_times(read_file(dir + "three.txt")), oneTxt);
    EXPECT_EQ(without_times(read_file(dir + "three.csv")), oneCsv);
    EXPECT_EQ(progress_of(io.err()), progress_of(oneErr));
    EXPECT_NE(io.err().find(" positions cherchees par minute, --jobs 3\n"), std::string::npos);

    // A run killed anywhere leaves a prefix of its CSV, perhaps with a row
    // cut short; continuing it with other --jobs completes the same CSV.
    const std::string fullCsv = read_file(dir + "one.csv");
    const std::size_t rowEnd = fullCsv.find('\n', fullCsv.size() / 2) + 1;
    for (const std::size_t cut : {rowEnd, rowEnd + 17, fullCsv.size() - 3}) {
        std::ofstream(dir + "cut.txt") << "text of the killed run\n";
        for (int jobs : {2, 1}) {
            std::ofstream(dir + "cut.csv", std::ios::binary) << fullCsv.substr(0, cut);
            run.jobs = jobs;
            run.resume = true;
            run.outputBase = dir + "cut";
            ASSERT_TRUE(run_sts_suite(suite, run));
            EXPECT_EQ(without_times(read_file(dir + "cut.csv")), oneCsv) << cut << " " << jobs;
            EXPECT_EQ(score_total(read_file(dir + "cut.txt")), score_total(oneTxt));
        }
    }
}

// Slices run apart (on other machines) and merged give the reports of one
// run; a position no part holds, or whose search failed, is searched then.
TEST_F(StsRunnerTest, MergedSlicesGiveTheReportsOfOneRun) {
    const std::string suite = run_mixed_suite_in_one_process();
    test::CapturedStreams io;
    run.sliceCount = 3;
    for (int k = 1; k <= 3; ++k) {
        run.sliceIndex = k;
        run.jobs = k;
        run.outputBase = dir + "part" + std::to_string(k);
        ASSERT_TRUE(run_sts_suite(suite, run));
        EXPECT_NE(read_file(run.outputBase + ".txt").find("Tranche : " + std::to_string(k) + "/3"), std::string::npos);
    }
    // Slice 2 holds positions 2, 5, 8...: its first row is the suite's second.
    EXPECT_NE(read_file(dir + "part2.csv").find("\n\"p1\","), std::string::npos);

    StsRunOptions join;
    join.depth = 3;
    join.outputBase = dir + "joined";
    join.mergeFrom = {dir + "part1.csv", dir + "part2.csv", dir + "part3.csv"};
    io.clear();
    ASSERT_TRUE(run_sts_suite(suite, join));
    EXPECT_EQ(without_times(read_file(dir + "joined.txt")), oneTxt);
    EXPECT_EQ(without_times(read_file(dir + "joined.csv")), oneCsv);
    EXPECT_NE(io.err().find("0.0 positions cherchees par minute"), std::string::npos);

    // The third slice lost, and a failed search in the first: both searched again.
    std::string part1 = read_file(dir + "part1.csv");
    const std::size_t row = part1.find("\n\"p3\",") + 1;
    const std::string failed = "\"p3\",\"Zz9\",\"(aucun coup)\",0000,0,0,10,0,0,0,,,non,0,1";
    part1.replace(row, part1.find('\n', row) - row, failed);
    std::ofstream(dir + "part1.csv") << part1;
    join.mergeFrom = {dir + "part1.csv", dir + "part2.csv"};
    join.jobs = 2;
    io.clear();
    ASSERT_TRUE(run_sts_suite(suite, join));
    EXPECT_EQ(without_times(read_file(dir + "joined.csv")), oneCsv);
    EXPECT_NE(io.err().find("] p3 : "), std::string::npos);

    // A part that cannot be read stops the merge before any report is cut.
    join.mergeFrom.push_back(dir + "missing.csv");
    const std::string before = read_file(dir + "joined.csv");
    EXPECT_FALSE(run_sts_suite(suite, join));
    EXPECT_NE(io.err().find("Rapport a fusionner " + dir + "missing.csv inexploitable"), std::string::npos);
    EXPECT_EQ(read_file(dir + "joined.csv"), before);
}

namespace {

auto fields_of(const StsOutcome& o) {
    return std::tie(o.id, o.expected, o.played_uci, o.played_san, o.eval_cp, o.score, o.score_max, o.nodes, o.time_ms,
                    o.depth, o.bm_unrecognised, o.expected_rank, o.expected_eval_cp, o.expected_known);
}

// Runs `body` in a child process as an ordinary user when the tests run as
// root, who may read a file whatever its mode; `owned` become that user's.
bool as_ordinary_user(const std::string& dir, const std::vector<std::string>& owned, const std::function<bool()>& body) {
    if (geteuid() != 0) return body();
    const uid_t nobody = 65534;
    chmod(dir.c_str(), 0777);
    for (const auto& path : owned)
        if (chown(path.c_str(), nobody, nobody) != 0) return false;
    const pid_t child = fork();
    if (child == 0) _exit(setgid(nobody) == 0 && setuid(nobody) == 0 && body() ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

// Quotes, commas, carriage returns and numbers at their limits read back as
// written, from the CSV and from a worker's pipe.
TEST(StsRows, EveryFieldSurvivesTheRoundTrip) {
    StsOutcome o{.id = "a\"b,c\r\"\" ,", .expected = "x\"\",y / \"", .played_uci = "e7e8q", .played_san = "\"",
                  .eval_cp = INT_MIN, .score = 3, .score_max = INT_MAX, .nodes = std::uint64_t{1} << 62, .time_ms = 123,
                  .depth = 0, .bm_unrecognised = true, .expected_rank = 0, .expected_eval_cp = INT_MAX,
                  .expected_known = true, .unplayable = std::string("12:3:\0:", 7), .notes = "info string 5:x\n"};
    for (bool known : {true, false}) {
        o.expected_known = known;
        if (!known) o.expected_rank = o.expected_eval_cp = 0;
        const std::string row = csv_row(o, 7, 9);
        ASSERT_EQ(std::count(row.begin(), row.end(), '\n'), 1) << row;
        StsOutcome back;
        EXPECT_EQ(csv_row_problem(row.substr(0, row.size() - 1), back), "") << row;
        EXPECT_EQ(fields_of(back), fields_of(o)) << row;
        StsOutcome wire;
        ASSERT_TRUE(decode_outcome(encode_outcome(o), wire));
        EXPECT_EQ(fields_of(wire), fields_of(o));
        EXPECT_EQ(wire.unplayable, o.unplayable);
        EXPECT_EQ(wire.notes, o.notes);
    }
    StsOutcome ignored;
    const std::string bytes = encode_outcome(o);
    EXPECT_FALSE(decode_outcome(bytes.substr(0, bytes.size() - 1), ignored));
    EXPECT_FALSE(decode_outcome(bytes + "1:", ignored));
}

// Hostile texts are reported as written and taken back by --continue;
// points beyond any sensible table are refused rather than wrapped.
TEST_F(StsRunnerTest, HostileSuiteTextsReadBack) {
    const std::string suite = write_suite(
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd8#\" a,b; id \"q,u\rote's \\ id\";"
        " c0 \"Rd8#=99999999999, Rd7=2147483648, Rd1=-4294967296, Rd8=7\";\n"
        "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm \"Rd8#\",x; id \"plain\";\n");
    test::CapturedStreams io;
    ASSERT_TRUE(run_sts_suite(suite, 2, 0, dir + "h", false));
    EXPECT_NE(io.err().find("Ligne 1 : points de c0 hors de -1000000..1000000 (Rd7=2147483648), element ignore"),
              std::string::npos);
    EXPECT_NE(io.err().find("(Rd1=-4294967296)"), std::string::npos);
    EXPECT_NE(read_file(dir + "h.txt").find("Score total : 7 / 17 (41.1765%)"), std::string::npos);
    const PreviousReport back = read_previous_report(read_file(dir + "h.csv"));
    EXPECT_TRUE(back.rejected.empty());
    ASSERT_EQ(back.finished.count("q,u\rote's \\ id"), 1u);
    EXPECT_EQ(back.finished.at("q,u\rote's \\ id").expected, "Rd8#\" / a,b");
    EXPECT_EQ(back.finished.at("plain").expected, "\"Rd8#\",x");

    io.clear();
    const std::string csvBefore = read_file(dir + "h.csv");
    ASSERT_TRUE(run_sts_suite(suite, 2, 0, dir + "h", true));
    EXPECT_NE(io.err().find("2 position(s) deja testee(s) trouvee(s)"), std::string::npos);
    EXPECT_EQ(read_file(dir + "h.csv"), csvBefore);  // nothing searched, nothing written twice
    EXPECT_NE(read_file(dir + "h.txt").find("Score total : 7 / 17 (41.1765%)"), std::string::npos);
}

TEST_F(StsRunnerTest, ContinueRefusesAReportItCannotTakeBack) {
    const std::string suite = write_suite(threeMates);
    const std::string txt = dir + "x.txt", csv = dir + "x.csv";
    auto refused = [&](const std::string& csvContent, const std::string& why, bool unreadable = false,
                       std::uintmax_t size = 0) {
        std::ofstream(txt) << "earlier text\n";
        std::ofstream(csv, std::ios::binary) << csvContent;
        if (size) std::filesystem::resize_file(csv, size);
        if (unreadable) chmod(csv.c_str(), 0200);
        const bool stopped = as_ordinary_user(dir, {txt, csv}, [&] {
            test::CapturedStreams io;
            return !run_sts_suite(suite, 2, 0, dir + "x", true) &&
                   io.err().find("Rapport precedent " + csv + " inexploitable (" + why) != std::string::npos;
        });
        EXPECT_TRUE(stopped) << why;
        chmod(csv.c_str(), 0600);
        EXPECT_EQ(read_file(txt), "earlier text\n") << why;
        if (!size) EXPECT_EQ(read_file(csv), csvContent) << why;
        else EXPECT_EQ(std::filesystem::file_size(csv), size) << why;
    };
    const std::string header = std::string(stsCsvHeader) + "\n";
    const std::string row = "\"a\",\"Rd8#\",\"Rd8#\",d1d8,29999,10,10,1,39,0,,,non,1,1\n";
    refused(header + row, "illisible : Permission denied", true);
    refused("name,score\n" + row, "en-tete inattendu");
    refused("a report of someone else, no line end", "en-tete inattendu");
    refused(header + row, "trop volumineux", false, (std::uintmax_t{64} << 20) + 1);
    refused(header + "garbage\n\"b\",1,2\n", "aucune ligne exploitable");

    // A report cut while its header was written holds nothing to lose.
    std::ofstream(csv) << std::string(stsCsvHeader).substr(0, 10);
    test::CapturedStreams io;
    EXPECT_TRUE(run_sts_suite(suite, 2, 0, dir + "x", true));
    EXPECT_NE(io.err().find("nouveau lancement complet"), std::string::npos);
}

namespace {

// Processes whose parent is `parent`, read from /proc.
std::vector<pid_t> children_of(pid_t parent) {
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream stat(entry.path() / "stat");
        std::string line;
        std::getline(stat, line);
        // pid (command) state ppid ...: the command may hold blanks.
        std::istringstream rest(line.substr(line.rfind(')') + 1));
        std::string state;
        pid_t ppid = 0;
        if (rest >> state >> ppid && ppid == parent) found.push_back(std::stoi(name));
    }
    return found;
}

}  // namespace

TEST_F(StsRunnerTest, KilledWorkerIsReportedAndTheRunCompletes) {
    const std::string suite = write_suite(castling_suite(6));
    const pid_t runner = fork();
    if (runner == 0) {
        const int err = open((dir + "k.err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(err, 2);
        execl(MORVANE_EXE, MORVANE_EXE, "--sts", suite.c_str(), "--depth", "8", "--jobs", "2", "--output",
              (dir + "k").c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    // The first worker got its position before the second was started:
    // once both exist, the first is searching.
    bool killed = false;
    for (int i = 0; i < 4000 && !killed; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const std::vector<pid_t> workers = children_of(runner);
        if (workers.size() == 2) killed = kill(*std::min_element(workers.begin(), workers.end()), SIGKILL) == 0;
    }
    int status = 0;
    waitpid(runner, &status, 0);
    ASSERT_TRUE(killed);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const std::string txt = read_file(dir + "k.txt");
    EXPECT_NE(txt.find("  [recherche en echec : processus de recherche tue par le signal 9 ("), std::string::npos) << txt;
    EXPECT_NE(txt.find("Positions au total : 6\n"), std::string::npos);
    const PreviousReport rows = read_previous_report(read_file(dir + "k.csv"));
    EXPECT_EQ(rows.finished.size(), 6u);
    EXPECT_TRUE(rows.rejected.empty());
    EXPECT_NE(read_file(dir + "k.err").find(" : recherche en echec, comptee non resolue: "), std::string::npos);
}
