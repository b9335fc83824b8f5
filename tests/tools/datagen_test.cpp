#include <gtest/gtest.h>

#include <memory>

#include "datagen/quiet_filter.h"
#include "datagen/self_play.h"
#include "search/search_flags.h"
#include "support/test_positions.h"
#include "tablebase/syzygy.h"

using namespace morvane;
using morvane::test::find_move;

namespace {

bool quiet(const std::string& fen, const std::string& best) {
    const auto board = std::make_unique<Board>();
    const auto ctx = std::make_unique<SearchContext>();
    board->set_fen(fen);
    const Move move = find_move(*board, best);
    EXPECT_NE(move, NULL_MOVE) << best << " in " << fen;
    return is_quiet_position(*board, *ctx, move);
}

std::optional<double> result_of(const std::string& fen) {
    static Board board;
    board.set_fen(fen);
    return rules_result(board);
}

}  // namespace

TEST(QuietFilter, KeepsOnlyPositionsTheStaticEvaluationCanJudge) {
    EXPECT_TRUE(quiet("r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3", "f1b5"));
    // In check: the score depends on the escape.
    EXPECT_FALSE(quiet("rnbqkbnr/ppp2ppp/3p4/1B2p3/4P3/8/PPPP1PPP/RNBQK1NR b KQkq - 1 3", "c7c6"));
    // The best move wins material or promotes.
    EXPECT_FALSE(quiet("rnbqkbnr/ppp1pppp/8/3p4/4P3/8/PPPP1PPP/RNBQKBNR w KQkq d6 0 2", "e4d5"));
    EXPECT_FALSE(quiet("8/4P1k1/8/8/8/8/6K1/8 w - - 0 1", "e7e8q"));
    EXPECT_FALSE(quiet("4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 2", "e5d6"));
    // A queen left en prise: whatever move the search named, a capture
    // changes the score, so the position is not quiet.
    EXPECT_FALSE(quiet("rnb1kbnr/pppp1ppp/8/4p3/3q4/4P3/PPPP1PPP/RNBQKBNR w KQkq - 0 3", "g1f3"));

    // A search stopped by its node budget does not stop the filter's own.
    Board board;
    SearchLimits limits;
    limits.nodes = 300;
    iterative_deepening(board, *std::make_unique<SearchContext>(), limits, nullptr);
    ASSERT_TRUE(g_abort.load());
    EXPECT_TRUE(quiet("r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3", "f1b5"));
}

TEST(SelfPlayRules, GamesEndByTheRulesAndByTheTables) {
    syzygy_init("");
    EXPECT_EQ(result_of(StartFen), std::nullopt);
    EXPECT_EQ(result_of("rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 1 3"), 0.0);  // White mated
    EXPECT_EQ(result_of("7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"), 0.5);                                 // stalemate
    EXPECT_EQ(result_of("r3k3/8/8/8/8/8/8/R3K2R w - - 100 80"), 0.5);                            // fifty moves
    EXPECT_EQ(result_of("8/8/4k3/8/8/3BK3/8/8 w - - 0 1"), 0.5);                                 // bare bishop
    // The tables decide as soon as a capture brings the game into them,
    // whoever is to move; later the search plays on.
    EXPECT_EQ(result_of("8/8/4k3/8/8/3QK3/8/8 b - - 0 1"), 1.0);
    EXPECT_EQ(result_of("8/8/4k3/8/8/8/1q6/4K3 w - - 0 1"), 0.0);
    EXPECT_EQ(result_of("8/8/4k3/8/8/3QK3/8/8 b - - 3 1"), std::nullopt);

    // The third occurrence of a position draws, the second does not.
    Board board;
    board.set_fen(StartFen);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(rules_result(board), std::nullopt);
        for (const char* uci : {"g1f3", "g8f6", "f3g1", "f6g8"}) board.do_move(find_move(board, uci));
    }
    EXPECT_EQ(rules_result(board), 0.5);
}

TEST(SelfPlayRules, ScoresDecideOnlyAfterALastingRun) {
    SelfPlaySettings settings;
    settings.resignScore = 1000;
    settings.resignPlies = 3;
    settings.drawScore = 10;
    settings.drawPlies = 3;
    settings.drawMinPly = 50;
    ScoreAdjudicator adjudicator(settings);
    const int scores[] = {1200, 1500, 900, -1000, -1100};  // 900 breaks the first run
    for (int ply = 1; ply <= 5; ++ply) EXPECT_EQ(adjudicator.after_search(scores[ply - 1], ply), std::nullopt) << ply;
    EXPECT_EQ(adjudicator.after_search(-1300, 6), 0.0);

    ScoreAdjudicator level(settings);
    for (int ply = 40; ply < 50; ++ply) EXPECT_EQ(level.after_search(ply % 2 ? 5 : -5, ply), std::nullopt);
    EXPECT_EQ(level.after_search(0, 50), 0.5);
}

TEST(SelfPlay, GamesAreReproducibleAndKeepNoPositionInCheck) {
    syzygy_init("");
    SelfPlaySettings settings;
    settings.depth = 2;
    settings.randomPlies = 4;
    settings.maxPlies = 60;
    auto play = [&](std::uint64_t seed) {
        Board board;
        const auto ctx = std::make_unique<SearchContext>();
        std::mt19937_64 rng(seed);
        std::optional<GameRecord> game;
        while (!game) {
            board.set_fen(StartFen);
            game = play_game(board, *ctx, rng, settings);
        }
        return *game;
    };
    const GameRecord game = play(7), again = play(7);
    ASSERT_FALSE(game.positions.empty());
    std::string lines, againLines;
    for (const TrainingPosition& p : again.positions) againLines += training_line(p, again.result);
    Board board;
    for (const TrainingPosition& p : game.positions) {
        board.set_fen(p.fen);
        EXPECT_FALSE(board.checkers()) << p.fen;
        lines += training_line(p, game.result);
    }
    EXPECT_EQ(lines, againLines);  // the same seed, the same game
}
