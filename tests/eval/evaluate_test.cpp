#include <gtest/gtest.h>

#include <memory>

#include "eval/see.h"
#include "support/eval_fixture.h"
#include "support/mirror.h"
#include "support/test_positions.h"

using namespace morvane;

namespace {

class EvalTest : public test::EvalFixture {
protected:
    // Expected blended score for a (mg, eg) amount at the board's phase.
    static int blended(int mg, int eg, int phase) { return (mg * phase + eg * (24 - phase)) / 24; }
};

}  // namespace

TEST_F(EvalTest, ColourMirrorScoresTheSame) {
    std::mt19937_64 rng(17);
    Board mirrored;
    int checked = 0, tieBroken = 0;
    for (int lazy = 0; lazy < 2; ++lazy) {
        g_config.lazy_eval_enabled = lazy;
        g_config.lazy_eval_tier1_enabled = lazy;
        test::walk_random_games(board, rng, 60, 80, [&](Board& b, const ScoredMove*, int) {
            mirrored.set_fen(test::mirror_fen(b.fen()));
            const int alpha = static_cast<int>(rng() % 600) - 300;
            if (evaluate(b, alpha, alpha + 50) != evaluate(mirrored, alpha, alpha + 50)) {
                // The exchange threats pick the lowest-numbered of two
                // equally cheap attackers, which is not colour-blind; that
                // must be the only source of a difference.
                g_config.threat_see_enabled = 0;
                ASSERT_EQ(evaluate(b, alpha, alpha + 50), evaluate(mirrored, alpha, alpha + 50)) << b.fen();
                g_config.threat_see_enabled = 1;
                ++tieBroken;
            }
            ++checked;
        });
    }
    EXPECT_GT(checked, 5000);
    EXPECT_LT(tieBroken * 20, checked);
}

TEST_F(EvalTest, StartPositionIsBalancedAndLazyExitsReturnPartialScores) {
    EXPECT_EQ(eval(StartFen), 0);
    // Doubled and isolated pawns and uneven piece activity: each exit leaves
    // out terms that count here, so its partial score shows that it fired.
    const char* uneven = "r2qkb1r/pp3ppp/2n1bn2/8/8/2P2NP1/P1P1PPBP/R1BQ1RK1 w kq - 0 9";
    const int full = eval(uneven);
    g_config.lazy_eval_tier1_enabled = 1;
    const int materialOnly = evaluate(board, 2000, 2001);
    g_config.lazy_eval_tier1_enabled = 0;
    const int withPawns = evaluate(board, 2000, 2001);
    EXPECT_NE(materialOnly, full);
    EXPECT_NE(withPawns, full);
    EXPECT_NE(withPawns, materialOnly);
    // Phase 0 (kings and pawns): never lazy.
    const int pawnEnding = eval("4k3/pppp4/8/8/8/8/PPP5/4K3 w - - 0 1");
    EXPECT_EQ(evaluate(board, 2000, 2001), pawnEnding);
}

// Whichever lazy stage an earlier call stopped at, and after the weights
// change between searches.
TEST_F(EvalTest, TheSearchCacheAnswersAsANewEvaluationWould) {
    g_config.lazy_eval_tier1_enabled = 1;
    g_config.lazy_eval_min_phase = 0;
    g_config.king_shelter_enabled = 1;
    std::mt19937_64 rng(5);
    std::vector<std::string> fens;
    test::walk_random_games(board, rng, 30, 60, [&](Board& b, const ScoredMove*, int) { fens.push_back(b.fen()); });
    ASSERT_GT(fens.size(), 1000u);
    const auto cache = std::make_unique<EvalCache>();
    for (int search = 0; search < 2; ++search) {
        ++cache->generation;
        for (const auto& fen : fens) {
            board.set_fen(fen);
            for (int call = 0; call < 4; ++call) {
                const int alpha = static_cast<int>(rng() % 1600) - 800;
                const int beta = alpha + 1 + static_cast<int>(rng() % 200);
                ASSERT_EQ(evaluate(board, alpha, beta, *cache), evaluate(board, alpha, beta)) << fen;
            }
        }
        g_config.material_knight += 90;  // weights change between searches only
        g_config.mobility_knight_mg += 20;
        g_config.king_shelter_bonus_per_pawn += 15;
    }
}

TEST_F(EvalTest, PawnCountAdjustsMinorPieces) {
    // Material only: switch every term off, compare a knight against nothing.
    const char* withKnight = "4k3/8/8/8/8/8/8/1N2K3 w - - 0 1";
    const char* bare = "4k3/8/8/8/8/8/8/4K3 w - - 0 1";
    const int pstMg = g_config.pst_knight_mg[1], pstEg = g_config.pst_knight_eg[1];
    g_config.mobility_enabled = 0;
    g_config.threats_extended_enabled = 0;
    g_config.king_danger_enabled = 0;
    g_config.king_shelter_enabled = 0;
    // Phase 1 with one knight: blend of mg and eg.
    EXPECT_EQ(eval(withKnight) - eval(bare), blended(240 + pstMg, 240 + pstEg, 1));
    g_config.kaufman_enabled = 0;
    EXPECT_EQ(eval(withKnight) - eval(bare), blended(336 + pstMg, 336 + pstEg, 1));
}

TEST_F(EvalTest, OnlyOppositeBishopsScaleTheEndgame) {
    // c1 is dark: against g8 (light) the ending is scaled toward a draw,
    // against f8 (dark) it is not.
    const char* opposite = "4k1b1/p7/8/8/8/8/PP6/2B1K3 w - - 0 1";
    const int scaled = eval(opposite);
    EXPECT_LT(std::abs(scaled), std::abs(scaled - contribution(opposite, &EngineConfig::scale_factor_enabled)));
    EXPECT_EQ(contribution("4kb2/p7/8/8/8/8/PP6/2B1K3 w - - 0 1", &EngineConfig::scale_factor_enabled), 0);
}

TEST_F(EvalTest, TermsMatchTheirWorkedAmounts) {
    // Pawn threats: e4 pawn hits d5 knight and f5 rook: 17 + 4 for White.
    const char* threats = "4k3/8/8/3n1r2/4P3/8/8/4K3 w - - 0 1";
    g_config.threat_see_enabled = 0;
    g_config.hanging_piece_penalty_pct = 0;
    EXPECT_EQ(contribution(threats, &EngineConfig::threats_enabled), 21);

    // Pin: bishop b5 pins knight c6 to the king e8: 17 / 54 for White.
    const char* pin = "4k3/8/2n5/1B6/8/8/8/4K3 w - - 0 1";
    // Differences of truncated blends may be one off the blended amount.
    EXPECT_NEAR(contribution(pin, &EngineConfig::pins_enabled), blended(17, 54, 2), 1);

    // Imbalance: rook + bishop + 3 pawns against queen + 5 pawns.
    const char* imbalance = "3qk3/pppp1p2/8/8/8/8/PPP5/1B2K2R w - - 0 1";
    g_config.imbalance_rook_bishop_vs_queen_mg = 0;
    g_config.imbalance_rook_bishop_vs_queen_eg = 0;
    const int without = eval(imbalance);
    g_config.imbalance_rook_bishop_vs_queen_mg = 2;
    g_config.imbalance_rook_bishop_vs_queen_eg = -59;
    EXPECT_NEAR(eval(imbalance) - without, blended(2, -59, 7), 1);
}

TEST_F(EvalTest, WeightChangesApplyAtOnceThroughTheCachedPawnEntry) {
    const char* doubled = "4k3/8/8/8/8/4P3/4P3/4K3 w - - 0 1";
    const int before = eval(doubled);
    g_config.doubled_pawn_penalty_eg += 50;
    EXPECT_EQ(eval(doubled), before - 50);  // phase 0: endgame weight only
}

TEST(See, ExchangeSequences) {
    Board board;
    auto see_of = [&](const char* fen, Square from, Square to, int flag = FLAG_NORMAL, int promo = 0) {
        board.set_fen(fen);
        return see(board, make_move(from, to, flag, promo));
    };
    // Pawn takes a knight defended by a pawn: knight - pawn.
    EXPECT_EQ(see_of("4k3/8/2p5/3n4/4P3/8/8/4K3 w - - 0 1", 28, 35), 336 - 100);
    // Undefended piece: its value; queen takes a pawn defended by a pawn.
    EXPECT_EQ(see_of("4k3/8/8/3r4/8/8/8/3QK3 w - - 0 1", 3, 35), 503);
    EXPECT_EQ(see_of("4k3/8/2p5/3p4/8/8/8/3QK3 w - - 0 1", 3, 35), 100 - 1005);
    // Quiet promotion: 0; capture-promotion counts the promotion gain.
    EXPECT_EQ(see_of("4k3/P7/8/8/8/8/8/4K3 w - - 0 1", 48, 56, FLAG_PROMOTION, 3), 0);
    EXPECT_EQ(see_of("1r2k3/P7/8/8/8/8/8/4K3 w - - 0 1", 48, 57, FLAG_PROMOTION, 3), 503 + 1005 - 100);
    // En passant lifts the captured pawn: the rook behind joins in (x-ray).
    EXPECT_EQ(see_of("4k3/8/8/r2pP2R/8/8/8/4K3 w - d6 0 1", 36, 43, FLAG_EN_PASSANT), 100);
    // X-ray: rooks doubled against a defended rook.
    EXPECT_EQ(see_of("3rk3/3r4/8/8/8/8/3R4/3RK3 w - - 0 1", 11, 51), 0);
}
