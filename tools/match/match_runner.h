// The match: game threads, each with its own pair of engine processes,
// play the openings twice with colours reversed; results are gathered into
// the statistics, written to the PGN file as games end, and checked against
// the SPRT bounds after every pair.
#pragma once

#include <atomic>
#include <map>
#include <optional>
#include <set>
#include <ostream>
#include <string>
#include <vector>

#include "match/game.h"
#include "match/pgn.h"
#include "match/stats.h"

namespace match {

struct MatchConfig {
    EngineSetup engines[2];             // results are counted for engines[0]
    std::vector<std::string> openings;  // in playing order
    int games = 100;                    // rounded up to whole pairs
    int concurrency = 1;
    Adjudication rules;
    std::optional<SprtBounds> sprt;
    std::string pgnPath;  // empty: no PGN file
    PgnHeader header;
    bool liveLine = false;  // redraw the progress line in place
    std::string statePath;  // empty: no resumable state is written
};

struct EngineTotals {
    std::int64_t moves = 0, thinkMs = 0;
    std::int64_t timedGames = 0, clockLeftMs = 0;
};

struct MatchSummary {
    Wdl wdl;
    Pentanomial pairs{};
    std::map<std::string, int> reasons;  // how games ended, with counts
    EngineTotals totals[2];
    double seconds = 0;
    double llr = 0;
    SprtVerdict verdict = SprtVerdict::Continue;
    bool interrupted = false;
    bool pgnFailed = false;
};

// Where a match stands: the tallies of the game pairs played so far.
struct MatchProgress {
    std::uint64_t fingerprint = 0;  // of the settings that decide the games
    std::set<int> donePairs;
    MatchSummary summary;  // tallies of the pairs in donePairs
};

// Plays until the games are done, the SPRT decides, or `stop` is raised
// (by Ctrl-C), skipping the pairs `resumed` has played and counting on from
// its tallies. Games are scored by whole pairs: a pair cut off by `stop`
// counts for nothing. With a state path, the progress is written there after
// every pair. Progress lines go to `progress`.
MatchSummary run_match(const MatchConfig& config, std::atomic<bool>& stop, std::ostream& progress,
                       const MatchProgress& resumed = {});

void print_summary(const MatchSummary& summary, const MatchConfig& config, std::ostream& out);

}  // namespace match
