#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <random>
#include <sstream>
#include <thread>

#include "config/engine_config.h"
#include "core/position_check.h"
#include "search/search_flags.h"
#include "support/capture.h"
#include "support/test_positions.h"
#include "uci/commands.h"
#include "uci/uci_loop.h"

using namespace morvane;

namespace {

class UciLoop : public ::testing::Test {
protected:
    Board board;
    test::CapturedStreams io;
    // One command, with what it prints captured afresh.
    void run(const std::string& line) {
        io.clear();
        execute_uci_command(board, line);
    }
};

}  // namespace

TEST_F(UciLoop, HandshakeAndReadiness) {
    run("uci");
    EXPECT_TRUE(
        io.out().starts_with("id name Morvane VORL 0.47\nid author Tallivern\n"
                             "option name Hash type spin default 16 min 1 max 2048\n"))
        << io.out();
    // Then the parameter file in use (none in this process), where a GUI's
    // engine console shows it.
    EXPECT_TRUE(
        io.out().ends_with("uciok\ninfo string aucun fichier Morvane047.cfg trouve (repertoire courant, "
                           "dossier de l'executable, dossier d'installation) : valeurs par defaut integrees\n"))
        << io.out();
    run("isready");
    EXPECT_EQ(io.out(), "readyok\n");
    EXPECT_FALSE(execute_uci_command(board, "quit"));
    EXPECT_TRUE(execute_uci_command(board, ""));
    EXPECT_TRUE(execute_uci_command(board, "xyzzy plugh"));
}

// Moves after a bad one are not played; impossible rights are dropped and
// said; a refused placement leaves what was placed, consistent, and never
// the start position.
TEST_F(UciLoop, PositionCommandsAndTheirErrors) {
    const struct {
        const char *command, *err, *fen;
    } cases[] = {
        {"position startpos moves e2e4 e7e5 xx g1f3", "info string coup UCI non reconnu ou illegal: xx\n",
         "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6 0 1"},
        {"position fen 4k3/1P6/8/8/8/8/8/4K3 w - - 0 1 moves b7b8",
         "info string coup UCI non reconnu ou illegal: b7b8\n", "4k3/1P6/8/8/8/8/8/4K3 w - - 0 1"},
        {"position fen 4k3/1P6/8/8/8/8/8/4K3 w - - 0 1 moves b7b8q", "", "1Q2k3/8/8/8/8/8/8/4K3 b - - 0 1"},
        {"position fen 4k3/8/8/8/8/8/8/4K3 w KQkq e6 0 1",
         "info string FEN corrigee: droits de roque sans roi ou tour a leur place retires (KQkq), "
         "case en passant incoherente retiree (e6)\n",
         "4k3/8/8/8/8/8/8/4K3 w - - 0 1"},
        {"position fen r3k3/8/8/3pP3/8/8/8/4K2R w KQkq d6 0 1",  // d6: a real double step
         "info string FEN corrigee: droits de roque sans roi ou tour a leur place retires (Qk)\n",
         "r3k3/8/8/3pP3/8/8/8/4K2R w Kq d6 0 1"},
        {"position sideways", "", "r3k3/8/8/3pP3/8/8/8/4K2R w Kq d6 0 1"},  // an unknown form changes nothing
        {"position fen 4k3/8/8/8/8/8/4Q3/4K3 w - - 0 1 moves e2e7",
         "info string coups ignores, position injouable: le roi du camp qui n'a pas le trait est en echec\n",
         "4k3/8/8/8/8/8/4Q3/4K3 w - - 0 1"},
        {"position fen rnbqkbnr/ppppxppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1 moves e2e4",
         "info string EXCEPTION pendant position: FEN invalide: piece inconnue\n",
         "rnbqkbnr/pppp4/8/8/8/8/8/8 w - - 0 1"},
    };
    for (const auto& c : cases) {
        run(c.command);
        EXPECT_EQ(io.err(), c.err) << c.command;
        EXPECT_EQ(board.fen(), c.fen) << c.command;
        EXPECT_EQ(board.key(), board.compute_key()) << c.command;
    }
    // "go" must not answer a move for a position the GUI does not have.
    run("go depth 1");
    EXPECT_EQ(io.out(), "bestmove 0000\n");
    EXPECT_EQ(io.err(),
              "info string position injouable, pas de recherche: il faut exactement un roi de chaque couleur\n");
    run("position fen 4k3/8/8/8/8/8/4Q3/4K3 w - - 0 1");
    run("go perft 1");
    EXPECT_EQ(io.out(), "");
}

TEST_F(UciLoop, NewGameThenPerftDividedByRootMove) {
    run("position startpos moves e2e4");
    run("ucinewgame");
    EXPECT_EQ(board.fen(), StartFen);
    run("go perft 1");
    EXPECT_EQ(io.out().find("b1a3: 1\n"), 0u);
    EXPECT_NE(io.out().find("\nNodes searched: 20\n"), std::string::npos);
    run("go perft 0");
    EXPECT_NE(io.out().find("\nNodes searched: 20\n"), std::string::npos);
    run("go perft 3");
    EXPECT_NE(io.out().find("e2e4: 600\n"), std::string::npos);
    EXPECT_NE(io.out().find("\nNodes searched: 8902\n"), std::string::npos);
    run("position fen 7k/6Q1/6K1/8/8/8/8/8 b - - 0 1");  // mated: no moves to count
    run("go perft 2");
    EXPECT_EQ(io.out(), "\nNodes searched: 0\n");
}

TEST_F(UciLoop, SetoptionSwitchesAndConfigPath) {
    run("setoption name No Such Option value 3");
    EXPECT_EQ(io.err(), "info string option inconnue: No Such Option\n");

    run("setoption name UseMobility value false");
    EXPECT_EQ(g_config.mobility_enabled, 0);
    run("uci");
    EXPECT_NE(io.out().find("option name UseMobility type check default false\n"), std::string::npos);
    EXPECT_NE(io.out().find("option name UseOutposts type check default true\n"), std::string::npos);
    run("setoption name UseMobility value yes");
    EXPECT_EQ(io.err(), "info string valeur booleenne invalide pour UseMobility: yes\n");
    EXPECT_EQ(g_config.mobility_enabled, 0);
    run("setoption name UseMobility value true");
    EXPECT_EQ(g_config.mobility_enabled, 1);
    run("setoption name UsePruning value false");
    EXPECT_FALSE(g_pruningEnabled.load());
    run("setoption name UsePruning value true");
    EXPECT_TRUE(g_pruningEnabled.load());

    run("setoption name ConfigPath value <empty>");
    EXPECT_EQ(io.err(), "info string ConfigPath vide, ignore\n");
    run("setoption name ConfigPath value /no/such/file.cfg");
    EXPECT_EQ(io.err(), "info string impossible de charger la configuration depuis \"/no/such/file.cfg\"\n");
}

TEST_F(UciLoop, RandomInputNeverEndsTheProcessNorCorruptsTheBoard) {
    // Commands built from protocol words, numbers, FEN fragments and junk.
    std::vector<std::string> words{"\t"};
    std::istringstream vocabulary(
        "uci isready position startpos fen moves go perft depth setoption name value Hash d print ucinewgame stop "
        "e2e4 e7e8q e1g1 a7a8n 8/8/8 k7/8/8/8/8/8/8/7K rnbqkbnr/pppppppp w b - KQkq e3 0 1 99999999999999999999 -5 "
        "<empty> / x");
    for (std::string word; vocabulary >> word;) words.push_back(word);
    std::mt19937_64 rng(5);
    for (int i = 0; i < 3000; ++i) {
        std::string line;
        const int count = static_cast<int>(rng() % 12);
        for (int t = 0; t < count; ++t) {
            if (rng() % 5 == 0) {
                for (int c = static_cast<int>(rng() % 8); c > 0; --c) line += static_cast<char>(rng() % 256);
            } else {
                line += words[rng() % words.size()];
            }
            line += ' ';
        }
        // Only shallow perfts, so that the test stays fast.
        if (line.find("perft") != std::string::npos) line = "go perft " + std::to_string(rng() % 3);
        if (line.rfind("quit", 0) == 0) continue;
        // A "go" may have started a search: stop it before the captured
        // output is cleared, or the search thread would still be writing.
        execute_uci_command(board, line);
        execute_uci_command(board, "stop");
        io.clear();
        ASSERT_EQ(board.key(), board.compute_key()) << line;
    }
    run(std::string(1 << 20, 'e'));
    run("position fen " + std::string(1 << 16, '8'));
    execute_uci_command(board, "go perft notanumber");
    execute_uci_command(board, "stop");
    EXPECT_EQ(board.key(), board.compute_key());

    // Random FENs, accepted or refused, leave a board that hashes as it stands.
    const std::string alphabet = "pnbrqkPNBRQK12345678/ wb-KQkqabcdefgh0123456789";
    rng.seed(11);
    for (int i = 0; i < 3000; ++i) {
        std::string fen;
        for (int c = static_cast<int>(rng() % 80); c > 0; --c) fen += alphabet[rng() % alphabet.size()];
        try {
            board.set_fen(fen);
            ASSERT_EQ(board.key(), board.compute_key());
            Board reread;
            reread.set_fen(board.fen());
            ASSERT_EQ(reread.fen(), board.fen());
        } catch (const std::runtime_error&) {
            // Rejected: what was placed stays, and must hash as it stands.
            ASSERT_EQ(board.key(), board.compute_key()) << fen;
        }
    }
}

// A bad value is reported and skipped; a clock below zero has flagged, and
// the answer must come without any "stop".
TEST_F(UciLoop, GoValuesMustBeWholeNumbersAndNoTimeLeftAnswersAtOnce) {
    run("position startpos");
    for (const std::string bad : {"wtime 1e30", "depth 12abc", "btime 0x10", "nodes +5", "depth 99999999999"}) {
        run("go " + bad + " depth 1");
        stop_and_join_search();
        const std::string keyword = bad.substr(0, bad.find(' '));
        EXPECT_EQ(io.err(), "info string valeur invalide pour " + keyword + ": " + bad.substr(bad.find(' ') + 1) + "\n");
        EXPECT_TRUE(io.out().ends_with("\n") && io.out().find("bestmove ") != std::string::npos) << bad;
    }
    for (const std::string& fen : {std::string(StartFen), std::string("4k3/8/8/8/8/8/3q4/4K3 w - - 0 1")}) {
        for (const char* go : {"go wtime -5000 btime -5000", "go wtime -1"}) {
            run("position fen " + fen);
            run(go);
            const auto start = std::chrono::steady_clock::now();
            while (g_searching.load() && std::chrono::steady_clock::now() - start < std::chrono::seconds(5))
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            EXPECT_FALSE(g_searching.load()) << go << " still searching";
            stop_and_join_search();
            const std::string out = io.out();
            const auto at = out.find("bestmove ");
            ASSERT_NE(at, std::string::npos) << go;
            Board check;
            check.set_fen(fen);
            const std::string move = out.substr(at + 9, out.find('\n', at) - at - 9);
            // The one-ply search still takes a queen giving check.
            if (fen != StartFen) {
                EXPECT_EQ(move, "e1d2") << go;
            }
            EXPECT_NE(test::find_move(check, move), NULL_MOVE) << go << ": " << move;
        }
    }
}

// A search that throws leaves the board somewhere inside its tree, null
// moves included; the answer must come from the root.
TEST(FallbackMove, AnswersFromTheRootWhereverTheSearchStopped) {
    const auto board = std::make_unique<Board>();
    board->set_fen("7k/8/8/8/8/8/6q1/K7 w - - 0 1");  // White's king has one move
    const std::uint64_t rootKey = board->key();
    const int rootPly = board->ply();
    board->do_move(test::find_move(*board, "a1b1"));
    board->do_move(test::find_move(*board, "g2g3"));
    board->do_null_move();
    const Move m = fallback_move(*board, rootPly);
    EXPECT_EQ(board->key(), rootKey);
    EXPECT_EQ(board->ply(), rootPly);
    EXPECT_EQ(m, test::find_move(*board, "a1b1"));

    board->set_fen("7k/8/8/8/8/8/5q2/7K w - - 0 1");  // stalemate
    EXPECT_EQ(fallback_move(*board, board->ply()), NULL_MOVE);
}
