// The referee's game-ending rules and the PGN it leads to.
#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <tuple>

#include "match/pgn.h"
#include "match/referee.h"

using namespace match;

namespace {

// Plays UCI moves, each of which must be legal, and returns the verdict
// after the last one.
Verdict play(Referee& referee, std::initializer_list<const char*> moves, bool tables = false) {
    Verdict v;
    for (const char* text : moves) {
        const morvane::Move m = referee.find_move(text);
        EXPECT_NE(m, morvane::NULL_MOVE) << text;
        if (!m) return v;
        referee.play(m);
        v = referee.verdict(tables);
    }
    return v;
}

Referee at(const std::string& fen) {
    Referee r;
    std::string problem;
    EXPECT_TRUE(r.set_position(fen, problem)) << problem;
    return r;
}

}  // namespace

TEST(MatchReferee, ThreefoldRepetitionCountsTheWholeGameAndOnlyLegalEnPassant) {
    Referee r = at(morvane::StartFen);
    // The start position comes back a second time: play goes on.
    EXPECT_EQ(play(r, {"g1f3", "g8f6", "f3g1", "f6g8", "g1f3", "g8f6", "f3g1"}).outcome, Outcome::Ongoing);
    const Verdict v = play(r, {"f6g8"});  // third time, counting the opening position
    EXPECT_EQ(v.outcome, Outcome::Draw);
    EXPECT_EQ(v.reason, "threefold repetition");

    // Same placement but castling rights lost: a different position.
    Referee c = at("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - 0 1");
    EXPECT_EQ(play(c, {"e1e2", "e8e7", "e2e1", "e7e8", "e1e2", "e8e7", "e2e1", "e7e8"}).outcome, Outcome::Ongoing);
    EXPECT_EQ(play(c, {"e1e2", "e8e7", "e2e1", "e7e8"}).outcome, Outcome::Draw);

    // After ...c5 the b5 pawn could take en passant but for the rook on h5,
    // which would then give check: the position after the shuffles is the
    // same one, three times. Without the rook, only two repetitions.
    const std::initializer_list<const char*> line = {"c7c5", "g1f3", "g8h8", "f3g1", "h8g8",
                                                     "g1f3", "g8h8", "f3g1", "h8g8"};
    Referee pinned = at("6k1/2p5/8/KP5r/8/8/8/6N1 b - - 0 1");
    const Verdict repeated = play(pinned, line);
    EXPECT_EQ(repeated.outcome, Outcome::Draw);
    EXPECT_EQ(repeated.reason, "threefold repetition");
    Referee free = at("6k1/2p5/8/KP6/8/8/8/6N1 b - - 0 1");
    EXPECT_EQ(play(free, line).outcome, Outcome::Ongoing);
}

TEST(MatchReferee, FiftyMoveRuleYieldsToMateOnTheHundredthHalfMove) {
    const std::string fen = "k7/8/1K6/8/8/8/8/7R w - - 99 120";
    Referee mate = at(fen);
    const Verdict m = play(mate, {"h1h8"});
    EXPECT_EQ(m.outcome, Outcome::WhiteWins);
    EXPECT_EQ(m.reason, "White mates");

    Referee quiet = at(fen);
    const Verdict q = play(quiet, {"h1h2"});
    EXPECT_EQ(q.outcome, Outcome::Draw);
    EXPECT_EQ(q.reason, "fifty-move rule");
}

TEST(MatchReferee, StalemateMaterialAndIllegalMoves) {
    Referee s = at("k7/8/8/1Q6/8/8/8/7K w - - 0 1");
    EXPECT_EQ(play(s, {"b5b6"}).reason, "stalemate");

    Referee m = at("8/8/8/3k4/8/8/3r4/3BK3 w - - 0 1");
    EXPECT_EQ(play(m, {"e1d2"}).reason, "insufficient material");

    Referee r = at(morvane::StartFen);
    EXPECT_EQ(r.find_move("e7e5"), morvane::NULL_MOVE);  // not Black's turn
    EXPECT_EQ(r.find_move(""), morvane::NULL_MOVE);
    std::string problem;
    EXPECT_FALSE(r.set_position("8/8/8/8/8/8/8/8 w - - 0 1", problem));
}

TEST(MatchReferee, DeadPositionsAreOnlyThoseNoSequenceOfMovesCanMate) {
    const auto board = std::make_unique<morvane::Board>();
    auto dead = [&](const char* fen) {
        board->set_fen(fen);
        return is_dead_position(*board);
    };
    EXPECT_TRUE(dead("8/8/8/4k3/8/8/8/4K3 w - - 0 1"));
    EXPECT_TRUE(dead("8/8/8/4k3/8/8/8/4KN2 w - - 0 1"));
    EXPECT_TRUE(dead("8/8/8/4k3/8/8/8/2B1K3 b - - 0 1"));
    EXPECT_TRUE(dead("8/8/3b4/4k3/8/8/8/2B1K3 w - - 0 1"));   // both bishops on dark squares
    EXPECT_TRUE(dead("8/8/8/4k3/8/8/3B4/2B1K3 w - - 0 1"));   // two dark bishops alone
    EXPECT_FALSE(dead("8/8/2n5/4k3/8/8/8/4KN2 w - - 0 1"));   // knight against knight
    EXPECT_FALSE(dead("8/8/2n5/4k3/8/8/8/2B1K3 w - - 0 1"));  // bishop against knight
    EXPECT_FALSE(dead("8/8/4b3/4k3/8/8/8/2B1K3 w - - 0 1"));  // bishops on opposite colours
    EXPECT_FALSE(dead("8/8/8/4k3/8/8/8/3NKN2 w - - 0 1"));    // two knights
    EXPECT_FALSE(dead("8/8/8/4k3/8/8/8/2B1KB2 w - - 0 1"));   // bishops of both colours

    // Who can still mate: what a forfeit is scored against.
    board->set_fen("8/8/8/4k3/8/8/4p3/4KN2 w - - 0 1");
    EXPECT_TRUE(can_mate(*board, morvane::WHITE));  // the knight, with the pawn's help
    EXPECT_TRUE(can_mate(*board, morvane::BLACK));
    board->set_fen("8/8/8/4k3/8/8/8/4KR2 w - - 0 1");
    EXPECT_FALSE(can_mate(*board, morvane::BLACK));  // a bare king
    board->set_fen("8/8/3b4/4k3/8/8/8/2B1K3 w - - 0 1");
    EXPECT_FALSE(can_mate(*board, morvane::WHITE));  // bishops on one colour only
}

TEST(MatchReferee, GamePliesCountFromTheRealMoveNumber) {
    EXPECT_EQ(at("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - 0 1").game_plies(), 1);
    Referee book = at("r1bqkbnr/pppp1ppp/2n5/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R w KQkq - 2 3");
    EXPECT_EQ(book.game_plies(), 4);
    play(book, {"f1b5"});
    EXPECT_EQ(book.game_plies(), 5);
    EXPECT_EQ(at("4k3/8/8/8/8/8/4P3/4K3 w - -").game_plies(), 0);  // no counters: move 1
}

// The king takes: queen against king, and knight against knight, which is
// not dead, so the tables rather than the material rule decide. Without the
// tables both are played out.
TEST(MatchReferee, EndgameTablesDecideSmallEndings) {
    ASSERT_TRUE(init_adjudication_tables());
    for (const auto& [fen, outcome, reason] :
         {std::tuple{"8/8/8/4k3/8/8/3q4/3QK3 w - - 0 1", Outcome::WhiteWins, "endgame tables: win"},
          std::tuple{"8/8/2n5/4k3/8/8/3r4/4KN2 w - - 0 1", Outcome::Draw, "endgame tables: draw"}}) {
        Referee r = at(fen), plain = at(fen);
        const Verdict v = play(r, {"e1d2"}, true);
        EXPECT_EQ(v.outcome, outcome) << fen;
        EXPECT_EQ(v.ending, Ending::Adjudication) << fen;
        EXPECT_EQ(v.reason, reason);
        EXPECT_EQ(play(plain, {"e1d2"}).outcome, Outcome::Ongoing) << fen;
    }
}

TEST(MatchReferee, PgnOfAGameFromAPositionWithBlackToMove) {
    Referee r = at("rnbqkbnr/pppppppp/8/8/5P2/8/PPPPP1PP/RNBQKBNR b KQkq - 0 1");
    GameRecord game;
    game.white = "New";
    game.black = "Old \"v2\"";
    game.startFen = r.start_fen();
    game.verdict = play(r, {"e7e5", "g2g4", "d8h4"});
    game.sanMoves = r.san_moves();
    PgnHeader header;
    header.date = "2026.11.23";
    header.round = 7;
    header.timeControl = "10+0.1";
    const std::string pgn = to_pgn(game, header);
    EXPECT_NE(pgn.find("[Black \"Old \\\"v2\\\"\"]\n"), std::string::npos) << pgn;
    EXPECT_NE(pgn.find("[Result \"0-1\"]\n"), std::string::npos);
    EXPECT_NE(pgn.find("[FEN \"" + game.startFen + "\"]\n[SetUp \"1\"]\n"), std::string::npos);
    EXPECT_NE(pgn.find("[Termination \"normal\"]"), std::string::npos);
    EXPECT_NE(pgn.find("\n\n1... e5 2. g4 Qh4# {Black mates} 0-1\n"), std::string::npos) << pgn;
}
