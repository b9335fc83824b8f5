#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <optional>
#include <random>

#include "core/notation.h"
#include "movegen/movegen.h"
#include "support/engine_process.h"

using namespace morvane;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int StartupMs = 30000;

enum class GameEnd { Mate, Stalemate, Repetition, FiftyMoves, Material, MoveLimit };

struct Game {
    Board board;
    std::string startFen;
    std::vector<std::string> moves;
    std::map<std::uint64_t, int> seen;

    std::optional<GameEnd> ended() {
        ScoredMove list[MAX_MOVES];
        if (generate_legal(board, list, false) == 0) return board.checkers() ? GameEnd::Mate : GameEnd::Stalemate;
        if (++seen[board.key()] >= 3) return GameEnd::Repetition;
        if (board.state().halfmove >= 100) return GameEnd::FiftyMoves;
        if (board.is_insufficient_material()) return GameEnd::Material;
        if (moves.size() >= 400) return GameEnd::MoveLimit;
        return std::nullopt;
    }

    bool play(const std::string& text) {
        ScoredMove list[MAX_MOVES];
        const int n = generate_legal(board, list, false);
        for (int i = 0; i < n; ++i)
            if (move_to_uci(list[i].move) == text) {
                board.do_move(list[i].move);
                moves.push_back(text);
                return true;
            }
        return false;
    }

    std::string position_command() const {
        std::string cmd = "position fen " + startFen + " moves";
        for (const auto& m : moves) cmd += ' ' + m;
        return cmd;
    }
};

}  // namespace

// Two engine processes play complete games at a fast clock; every move is
// checked with the engine's own generator, and a crash, an illegal move or
// a loss on time fails the test.
TEST(Match, TwentyGamesAtAFastClock) {
    constexpr long InitialMs = 2000, IncrementMs = 20;
    std::mt19937_64 rng(1234);
    std::map<GameEnd, int> endings;
    for (int gameNo = 0; gameNo < 20; ++gameNo) {
        test::EngineProcess engines[2];
        for (auto& e : engines) {
            e.send("uci");
            ASSERT_TRUE(e.wait_for("uciok", StartupMs));
            e.send("ucinewgame");
            e.send("isready");
            ASSERT_TRUE(e.wait_for("readyok", StartupMs));
        }
        Game game;
        // Four random opening plies give every game its own course.
        for (int i = 0; i < 4; ++i) {
            ScoredMove list[MAX_MOVES];
            const int n = generate_legal(game.board, list, false);
            game.board.do_move(list[rng() % n].move);
        }
        game.startFen = game.board.fen();
        game.board.set_fen(game.startFen);
        long clock[2] = {InitialMs, InitialMs};
        std::optional<GameEnd> end;
        while (!(end = game.ended())) {
            const Color side = game.board.side_to_move();
            auto& engine = engines[(gameNo + side) % 2];
            engine.send(game.position_command());
            engine.send("go wtime " + std::to_string(clock[WHITE]) + " btime " + std::to_string(clock[BLACK]) +
                        " winc " + std::to_string(IncrementMs) + " binc " + std::to_string(IncrementMs));
            const auto start = Clock::now();
            const auto reply = engine.wait_for("bestmove ", static_cast<int>(clock[side]) + 1000);
            const long used = static_cast<long>(
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
            ASSERT_TRUE(reply) << "no answer (crash?) in game " << gameNo << ": " << game.position_command();
            clock[side] -= used;
            ASSERT_GT(clock[side], 0) << "lost on time in game " << gameNo << ": " << game.position_command();
            clock[side] += IncrementMs;
            const std::string move = reply->substr(9, reply->find(' ', 9) - 9);
            ASSERT_TRUE(game.play(move)) << "illegal move " << move << " in game " << gameNo << ": "
                                         << game.position_command();
        }
        ++endings[*end];
        for (auto& e : engines) {
            e.send("quit");
            EXPECT_EQ(e.wait_exit(5000), 0);
        }
    }
    EXPECT_EQ(endings[GameEnd::MoveLimit], 0);
}
