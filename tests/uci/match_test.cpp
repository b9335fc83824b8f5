// Two engine processes play complete games at a fast clock under the match
// runner's referee: a crash, an illegal move, a hang or a loss on time ends
// a game with that verdict and fails the test.
#include <gtest/gtest.h>

#include <random>

#include "match/game.h"
#include "movegen/movegen.h"

using namespace match;

namespace {

EngineSetup engine_at_fast_clock(const char* name) {
    EngineSetup setup;
    setup.name = name;
    setup.argv = {MORVANE_EXE};
    setup.effort.baseMs = 2000;
    setup.effort.incMs = 20;
    return setup;
}

// Four random plies from the start give every game its own course.
std::string random_opening(std::mt19937_64& rng) {
    morvane::Board board;
    for (int ply = 0; ply < 4; ++ply) {
        morvane::ScoredMove list[morvane::MAX_MOVES];
        const int n = morvane::generate_legal(board, list, false);
        board.do_move(list[rng() % n].move);
    }
    return board.fen();
}

}  // namespace

TEST(Match, TwentyGamesAtAFastClock) {
    UciEngine first(engine_at_fast_clock("First")), second(engine_at_fast_clock("Second"));
    std::mt19937_64 rng(1234);
    std::atomic<bool> stop{false};
    for (int gameNo = 0; gameNo < 20; ++gameNo) {
        const bool firstIsWhite = gameNo % 2 == 0;
        const GameRecord game =
            play_game(firstIsWhite ? first : second, firstIsWhite ? second : first, random_opening(rng), {}, stop);
        EXPECT_TRUE(game.verdict.ending == Ending::Normal || game.verdict.ending == Ending::Adjudication)
            << "game " << gameNo << " from " << game.startFen << ": " << game.verdict.reason;
    }
}
