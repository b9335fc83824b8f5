#include "datagen/self_play.h"

#include <algorithm>
#include <cstdlib>

#include "common/training_line.h"
#include "datagen/quiet_filter.h"
#include "movegen/movegen.h"
#include "search/tt.h"
#include "tablebase/syzygy.h"

namespace morvane {

namespace {

// Mates and table wins: the score no longer measures the position.
constexpr int DecisiveScore = 10000;

// Games search with the engine's usual 16 MB table, as every recorded chunk
// was made with it. A label search stores at most a few hundred thousand
// entries, and emptying a table a quarter that size before each label makes
// a pass at 50,000 nodes a position about 6 % faster.
constexpr int GameTableMegabytes = 16, LabelTableMegabytes = 4;

double white_result_for_mover(const Board& board, double moverResult) {
    return board.side_to_move() == WHITE ? moverResult : 1.0 - moverResult;
}

}  // namespace

SearchLimits move_limits(const SelfPlaySettings& settings) {
    SearchLimits limits;
    if (settings.nodes) limits.nodes = settings.nodes;
    else limits.depth = settings.depth;
    return limits;
}

std::optional<double> rules_result(Board& board) {
    ScoredMove moves[MAX_MOVES];
    if (generate_legal(board, moves, false) == 0) return board.checkers() ? white_result_for_mover(board, 0.0) : 0.5;
    if (board.state().halfmove >= 100 || board.earlier_occurrences(2) >= 2 || board.is_insufficient_material())
        return 0.5;
    // The tables answer right after a capture or pawn move, which is how a
    // game enters them; wins the fifty-move rule spoils come back as draws.
    int tableScore = 0;
    if (syzygy_probe_search(board, 0, tableScore))
        return tableScore > 0   ? white_result_for_mover(board, 1.0)
               : tableScore < 0 ? white_result_for_mover(board, 0.0)
                                : 0.5;
    return std::nullopt;
}

std::optional<double> ScoreAdjudicator::after_search(int whiteScore, int ply) {
    whiteAhead_ = whiteScore >= settings_.resignScore ? whiteAhead_ + 1 : 0;
    blackAhead_ = whiteScore <= -settings_.resignScore ? blackAhead_ + 1 : 0;
    level_ = std::abs(whiteScore) <= settings_.drawScore ? level_ + 1 : 0;
    if (whiteAhead_ >= settings_.resignPlies) return 1.0;
    if (blackAhead_ >= settings_.resignPlies) return 0.0;
    if (level_ >= settings_.drawPlies && ply >= settings_.drawMinPly) return 0.5;
    return std::nullopt;
}

std::optional<GameRecord> play_game(Board& board, SearchContext& ctx, std::mt19937_64& rng,
                                    const SelfPlaySettings& settings) {
    for (int i = 0; i < settings.randomPlies; ++i) {
        ScoredMove moves[MAX_MOVES];
        const int n = generate_legal(board, moves, false);
        if (n == 0) return std::nullopt;
        board.do_move(moves[rng() % n].move);
    }
    // An empty table, so that a game replays identically whatever was
    // searched before it.
    g_tt.resize_mb(GameTableMegabytes);
    const SearchLimits limits = move_limits(settings);
    ScoreAdjudicator adjudicator(settings);
    GameRecord game;
    int pickedPly = 0;
    for (int ply = 0;; ++ply) {
        if (const auto result = rules_result(board)) {
            if (ply == 0) return std::nullopt;
            game.result = *result;
            return game;
        }
        if (ply >= settings.maxPlies) return game;
        const SearchResult searched = iterative_deepening(board, ctx, limits, nullptr);
        const int whiteScore = board.side_to_move() == WHITE ? searched.score : -searched.score;
        if (ply == 0 && std::abs(whiteScore) > settings.maxOpeningScore) return std::nullopt;
        if (settings.keepEvery > 1 && ply % settings.keepEvery == 0)
            pickedPly = ply + static_cast<int>(rng() % static_cast<std::uint64_t>(settings.keepEvery));
        const bool picked = settings.keepEvery <= 1 || ply == pickedPly;
        if (picked && std::abs(whiteScore) < DecisiveScore && is_quiet_position(board, ctx, searched.best_move))
            game.positions.push_back({board.fen(), whiteScore});
        if (const auto result = adjudicator.after_search(whiteScore, ply)) {
            game.result = *result;
            return game;
        }
        board.do_move(searched.best_move);
    }
}

std::optional<GameRecord> play_next_game(Board& board, SearchContext& ctx, std::mt19937_64& rng,
                                         const std::vector<std::string>& openings, const SelfPlaySettings& settings) {
    constexpr int MaxDroppedStarts = 1000;
    for (int dropped = 0; dropped < MaxDroppedStarts; ++dropped) {
        board.set_fen(openings.empty() ? StartFen : openings[rng() % openings.size()]);
        if (std::optional<GameRecord> game = play_game(board, ctx, rng, settings)) return game;
    }
    return std::nullopt;
}

int deep_score(Board& board, SearchContext& ctx, const SearchLimits& limits) {
    g_tt.resize_mb(LabelTableMegabytes);
    const SearchResult searched = iterative_deepening(board, ctx, limits, nullptr);
    return board.side_to_move() == WHITE ? searched.score : -searched.score;
}

std::string training_line(const TrainingPosition& position, double result) {
    return format_training_line(position.fen, result, position.score, position.deep);
}

}  // namespace morvane
