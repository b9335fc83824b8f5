#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/engine_process.h"

using namespace morvane::test;
using Clock = std::chrono::steady_clock;

namespace {

// Generous: start-up (attack tables) is slow under the sanitizers.
constexpr int StartupMs = 30000;

long elapsed_ms(Clock::time_point since) {
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count());
}

}  // namespace

TEST(Protocol, HandshakeAndFixedDepthSearch) {
    EngineProcess engine;
    ASSERT_TRUE(engine.started());
    engine.send("uci");
    ASSERT_TRUE(engine.wait_for("uciok", StartupMs));
    engine.send("isready");
    ASSERT_TRUE(engine.wait_for("readyok", StartupMs));
    engine.send("position startpos moves e2e4");
    engine.send("go depth 4");
    std::vector<std::string> lines;
    const auto best = engine.wait_for("bestmove ", 20000, &lines);
    ASSERT_TRUE(best);
    int infoLines = 0;
    for (const auto& l : lines) infoLines += l.rfind("info depth ", 0) == 0;
    EXPECT_EQ(infoLines, 4);
    EXPECT_NE(lines[lines.size() - 2].find(" pv "), std::string::npos);
    engine.send("quit");
    EXPECT_EQ(engine.wait_exit(5000), 0);
}

TEST(Protocol, MovetimeIsHonoured) {
    EngineProcess engine;
    engine.send("isready");
    ASSERT_TRUE(engine.wait_for("readyok", StartupMs));
    engine.send("position startpos");
    const auto start = Clock::now();
    engine.send("go movetime 300");
    ASSERT_TRUE(engine.wait_for("bestmove ", 5000));
    EXPECT_LE(elapsed_ms(start), 350);
}

TEST(Protocol, ClockSearchAnswersWellWithinTheClock) {
    EngineProcess engine;
    engine.send("position startpos moves d2d4 d7d5");
    engine.send("isready");
    ASSERT_TRUE(engine.wait_for("readyok", StartupMs));
    const auto start = Clock::now();
    engine.send("go wtime 2000 btime 2000 winc 20 binc 20");
    ASSERT_TRUE(engine.wait_for("bestmove ", 3000));
    EXPECT_LE(elapsed_ms(start), 2000);
}

TEST(Protocol, InfiniteSearchStopsAtOnceAndRefusesMeanwhile) {
    EngineProcess engine;
    engine.send("isready");
    ASSERT_TRUE(engine.wait_for("readyok", StartupMs));
    engine.send("go infinite");
    engine.send("isready");
    ASSERT_TRUE(engine.wait_for("readyok", 1000));  // answered during the search
    engine.send("go depth 1");                      // refused: the first search goes on
    engine.send("position startpos moves e2e4");    // refused
    engine.send("d");                               // refused
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto stopAt = Clock::now();
    engine.send("stop");
    std::vector<std::string> lines;
    ASSERT_TRUE(engine.wait_for("bestmove ", 2000, &lines));
    EXPECT_LE(elapsed_ms(stopAt), 50);
    for (const auto& l : lines) EXPECT_EQ(l.find("trait:"), std::string::npos);
    // Only one bestmove: the refused go never started a second search.
    engine.send("isready");
    lines.clear();
    ASSERT_TRUE(engine.wait_for("readyok", 2000, &lines));
    for (const auto& l : lines) EXPECT_EQ(l.rfind("bestmove", 0), std::string::npos);
    // The refused position left the start position in place.
    engine.send("d");
    ASSERT_TRUE(engine.wait_for("FEN: rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", 2000));
}

TEST(Protocol, QuitDuringSearchPrintsBestmoveThenExits) {
    EngineProcess engine;
    engine.send("isready");
    ASSERT_TRUE(engine.wait_for("readyok", StartupMs));
    engine.send("go infinite");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    engine.send("quit");
    ASSERT_TRUE(engine.wait_for("bestmove ", 2000));
    EXPECT_EQ(engine.wait_exit(2000), 0);
}

TEST(Protocol, MateAndStalemateRootsAnswerNullMove) {
    EngineProcess engine;
    engine.send("position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1");  // stalemate
    engine.send("go depth 3");
    EXPECT_EQ(engine.wait_for("bestmove ", 10000), "bestmove 0000");
    engine.send("position fen 7k/6Q1/6K1/8/8/8/8/8 b - - 0 1");  // mated
    engine.send("go movetime 100");
    EXPECT_EQ(engine.wait_for("bestmove ", 10000), "bestmove 0000");
    engine.send("position fen 6k1/8/6K1/8/8/8/8/Q7 w - - 0 1");
    engine.send("go depth 3");
    // Both queen moves mate; the tables and the search may pick either.
    const auto mate = engine.wait_for("bestmove ", 10000);
    EXPECT_TRUE(mate == "bestmove a1a8" || mate == "bestmove a1g7") << mate.value_or("(none)");
    engine.send("go depth 2 wtime abc");  // a bad number is skipped, the search still runs
    EXPECT_TRUE(engine.wait_for("bestmove ", 10000));
}
