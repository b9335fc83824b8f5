#include <gtest/gtest.h>

#include <fstream>

#include "core/notation.h"
#include "movegen/movegen.h"
#include "sts/epd.h"
#include "sts/san.h"
#include "support/capture.h"
#include "support/test_positions.h"

using namespace morvane;

namespace {

std::string san_of(Board& board, const char* fen, const char* uci) {
    board.set_fen(fen);
    const Move m = test::find_move(board, uci);
    return m ? move_to_san(board, m) : "?";
}

std::string uci_of(Board& board, const char* fen, const char* san) {
    board.set_fen(fen);
    const Move m = san_to_move(board, san);
    return m ? move_to_uci(m) : "null";
}

}  // namespace

TEST(San, RoundTripsEveryLegalMove) {
    Board board;
    std::mt19937_64 rng(21);
    int checked = 0;
    test::walk_random_games(board, rng, 120, 60, [&](Board& b, const ScoredMove* moves, int n) {
        for (int i = 0; i < n; ++i) {
            const std::string san = move_to_san(b, moves[i].move);
            ASSERT_EQ(san_to_move(b, san), moves[i].move) << b.fen() << " " << san;
            ++checked;
        }
    });
    EXPECT_GT(checked, 100000);
}

// The SAN this engine writes, then beyond what the round trip reads back:
// zeros for castling, extra or missing disambiguation, annotations.
TEST(San, WritesDisambiguationChecksAndPromotionsAndReadsLeniently) {
    Board b;
    EXPECT_EQ(san_of(b, "4k3/8/8/8/8/5N2/8/1N2K3 w - - 0 1", "b1d2"), "Nbd2");
    EXPECT_EQ(san_of(b, "4k3/8/8/R7/8/8/8/R3K3 w - - 0 1", "a1a3"), "R1a3");
    EXPECT_EQ(san_of(b, "8/7k/8/Q7/8/8/8/Q3Q1K1 w - - 0 1", "a1e5"), "Qa1e5");
    EXPECT_EQ(san_of(b, "5r2/4P3/8/8/8/8/8/4K2k w - - 0 1", "e7f8n"), "exf8=N");
    EXPECT_EQ(san_of(b, "5r2/4P2k/8/8/8/8/8/4K3 w - - 0 1", "e7f8n"), "exf8=N+");
    EXPECT_EQ(san_of(b, "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1", "e1c1"), "O-O-O");
    EXPECT_EQ(san_of(b, "6k1/5ppp/8/8/8/8/8/R5K1 w - - 0 1", "a1a8"), "Ra8#");
    EXPECT_EQ(move_to_san(b, NULL_MOVE), "(aucun coup)");

    const char* castle = "r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1";
    EXPECT_EQ(uci_of(b, castle, "0-0-0"), "e1c1");
    EXPECT_EQ(uci_of(b, castle, "o-o"), "null");
    const char* knights = "4k3/8/8/8/8/5N2/8/1N2K3 w - - 0 1";
    EXPECT_EQ(uci_of(b, knights, "N1d2"), "b1d2");
    EXPECT_EQ(uci_of(b, knights, "Nb1xd2!?"), "b1d2");
    EXPECT_EQ(uci_of(b, knights, "Nd2"), "b1d2");  // first in generation order, no ambiguity check
    const char* promo = "4k3/P7/8/3p4/4P3/8/8/4K3 w - - 0 1";
    EXPECT_EQ(uci_of(b, promo, "a8=Q+"), "a7a8q");
    EXPECT_EQ(uci_of(b, promo, "a8=q"), "a7a8n");  // any other letter names the knight
    EXPECT_EQ(uci_of(b, promo, "a8Q"), "null");
    EXPECT_EQ(uci_of(b, promo, "a8"), "null");
    EXPECT_EQ(uci_of(b, promo, "Pe5"), "null");
    EXPECT_EQ(uci_of(b, promo, "+"), "null");
}

TEST(Epd, OperationsAndMessages) {
    const std::string path = testing::TempDir() + "morvane_suite.epd";
    std::ofstream(path) << "  \n# comment\n"
                        << "8/8/8/8/8/8/8/K6k w - - bm Ka2 Kb1; bm Kb2; id \"x\"; c0 \"e4=10,d4 = 7,bad,=3\"; am Ka2;\n"
                        << "8/8/8/8/8/8/8/K6k w - -\n"
                        << "8/8/8 w\n"
                        << "8/8/8/8/8/8/8/K6k w - - 0 30 bm Ka2;\n";
    test::CapturedStreams io;
    const auto suite = parse_epd_file(path);
    ASSERT_EQ(suite.size(), 1u);
    EXPECT_EQ(suite[0].fen, "8/8/8/8/8/8/8/K6k w - - 0 1");
    EXPECT_EQ(suite[0].best_moves, (std::vector<std::string>{"Ka2", "Kb1", "Kb2"}));
    EXPECT_EQ(suite[0].id, "x");
    EXPECT_EQ(suite[0].line, 3);
    using Alt = std::vector<std::pair<std::string, int>>;
    EXPECT_EQ(suite[0].alternatives, (Alt{{"e4", 10}, {"d4", 7}, {"", 3}}));
    EXPECT_EQ(io.err(),
              "Ligne 4 : pas de 'bm', ignoree\nLigne 5 : FEN incomplet, ignoree\n"
              "Ligne 6 : pas de 'bm', ignoree\n");
    io.clear();
    EXPECT_TRUE(parse_epd_file("/no/such.epd").empty());
    EXPECT_EQ(io.err(), "Impossible d'ouvrir /no/such.epd\n");
    EXPECT_EQ(trim(" \t\r\n"), "");
    EXPECT_EQ(extract_quoted("id \"abc"), "");
}
