// Protocol tests for what real GUIs and match managers do that plain test
// positions do not: games of a thousand plies, clocks of absurd size, node
// limits, pondering, and closing the pipe mid-search.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "support/engine_process.h"
#include "support/test_positions.h"

using namespace morvane;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int StartupMs = 30000;
constexpr const char* AfterE4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1";

long elapsed_ms(Clock::time_point since) {
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count());
}

bool is_legal(const std::string& fen, const std::string& bestmoveLine) {
    Board board;
    board.set_fen(fen);
    return bestmoveLine.rfind("bestmove ", 0) == 0 && test::find_move(board, bestmoveLine.substr(9)) != NULL_MOVE;
}

void start(test::EngineProcess& engine) {
    ASSERT_TRUE(engine.started());
    engine.send("isready");
    ASSERT_TRUE(engine.wait_for("readyok", StartupMs));
}

}  // namespace

TEST(Protocol, ThousandPlyGamesStillGetLegalAnswers) {
    test::EngineProcess engine;
    start(engine);
    // 1,100 plies of knights going back and forth: the start position again,
    // White to move, well past the board's history tables.
    std::string position = "position startpos moves";
    for (int i = 0; i < 275; ++i) position += " g1f3 g8f6 f3g1 f6g8";
    engine.send(position);
    engine.send("go movetime 500");
    const auto reply = engine.wait_for("bestmove ", 10000);
    ASSERT_TRUE(reply);
    EXPECT_TRUE(is_legal(StartFen, *reply)) << *reply;
    engine.send("isready");
    EXPECT_TRUE(engine.wait_for("readyok", 5000));

    engine.send("position startpos moves e2e4");
    engine.send("go depth 2");
    const auto after = engine.wait_for("bestmove ", 10000);
    ASSERT_TRUE(after);
    EXPECT_TRUE(is_legal(AfterE4, *after)) << *after;
}

TEST(Protocol, NodeLimitEndsTheSearchByItself) {
    test::EngineProcess engine;
    start(engine);
    engine.send("position startpos moves e2e4 e7e5");
    engine.send("go nodes 20000");
    std::vector<std::string> lines;
    ASSERT_TRUE(engine.wait_for("bestmove ", 30000, &lines));
    unsigned long long nodes = 0;
    for (const auto& l : lines)
        if (const auto at = l.find(" nodes "); l.rfind("info depth ", 0) == 0 && at != std::string::npos)
            nodes += std::stoull(l.substr(at + 7));
    EXPECT_GT(nodes, 0u);
    EXPECT_LE(nodes, 40000u);
    // The search is over: the next commands are not refused.
    engine.send("go depth 1");
    EXPECT_TRUE(engine.wait_for("bestmove ", 10000));
}

TEST(Protocol, AbsurdClocksSearchNormally) {
    test::EngineProcess engine;
    start(engine);
    for (const char* go :
         {"go wtime 9223372036854775807 btime 9223372036854775807 winc 9223372036854775807",
          "go movetime 9223372036854775807", "go wtime 1000 winc -9223372036854775807", "go depth 99999999999"}) {
        engine.send(go);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        engine.send("stop");
        std::vector<std::string> lines;
        const auto best = engine.wait_for("bestmove ", 10000, &lines);
        ASSERT_TRUE(best) << go;
        EXPECT_TRUE(is_legal(StartFen, *best)) << go;
        EXPECT_GE(lines.size(), 2u) << go;  // at least one completed iteration
    }
}

TEST(Protocol, PonderingAnswersOnlyAfterPonderhitOrStop) {
    test::EngineProcess engine;
    start(engine);
    engine.send("position startpos moves e2e4");
    engine.send("go ponder movetime 300");
    EXPECT_FALSE(engine.wait_for("bestmove ", 700));
    const auto hit = Clock::now();
    engine.send("ponderhit");
    ASSERT_TRUE(engine.wait_for("bestmove ", 5000));
    EXPECT_LE(elapsed_ms(hit), 2000);  // now under the clock of its go line

    // A pondering search that reached its depth still waits for the GUI.
    engine.send("go ponder depth 2");
    EXPECT_FALSE(engine.wait_for("bestmove ", 500));
    engine.send("stop");
    const auto best = engine.wait_for("bestmove ", 2000);
    ASSERT_TRUE(best);
    EXPECT_TRUE(is_legal(AfterE4, *best)) << *best;
}

TEST(Protocol, EndOfInputStopsTheSearchLikeQuit) {
    test::EngineProcess engine;
    start(engine);
    engine.send("position startpos");
    engine.send("go infinite");
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto closed = Clock::now();
    engine.close_input();
    EXPECT_TRUE(engine.wait_for("bestmove ", 1000));
    EXPECT_EQ(engine.wait_exit(1000), 0);
    EXPECT_LE(elapsed_ms(closed), 1000);
}

TEST(Protocol, SuiteRunsPastUnplayableLinesAndRefusesHugeNumbers) {
    const auto dir = std::filesystem::temp_directory_path() / ("morvane_gui_" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    const std::string epd = (dir / "suite.epd").string(), base = (dir / "r").string();
    std::ofstream(epd) << "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd8#; id \"first\";\n"
                          "4k3/8/8/8/8/8/4Q3/4K3 w - - bm Qe7; id \"checked\";\n"
                          "6k1/5ppp/8/8/8/8/5PPP/3R2K1 w - - bm Rd8#; id \"last\";\n";
    {
        test::EngineProcess run({"--sts", epd, "--depth", "2", "--output", base});
        EXPECT_EQ(run.wait_exit(60000), 0);
    }
    std::ifstream txt(base + ".txt");
    const std::string report((std::istreambuf_iterator<char>(txt)), {});
    EXPECT_NE(report.find("checked : "), std::string::npos);
    EXPECT_NE(report.find("last : "), std::string::npos);
    EXPECT_NE(report.find("Score total : 20 / 30"), std::string::npos);

    for (const char* depth : {"2147483648", "4294967297", "-9999999999"}) {
        test::EngineProcess refused({"--sts", epd, "--depth", depth, "--output", base});
        EXPECT_EQ(refused.wait_exit(10000), 1) << depth;
    }
    test::EngineProcess refused({"--sts", epd, "--movetime", "9223372036854775807", "--output", base});
    EXPECT_EQ(refused.wait_exit(10000), 1);
    std::filesystem::remove_all(dir);
}
