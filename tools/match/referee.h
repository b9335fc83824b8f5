// The arbiter of one game: holds the position with the engine library's own
// board, accepts only legal moves, and applies the rules that end a game
// without anyone resigning: checkmate, stalemate, threefold repetition over
// the whole game, the fifty-move rule, dead positions, and optionally the
// engine's endgame tables.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/board.h"

namespace match {

enum class Outcome { Ongoing, WhiteWins, BlackWins, Draw };

// What ended the game, as the PGN Termination tag names it.
enum class Ending { Normal, Adjudication, TimeForfeit, RulesInfraction, Abandoned, Unterminated };

struct Verdict {
    Outcome outcome = Outcome::Ongoing;
    Ending ending = Ending::Unterminated;
    std::string reason;  // for people: "White mates", "threefold repetition"
};

// Longest game the runner plays out: the engine's move history holds 1,023
// plies, and no sensible game comes near it.
constexpr int MaxGamePlies = 1000;

class Referee {
public:
    // False when the position is not playable (the reason goes to problem).
    bool set_position(const std::string& fen, std::string& problem);

    morvane::Color side_to_move() const { return board_->side_to_move(); }

    // Whether some sequence of legal moves, however poor the defence, ends
    // with `side` mating: what a loss on time or a forfeit needs to count.
    bool can_mate(morvane::Color side) const;

    // The legal move written in UCI notation as `text`, or the null move.
    morvane::Move find_move(const std::string& text);

    // Plays a legal move and records it.
    void play(morvane::Move move);

    // The verdict of the rules in the current position: Ongoing when the
    // game goes on. With useTables, a position of four pieces or fewer just
    // reached by a capture or pawn move is decided by the endgame tables.
    Verdict verdict(bool useTables);

    const std::string& start_fen() const { return startFen_; }
    const std::vector<std::string>& uci_moves() const { return uciMoves_; }
    const std::vector<std::string>& san_moves() const { return sanMoves_; }
    int plies() const { return static_cast<int>(uciMoves_.size()); }
    // Half-moves since move 1 of the whole game, the book moves included, as
    // the starting FEN's move number tells them.
    int game_plies() const { return bookPlies_ + plies(); }
    std::string position_command() const;

private:
    // The board is large (its history stacks); one per game, on the heap.
    std::unique_ptr<morvane::Board> board_ = std::make_unique<morvane::Board>();
    std::string startFen_;
    int bookPlies_ = 0;
    // Every position of the game, in order, keyed so that an en-passant
    // right counts only when the capture is legal.
    std::vector<std::uint64_t> keys_;
    std::uint64_t repetition_key();
    std::vector<std::string> uciMoves_, sanMoves_;
};

// Neither side can mate by any sequence of legal moves: bare kings, a
// single minor piece, or bishops that all stand on squares of one colour.
bool is_dead_position(const morvane::Board& board);
bool can_mate(const morvane::Board& board, morvane::Color side);

// Loads the engine's embedded endgame tables for adjudication; false when
// none are usable.
bool init_adjudication_tables();

const char* ending_tag(Ending ending);
const char* result_text(Outcome outcome);  // "1-0", "0-1", "1/2-1/2", "*"

}  // namespace match
