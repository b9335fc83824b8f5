#include <gtest/gtest.h>

#include <sstream>

#include "match/match_runner.h"
#include "match/match_state.h"
#include "support/files.h"

using namespace match;

namespace {

MatchConfig engine_against_itself() {
    MatchConfig config;
    for (auto& engine : config.engines) {
        engine.argv = {MORVANE_EXE};
        engine.effort.depth = 2;
    }
    config.engines[0].name = "A";
    config.engines[1].name = "B";
    config.engines[1].options = {{"Hash", "8"}};
    // Short endings with different outcomes, so that every tally moves; the
    // lone knight is a draw whatever the evaluation's weights make of the rest.
    config.openings = {"4k3/8/8/8/8/8/PPP5/4K3 w - - 0 1", "4k3/pp6/8/8/8/8/PP6/4K3 b - - 0 1",
                       "2k5/8/8/8/8/8/5PPP/6K1 b - - 0 1", "4k3/8/8/8/8/8/8/4KN2 w - - 0 1"};
    config.concurrency = 1;
    config.rules.draw = true;
    config.rules.drawMoveNumber = 0;
    return config;
}

MatchProgress read_state(const std::string& path) {
    MatchProgress progress;
    std::string error;
    EXPECT_TRUE(parse_progress(morvane::test::read_file(path), progress, error)) << error;
    return progress;
}

void expect_same_tallies(const MatchSummary& a, const MatchSummary& b) {
    EXPECT_EQ(a.pairs, b.pairs);
    EXPECT_EQ(a.wdl.wins, b.wdl.wins);
    EXPECT_EQ(a.wdl.losses, b.wdl.losses);
    EXPECT_EQ(a.wdl.draws, b.wdl.draws);
    EXPECT_EQ(a.reasons, b.reasons);
    for (int e = 0; e < 2; ++e) EXPECT_EQ(a.totals[e].moves, b.totals[e].moves);
}

}  // namespace

TEST(MatchState, AStoppedMatchResumesToTheTalliesOfOneRunStraightThrough) {
    const morvane::test::ScratchDir scratch;
    std::atomic<bool> stop{false};
    std::ostringstream log;

    MatchConfig whole = engine_against_itself();
    whole.games = 12;
    whole.statePath = scratch / "whole.state";
    const MatchSummary straight = run_match(whole, stop, log);
    ASSERT_EQ(straight.wdl.games(), 12);
    ASSERT_GT(straight.wdl.draws, 0);
    ASSERT_GT(straight.wdl.wins + straight.wdl.losses, 0);

    MatchConfig part = engine_against_itself();
    part.games = 4;
    part.statePath = scratch / "part.state";
    part.pgnPath = scratch / "part.pgn";
    run_match(part, stop, log);
    MatchProgress saved = read_state(part.statePath);
    EXPECT_EQ(saved.donePairs, (std::set<int>{0, 1}));
    EXPECT_EQ(saved.fingerprint, match_fingerprint(part));

    part.games = 12;  // raised on resuming, which the fingerprint allows
    part.concurrency = 2;
    ASSERT_EQ(saved.fingerprint, match_fingerprint(part));
    const MatchSummary resumed = run_match(part, stop, log, saved);
    expect_same_tallies(resumed, straight);
    expect_same_tallies(read_state(part.statePath).summary, straight);
    EXPECT_EQ(read_state(part.statePath).donePairs.size(), 6u);
    // The PGN holds each game once.
    const std::string pgn = morvane::test::read_file(part.pgnPath);
    EXPECT_EQ(morvane::test::pgn_game_count(pgn), 12);
}

TEST(MatchState, StateFilesRoundTripAndDamageOrOtherSettingsAreRefused) {
    MatchConfig config = engine_against_itself();
    MatchProgress progress;
    progress.fingerprint = match_fingerprint(config);
    progress.donePairs = {0, 2, 5};
    MatchSummary& s = progress.summary;
    s.wdl = {3, 1, 2};
    s.pairs = {0, 1, 0, 1, 1};
    s.seconds = 12.25;
    s.totals[0] = {100, 2000, 6, 30000};
    s.totals[1] = {99, 2100, 6, 29000};
    s.reasons = {{"White mates", 2}, {"draw by adjudication", 2}, {"Black wins on time", 2}};

    const std::string text = progress_text(progress);
    MatchProgress back;
    std::string error;
    ASSERT_TRUE(parse_progress(text, back, error)) << error;
    EXPECT_EQ(progress_text(back), text);

    // A file cut short, one whose counts disagree, or another file's text.
    const std::string cut = text.substr(0, text.find("end\n"));
    std::string inconsistent = text;
    inconsistent.replace(inconsistent.find("done 0 2 5"), 10, "done 0 2");
    for (const std::string& bad : {cut, inconsistent, std::string("spsa-state 1\n"), std::string()})
        EXPECT_FALSE(parse_progress(bad, back, error)) << bad;

    // What decides the games is in the fingerprint; how many, how fast and
    // where they are written is not.
    MatchConfig other = config;
    other.games = 500, other.concurrency = 7, other.pgnPath = "x.pgn";
    EXPECT_EQ(match_fingerprint(other), progress.fingerprint);
    other = config, other.engines[1].options.clear();
    EXPECT_NE(match_fingerprint(other), progress.fingerprint);
    other = config, std::swap(other.openings[0], other.openings[1]);
    EXPECT_NE(match_fingerprint(other), progress.fingerprint);
    other = config, other.engines[0].effort.depth = 3;
    EXPECT_NE(match_fingerprint(other), progress.fingerprint);
    other = config, other.sprt = SprtBounds{0, 5};
    EXPECT_NE(match_fingerprint(other), progress.fingerprint);
}

TEST(MatchState, AResumedTestThatHasDecidedPlaysNoMoreGames) {
    MatchConfig config = engine_against_itself();
    config.games = 1000;
    config.sprt = SprtBounds{0, 5};
    MatchProgress decided;
    decided.summary.pairs = {0, 0, 0, 0, 40};
    decided.summary.wdl = {80, 0, 0};
    for (int pair = 0; pair < 40; ++pair) decided.donePairs.insert(pair);
    std::atomic<bool> stop{false};
    std::ostringstream log;
    const MatchSummary s = run_match(config, stop, log, decided);
    EXPECT_EQ(s.verdict, SprtVerdict::AcceptH1);
    EXPECT_FALSE(s.interrupted);
    EXPECT_EQ(s.wdl.games(), 80);
}
