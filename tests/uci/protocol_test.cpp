// The real executable driven through pipes, as GUIs and match managers do.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/engine_process.h"
#include "support/test_positions.h"

using namespace morvane;
using test::elapsed_ms;
using Clock = std::chrono::steady_clock;

namespace {

constexpr const char* AfterE4 = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1";

// The move of a "bestmove" line, playable from fen.
bool is_legal(const std::string& fen, const std::string& bestmoveLine) {
    return test::plays_legally(fen, {bestmoveLine.substr(9)});
}

}  // namespace

// The handshake, then each limit a GUI sets: a depth, a node count, a move
// time and a clock, each ending its search by itself and in time.
TEST(Protocol, HandshakeAndEachKindOfLimit) {
    test::EngineUnderTest engine;
    engine.send("uci");
    ASSERT_TRUE(engine.wait_for("uciok", test::StartupMs));
    ASSERT_TRUE(engine.ready());
    engine.send("position startpos moves e2e4");
    engine.send("go depth 4");
    std::vector<std::string> lines;
    ASSERT_TRUE(engine.wait_for("bestmove ", 20000, &lines));
    int infoLines = 0;
    for (const auto& l : lines) infoLines += l.rfind("info depth ", 0) == 0;
    EXPECT_EQ(infoLines, 4);
    EXPECT_NE(lines[lines.size() - 2].find(" pv "), std::string::npos);

    engine.send("position startpos moves e2e4 e7e5");
    engine.send("go nodes 20000");
    lines.clear();
    ASSERT_TRUE(engine.wait_for("bestmove ", 30000, &lines));
    unsigned long long nodes = 0;
    for (const auto& l : lines)
        if (const auto at = l.find(" nodes "); l.rfind("info depth ", 0) == 0 && at != std::string::npos)
            nodes += std::stoull(l.substr(at + 7));
    EXPECT_GT(nodes, 0u);
    EXPECT_LE(nodes, 40000u);

    // The node-limited search is over: the next one is not refused.
    auto start = Clock::now();
    engine.send("go movetime 300");
    ASSERT_TRUE(engine.wait_for("bestmove ", 5000));
    EXPECT_LE(elapsed_ms(start), 350);
    engine.send("position startpos moves d2d4 d7d5");
    start = Clock::now();
    engine.send("go wtime 2000 btime 2000 winc 20 binc 20");
    ASSERT_TRUE(engine.wait_for("bestmove ", 3000));
    EXPECT_LE(elapsed_ms(start), 2000);
    engine.send("quit");
    EXPECT_EQ(engine.wait_exit(5000), 0);
}

TEST(Protocol, InfiniteSearchStopsAtOnceAndRefusesMeanwhile) {
    test::EngineUnderTest engine;
    ASSERT_TRUE(engine.ready());
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

// Quitting, or closing the pipe, mid-search: the search stops at once, its
// move is still given, and the engine exits cleanly.
TEST(Protocol, QuitOrEndOfInputDuringSearchGivesBestmoveThenExits) {
    for (const bool quit : {true, false}) {
        test::EngineUnderTest engine;
        ASSERT_TRUE(engine.ready());
        engine.send("go infinite");
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        const auto asked = Clock::now();
        if (quit) engine.send("quit");
        else engine.close_input();
        EXPECT_TRUE(engine.wait_for("bestmove ", 1000)) << quit;
        EXPECT_EQ(engine.wait_exit(1000), 0) << quit;
        EXPECT_LE(elapsed_ms(asked), 1000) << quit;
    }
}

TEST(Protocol, MatedAndStalematedRootsAnswerNullMove) {
    test::EngineUnderTest engine;
    engine.send("position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1");  // stalemate
    engine.send("go depth 3");
    EXPECT_EQ(engine.wait_for("bestmove ", 10000), "bestmove 0000");
    engine.send("position fen 7k/6Q1/6K1/8/8/8/8/8 b - - 0 1");  // mated
    engine.send("go movetime 100");
    EXPECT_EQ(engine.wait_for("bestmove ", 10000), "bestmove 0000");
}

// Games of a thousand plies and clocks of absurd size still get legal moves.
TEST(Protocol, ThousandPlyGamesAndAbsurdClocksStillGetLegalAnswers) {
    test::EngineUnderTest engine;
    ASSERT_TRUE(engine.ready());
    // 1,100 plies of knights going back and forth: the start position again,
    // White to move, well past the board's history tables.
    std::string position = "position startpos moves";
    for (int i = 0; i < 275; ++i) position += " g1f3 g8f6 f3g1 f6g8";
    engine.send(position);
    engine.send("go movetime 500");
    const auto reply = engine.wait_for("bestmove ", 10000);
    ASSERT_TRUE(reply);
    EXPECT_TRUE(is_legal(StartFen, *reply)) << *reply;
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
    ASSERT_TRUE(engine.ready());

    engine.send("position startpos moves e2e4");
    engine.send("go depth 2");
    const auto after = engine.wait_for("bestmove ", 10000);
    ASSERT_TRUE(after);
    EXPECT_TRUE(is_legal(AfterE4, *after)) << *after;
}

TEST(Protocol, PonderingAnswersOnlyAfterPonderhitOrStop) {
    test::EngineUnderTest engine;
    ASSERT_TRUE(engine.ready());
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
