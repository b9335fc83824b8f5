#include <gtest/gtest.h>

#include "config/config_loader.h"
#include "support/eval_fixture.h"
#include "support/mirror.h"

using namespace morvane;

namespace {

// King safety as the engine plays it: with the shipped parameter file.
class KingSafetyTest : public test::EvalFixture {
protected:
    void SetUp() override { ASSERT_TRUE(load_config(MORVANE_SOURCE_DIR "/Morvane047.cfg", g_config)); }

    // What one switch's terms are worth to White in this position.
    int for_white(const std::string& fen, int EngineConfig::*field) {
        const int value = contribution(fen, field);
        return board.side_to_move() == WHITE ? value : -value;
    }
    // King danger before the game phase tapers it.
    int danger_for_white(const std::string& fen) {
        const int egScale = g_config.king_danger_scale_eg_pct;
        g_config.king_danger_scale_eg_pct = g_config.king_danger_scale_mg_pct;
        const int danger = for_white(fen, &EngineConfig::king_danger_enabled);
        g_config.king_danger_scale_eg_pct = egScale;
        return danger;
    }
    int all_king_terms_for_white(const std::string& fen) {
        const EngineConfig before = g_config;
        const int on = white_eval(fen);
        g_config.king_danger_enabled = g_config.king_shelter_enabled = 0;
        g_config.chain_storm_enabled = g_config.minority_attack_enabled = 0;
        const int off = white_eval(fen);
        g_config = before;
        return on - off;
    }
};

}  // namespace

TEST_F(KingSafetyTest, MatingAttacksCostTheDefenderDearlyAndQuietKingsLittle) {
    // Each attack on the white king, or its mirror, costs most of a pawn or
    // more: 90 to 100 cp with the weights fitted to deep searches. Games set
    // the scale (one making each cost 150 cp won nothing); this guards the
    // sign and the order of size.
    constexpr int MostOfAPawn = 75;
    const char* attacks[] = {
        "6k1/5ppp/8/8/6nq/8/5PPP/R4RK1 w - - 0 1",          // Qxh2 mate threatened
        "6k1/5ppp/8/8/5rnq/8/5PPP/3R1RK1 w - - 0 1",        // queen, rook and knight
        "6k1/pp3ppp/8/8/8/5b1q/PPP2P1P/R4RK1 w - - 0 1",    // Qg2 mate threatened
        "2r3k1/pp3ppp/8/8/3b4/6q1/PP3P1P/R4RK1 w - - 0 1",  // the f-pawn pinned, the queen untouchable
    };
    for (const char* fen : attacks) {
        EXPECT_LE(danger_for_white(fen), -MostOfAPawn) << fen;
        EXPECT_GE(danger_for_white(test::mirror_fen(fen)), MostOfAPawn) << fen;
    }
    // Qh7 mate on the board against Black.
    EXPECT_GE(danger_for_white("r1b2rk1/ppp2pp1/2nq4/7Q/8/3B3R/PPP2PPP/R1B3K1 w - - 0 1"), 150);
    // Queen, rook and knight together cost over twice what each costs alone.
    const int alone = danger_for_white("6k1/5ppp/8/8/7q/8/5PPP/3R1RK1 w - - 0 1") +
                      danger_for_white("6k1/5ppp/8/8/5r2/8/5PPP/3R1RK1 w - - 0 1") +
                      danger_for_white("6k1/5ppp/8/8/6n1/8/5PPP/3R1RK1 w - - 0 1");
    EXPECT_LT(danger_for_white(attacks[1]), 2 * alone);

    // Kings that are safe, castled or leading in an ending, pay little.
    const char* quiet[] = {
        "r1bq1rk1/pppp1ppp/2n2n2/2b1p3/2B1P3/2NP1N2/PPP2PPP/R1BQ1RK1 w - - 0 1",  // both castled, pieces developed
        "r2q1rk1/pp2bppp/2n1pn2/3p4/3P4/2NBPN2/PP3PPP/R2Q1RK1 b - - 0 1",
        "8/5pk1/6p1/8/4K3/8/5PP1/8 w - - 0 1",  // the white king leads in the ending
        "8/8/4k3/8/3PK3/8/8/8 w - - 0 1",
        "4r1k1/5ppp/8/8/4K3/6P1/5P1P/4R3 w - - 0 1",  // a rook ending, the king stepped up
    };
    for (const char* fen : quiet) {
        EXPECT_LE(std::abs(for_white(fen, &EngineConfig::king_danger_enabled)), 25) << fen;
        EXPECT_LE(std::abs(all_king_terms_for_white(fen)), 40) << fen;
    }
}

TEST_F(KingSafetyTest, StormAndShelterJudgeTheCastledWing) {
    // The shape of the rule, whether or not the file plays with it.
    g_config.king_shelter_enabled = 1;
    const auto terms = [&](const char* fen) { return for_white(fen, &EngineConfig::king_shelter_enabled); };
    // Queens on, so that the middlegame terms weigh; the black king away
    // from the pawns. Pawns one step from home are no storm yet (up to the
    // centipawn the blend rounds).
    EXPECT_NEAR(terms("1k1q4/pp6/5ppp/8/8/8/5PPP/3Q2K1 w - - 0 1"), terms("1k1q4/pp6/8/8/8/8/5PPP/3Q2K1 w - - 0 1"),
                1);
    // An advanced storm costs more than a distant one, and less when blocked.
    const int far = terms("1k1q4/pp6/8/6p1/8/8/5PPP/3Q2K1 w - - 0 1");
    const int near = terms("1k1q4/pp6/8/8/8/6p1/5P1P/3Q2K1 w - - 0 1");
    const int free = terms("1k1q4/pp6/8/8/6p1/8/5P1P/3Q2K1 w - - 0 1");
    const int rammed = terms("1k1q4/pp6/8/8/6p1/6P1/5P1P/3Q2K1 w - - 0 1");
    EXPECT_LT(near, far);
    EXPECT_GT(rammed, free);
    // Kings that have stepped up are charged neither for the open files
    // around them nor for the enemy's unmoved pawns.
    EXPECT_EQ(terms("3q4/3ppp2/4k3/8/8/4K3/3PPP2/3Q4 w - - 0 1"), 0);
}
