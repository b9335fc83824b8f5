#include <gtest/gtest.h>

#include <sstream>

#include "match/cli.h"
#include "match/game.h"
#include "match/match_runner.h"
#include "match/openings.h"
#include "support/files.h"

using namespace match;

namespace {

// A UCI engine in a few lines of shell whose answer to `go` is `onGo`;
// given a working directory, it notes every start in its file `starts`.
EngineSetup fake_engine(const std::string& onGo, const std::string& dir = "") {
    const std::string script = std::string(dir.empty() ? "" : "echo started >> starts; ") +
                               "while read -r cmd rest; do case \"$cmd\" in "
                               "uci) echo 'id name fake'; echo uciok;; isready) echo readyok;; go) " +
                               onGo + ";; quit) exit 0;; esac; done";
    EngineSetup setup;
    setup.name = "Fake";
    setup.argv = {"/bin/sh", "-c", script};
    setup.dir = dir;
    setup.effort.depth = 1;
    return setup;
}

EngineSetup real_engine() {
    EngineSetup setup;
    setup.name = "Morvane";
    setup.argv = {MORVANE_EXE};
    setup.effort.depth = 1;
    return setup;
}

// The fake engine has White; the game is over after its first move.
GameRecord fake_plays_white(EngineSetup fake, const Adjudication& rules = {}) {
    UciEngine white(std::move(fake)), black(real_engine());
    std::atomic<bool> stop{false};
    const GameRecord game = play_game(white, black, morvane::StartFen, rules, stop);
    EXPECT_EQ(game.verdict.outcome, Outcome::BlackWins) << game.verdict.reason;
    return game;
}

}  // namespace

TEST(MatchEngine, EachFailureLosesWithItsReason) {
    Adjudication quick;
    quick.hangTimeoutMs = 1000;
    const Verdict illegal = fake_plays_white(fake_engine("echo 'bestmove e2e5'")).verdict;
    EXPECT_EQ(illegal.reason, "White (Fake) played an illegal move e2e5");
    EXPECT_EQ(illegal.ending, Ending::RulesInfraction);

    const Verdict garbage = fake_plays_white(fake_engine("echo 'info nonsense'; echo 'bestmove @@@'")).verdict;
    EXPECT_EQ(garbage.reason, "White (Fake) sent an unreadable move '@@@'");

    const Verdict hang = fake_plays_white(fake_engine("sleep 30"), quick).verdict;
    EXPECT_EQ(hang.reason, "White (Fake) hung: no bestmove in 1 s");
    EXPECT_EQ(hang.ending, Ending::Abandoned);

    const Verdict crash = fake_plays_white(fake_engine("exit 3")).verdict;
    EXPECT_EQ(crash.reason, "White (Fake) crashed (exit status 3)");

    EngineSetup slow = fake_engine("sleep 1; echo 'bestmove e2e4'");
    slow.effort = {200, 0, 0, 0};
    const Verdict late = fake_plays_white(slow, quick).verdict;
    EXPECT_EQ(late.reason, "White loses on time");
    EXPECT_EQ(late.ending, Ending::TimeForfeit);

    // An engine flooding its output loses when its clock runs out, not when
    // it finally answers three seconds later.
    EngineSetup chatty = fake_engine("timeout 3 yes 'info depth 1 score cp 0'; echo 'bestmove e2e4'");
    chatty.effort = {200, 0, 0, 0};
    const GameRecord talked = fake_plays_white(chatty);
    EXPECT_EQ(talked.verdict.reason, "White loses on time");
    EXPECT_LT(talked.side[0].thinkMs, 2000);
}

TEST(MatchEngine, AFailureAgainstABareKingIsADraw) {
    // Black has nothing left to mate with: White's illegal move, crash or
    // fallen flag cannot be scored as a loss.
    const std::string fen = "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1";
    std::atomic<bool> stop{false};
    UciEngine fake(fake_engine("echo 'bestmove e2e5'")), real(real_engine());
    const GameRecord draw = play_game(fake, real, fen, {}, stop);
    EXPECT_EQ(draw.verdict.outcome, Outcome::Draw);
    EXPECT_EQ(draw.verdict.ending, Ending::RulesInfraction);
    EXPECT_EQ(draw.verdict.reason, "White (Fake) played an illegal move e2e5; Black cannot mate");
    // With the colours reversed the side left with the pawn can still mate.
    const std::string blackToMove = "4k3/8/8/8/8/8/4P3/4K3 b - - 0 1";
    EXPECT_EQ(play_game(real, fake, blackToMove, {}, stop).verdict.outcome, Outcome::WhiteWins);
}

TEST(MatchEngine, CrashedEngineIsRestartedForTheNextGame) {
    const morvane::test::ScratchDir dir;
    UciEngine crashing(fake_engine("exit 1", dir.path())), real(real_engine());
    std::atomic<bool> stop{false};
    for (int game = 0; game < 2; ++game)
        EXPECT_EQ(play_game(crashing, real, morvane::StartFen, {}, stop).verdict.outcome, Outcome::BlackWins);
    crashing.quit();
    EXPECT_EQ(morvane::test::read_file(dir / "starts"), "started\nstarted\n");
}

// A crash, an illegal move, a hang or a loss on time fails the test.
TEST(MatchEngine, RealEnginesPlayTwentyGamesAtAFastClock) {
    std::vector<std::string> openings;
    std::ostringstream log;
    ASSERT_TRUE(load_openings(MORVANE_SOURCE_DIR "/openings/balanced-8ply.epd", openings, log));
    shuffle_openings(openings, 1234);
    EngineSetup timed = real_engine();
    timed.effort = parse_time_control("2+0.02");
    UciEngine first(timed), second(timed);
    std::atomic<bool> stop{false};
    for (int gameNo = 0; gameNo < 20; ++gameNo) {
        const bool firstIsWhite = gameNo % 2 == 0;
        const GameRecord game = play_game(firstIsWhite ? first : second, firstIsWhite ? second : first,
                                          openings[gameNo / 2], {}, stop);
        EXPECT_TRUE(game.verdict.ending == Ending::Normal || game.verdict.ending == Ending::Adjudication)
            << "game " << gameNo << " from " << game.startFen << ": " << game.verdict.reason;
        EXPECT_EQ(game.side[0].moves, (static_cast<int>(game.sanMoves.size()) + 1) / 2);
    }
}

TEST(MatchEngine, ClockChargesThinkingTimeAndCreditsTheIncrement) {
    GameClock clock(1000, 100);
    EXPECT_TRUE(clock.charge(300, 50));
    EXPECT_EQ(clock.left_ms(), 800);
    EXPECT_TRUE(clock.charge(840, 50));  // 40 ms late: inside the margin
    EXPECT_EQ(clock.left_ms(), 60);
    EXPECT_FALSE(clock.charge(111, 50));  // 51 ms late: the flag falls

    const Effort effort = parse_time_control("2+0.02");
    EXPECT_EQ(effort.baseMs, 2000);
    EXPECT_EQ(effort.incMs, 20);
    GameClock white(-5, 20), black(1500, 20);
    EXPECT_EQ(go_command(effort, white, black), "go wtime 0 btime 1500 winc 20 binc 20");
    EXPECT_EQ(go_command({-1, 0, 5000, 0}, white, black), "go nodes 5000");
    EXPECT_THROW(parse_time_control("fast"), std::invalid_argument);
}

TEST(MatchEngine, ScoresOfInfoLines) {
    EXPECT_EQ(parse_score("info depth 7 score cp -35 nodes 1200 pv e2e4"), -35);
    EXPECT_EQ(parse_score("info depth 9 score cp 29991 lowerbound nodes 5"), 29991);
    EXPECT_EQ(parse_score("info depth 9 score mate 3 pv h5f7"), 29995);  // mate in 5 plies
    EXPECT_EQ(parse_score("info depth 9 score mate -2"), -29996);
    EXPECT_EQ(parse_score("info string score cp 500 is not a score"), std::nullopt);
    EXPECT_EQ(parse_score("info depth 3 nodes 40"), std::nullopt);
    EXPECT_EQ(parse_score("bestmove e2e4"), std::nullopt);
}

TEST(MatchEngine, ScoreAdjudicationNeedsBothEnginesForEveryPly) {
    Adjudication resign, draws;  // scores are from White's view
    resign.resign = true;
    resign.resignMoves = 2;
    resign.resignScore = 500;
    draws.draw = true;
    draws.drawMoveNumber = 3;
    draws.drawMoves = 2;
    draws.drawScore = 10;
    const struct {
        ScoreTrail trail;
        const Adjudication& rules;
        Outcome outcome;
    } cases[] = {
        {{0, 10, 600, 700, 650, 800}, resign, Outcome::WhiteWins},         // four plies beyond 500
        {{0, 10, 600, std::nullopt, 650, 800}, resign, Outcome::Ongoing},  // one engine said nothing that move
        {{-900, -900, -900, 499}, resign, Outcome::Ongoing},
        {{-900, -900, -900, -501, -900}, resign, Outcome::BlackWins},
        {{0, 0, 0, 0, -10}, draws, Outcome::Ongoing},  // before move 3
        {{0, 0, 0, 0, -10, 5}, draws, Outcome::Draw},
        {{0, 0, 0, 0, -10, 11}, draws, Outcome::Ongoing},
    };
    for (const auto& c : cases)
        EXPECT_EQ(score_verdict(c.trail, static_cast<int>(c.trail.size()), c.rules).outcome, c.outcome)
            << &c - cases;
    // A game from a book position at move 20: move 3 is long past, even
    // though the engines have played only four plies.
    EXPECT_EQ(score_verdict({0, 0, 0, 0}, 38 + 4, draws).outcome, Outcome::Draw);
}

TEST(MatchEngine, MatchStopsWhenTheTestDecidesAndWritesEveryScoredGame) {
    MatchConfig config;
    config.engines[0] = real_engine();
    config.engines[1] = fake_engine("echo 'bestmove a1a1'");
    config.openings = {morvane::StartFen, "4k3/4p3/8/8/8/8/4P3/4K3 w - - 0 1"};
    config.games = 100;
    config.concurrency = 2;
    config.sprt = SprtBounds{0, 5};
    const morvane::test::ScratchDir scratch;
    config.pgnPath = scratch / "games.pgn";
    std::atomic<bool> stop{false};
    std::ostringstream progress;
    const MatchSummary s = run_match(config, stop, progress);
    EXPECT_EQ(s.verdict, SprtVerdict::AcceptH1);
    EXPECT_FALSE(s.interrupted);
    EXPECT_LT(s.wdl.games(), 2 * SprtMinPairs + 4);
    EXPECT_EQ(s.wdl.wins, s.wdl.games());
    // Only whole pairs count: a pair the stop cut short is neither scored
    // nor written.
    EXPECT_EQ(s.pairs[0] + s.pairs[1] + s.pairs[2] + s.pairs[3], 0);
    EXPECT_GE(s.pairs[4], SprtMinPairs);
    EXPECT_EQ(s.wdl.games(), 2 * s.pairs[4]);
    EXPECT_EQ(s.totals[1].moves, s.wdl.games());  // one (illegal) move per game

    const std::string pgn = morvane::test::read_file(config.pgnPath);
    EXPECT_EQ(morvane::test::pgn_game_count(pgn), s.wdl.games());
    EXPECT_NE(pgn.find("[Termination \"rules infraction\"]"), std::string::npos);
}
