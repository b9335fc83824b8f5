// Self-play games that yield training positions for the evaluation tuner:
// the engine plays both sides with a small fixed amount of search per move,
// and games are cut short as soon as their result is clear.
#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "core/board.h"
#include "search/search.h"

namespace morvane {

struct SelfPlaySettings {
    int depth = 7;              // search depth of every move ...
    std::uint64_t nodes = 0;    // ... or, when set, its node count
    int randomPlies = 8;        // random moves played first, for variety
    int maxOpeningScore = 400;  // a start this lopsided teaches little; it is dropped
    int resignScore = 1000;     // one side ahead by this much ...
    int resignPlies = 6;        // ... for this many plies in a row has won
    int drawScore = 10;         // a score this close to zero ...
    int drawPlies = 12;         // ... for this many plies in a row ...
    int drawMinPly = 80;        // ... once this many plies are played is a draw
    int maxPlies = 500;         // a game still going here is called a draw
    // Neighbouring plies of one game are nearly the same position with the
    // same result: at most one is kept in each run of this many plies, at a
    // ply the seeded generator picks (1 keeps every quiet position).
    int keepEvery = 1;
};

// The same work for every move, so that data sets are comparable. A node
// count spends the same effort in every phase; a depth is cheap in the
// endgame and dear in the middlegame.
SearchLimits move_limits(const SelfPlaySettings& settings);

struct TrainingPosition {
    std::string fen;
    int score;                  // the game's search score, White's view
    std::optional<int> deep{};  // a deeper search's score, White's view
};

struct GameRecord {
    double result = 0.5;  // 1 White won, 0.5 draw, 0 Black won
    std::vector<TrainingPosition> positions;
};

// The result (White's view) when the game is over by the rules: mate,
// stalemate, fifty moves, threefold repetition, bare material; or when the
// endgame tables know the outcome.
std::optional<double> rules_result(Board& board);

// Decides a game from the run of search scores: a lasting big advantage
// wins, a long run of level scores late in the game is a draw.
class ScoreAdjudicator {
public:
    explicit ScoreAdjudicator(const SelfPlaySettings& settings) : settings_(settings) {}
    // whiteScore: this ply's search score; ply: plies played by the engine.
    std::optional<double> after_search(int whiteScore, int ply);

private:
    const SelfPlaySettings& settings_;
    int whiteAhead_ = 0, blackAhead_ = 0, level_ = 0;
};

// Plays one game from the board's position after the random plies. No
// result when the position after them was unplayable or too lopsided.
std::optional<GameRecord> play_game(Board& board, SearchContext& ctx, std::mt19937_64& rng,
                                    const SelfPlaySettings& settings);

// Plays games from random starts (an opening of the book, or the starting
// position when the book is empty) until one is playable; nothing when a
// thousand starts in a row were too lopsided to play.
std::optional<GameRecord> play_next_game(Board& board, SearchContext& ctx, std::mt19937_64& rng,
                                         const std::vector<std::string>& openings, const SelfPlaySettings& settings);

// The score of a search of the position under `limits`, White's view. It
// starts from an empty table, so that a position's label does not depend on
// what was labelled before it.
int deep_score(Board& board, SearchContext& ctx, const SearchLimits& limits);

// "FEN | result | score" or "FEN | result | score | deep", the tuner's input line.
std::string training_line(const TrainingPosition& position, double result);

}  // namespace morvane
