// Plays one game between two engines: clocks, the referee's rules, the
// optional score-based adjudication, and the verdict when an engine fails.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "match/referee.h"
#include "match/uci_engine.h"

namespace match {

struct Adjudication {
    // Resign: both engines agree, for `resignMoves` moves each in a row, that
    // one side is at least `resignScore` centipawns ahead.
    bool resign = false;
    int resignMoves = 3, resignScore = 1000;
    // Draw: from move `drawMoveNumber` of the game (counted from its first
    // move, book moves included) on, both engines report at most
    // `drawScore` either way for `drawMoves` moves each in a row.
    bool draw = false;
    int drawMoveNumber = 40, drawMoves = 8, drawScore = 10;
    bool tables = true;
    std::int64_t timeMarginMs = 100;     // lateness tolerated, over the whole game, before a loss on time
    std::int64_t hangTimeoutMs = 60000;  // fixed nodes or depth: longest wait for bestmove
};

// The runner's clock for one side: time left, charged with the wall time
// from go to bestmove, credited with the increment after each move. A move
// that ends inside the margin leaves the clock negative, and that debt is
// carried: over the whole game the margin is granted once.
class GameClock {
public:
    GameClock(std::int64_t baseMs, std::int64_t incMs) : leftMs_(baseMs), incMs_(incMs) {}
    std::int64_t left_ms() const { return leftMs_; }
    std::int64_t inc_ms() const { return incMs_; }
    // False (flag fallen) when the move took longer than the time left plus
    // the margin; otherwise charges the move and adds the increment.
    bool charge(std::int64_t elapsedMs, std::int64_t marginMs);

private:
    std::int64_t leftMs_, incMs_;
};

struct SideStats {
    std::int64_t moves = 0, thinkMs = 0;
    std::int64_t clockLeftMs = -1;  // at the end of the game; -1 when untimed
};

struct GameRecord {
    std::string white, black;  // engine names
    std::string startFen;
    std::vector<std::string> sanMoves;
    Verdict verdict;
    SideStats side[2];         // [0] White, [1] Black
    bool interrupted = false;  // abandoned by Ctrl-C: neither scored nor written
};

// Scores from White's side, one per ply played; empty where the engine
// reported none.
using ScoreTrail = std::vector<std::optional<int>>;

// The resign or draw adjudication the scores call for, if any; gamePlies
// counts the half-moves of the whole game, book moves included.
Verdict score_verdict(const ScoreTrail& trail, int gamePlies, const Adjudication& rules);

GameRecord play_game(UciEngine& white, UciEngine& black, const std::string& fen, const Adjudication& rules,
                     const std::atomic<bool>& interrupted);

// The go command for the side to move.
std::string go_command(const Effort& effort, const GameClock& whiteClock, const GameClock& blackClock);

}  // namespace match
