#include "match/game.h"

#include <optional>

using namespace morvane;

namespace match {

namespace {

bool looks_like_move(const std::string& text) {
    auto file = [](char c) { return c >= 'a' && c <= 'h'; };
    auto rank = [](char c) { return c >= '1' && c <= '8'; };
    if (text.size() != 4 && text.size() != 5) return false;
    if (!file(text[0]) || !rank(text[1]) || !file(text[2]) || !rank(text[3])) return false;
    return text.size() == 4 || std::string("qrbn").find(text[4]) != std::string::npos;
}

bool last_plies_all(const ScoreTrail& trail, int plies, auto&& test) {
    if (static_cast<int>(trail.size()) < plies) return false;
    for (auto it = trail.end() - plies; it != trail.end(); ++it)
        if (!*it || !test(**it)) return false;
    return true;
}

// A side that loses on time or forfeits loses only when its opponent could
// still mate by some sequence of legal moves; otherwise the game is drawn.
Verdict loss_of(const Referee& referee, Color loser, Ending ending, const std::string& why) {
    const Color winner = loser ^ 1;
    if (!referee.can_mate(winner))
        return {Outcome::Draw, ending, why + "; " + (winner == WHITE ? "White" : "Black") + " cannot mate"};
    return {winner == WHITE ? Outcome::WhiteWins : Outcome::BlackWins, ending, why};
}

}  // namespace

Verdict score_verdict(const ScoreTrail& trail, int gamePlies, const Adjudication& rules) {
    if (rules.resign) {
        const int plies = 2 * rules.resignMoves;
        if (last_plies_all(trail, plies, [&](int s) { return s >= rules.resignScore; }))
            return {Outcome::WhiteWins, Ending::Adjudication, "Black resigns (both engines agree)"};
        if (last_plies_all(trail, plies, [&](int s) { return s <= -rules.resignScore; }))
            return {Outcome::BlackWins, Ending::Adjudication, "White resigns (both engines agree)"};
    }
    if (rules.draw && gamePlies >= 2 * rules.drawMoveNumber &&
        last_plies_all(trail, 2 * rules.drawMoves,
                       [&](int s) { return s >= -rules.drawScore && s <= rules.drawScore; }))
        return {Outcome::Draw, Ending::Adjudication, "draw agreed by adjudication"};
    return {};
}

bool GameClock::charge(std::int64_t elapsedMs, std::int64_t marginMs) {
    if (elapsedMs > leftMs_ + marginMs) return false;
    leftMs_ = leftMs_ - elapsedMs + incMs_;
    return true;
}

std::string go_command(const Effort& effort, const GameClock& whiteClock, const GameClock& blackClock) {
    if (!effort.timed()) {
        std::string go = "go";
        if (effort.nodes > 0) go += " nodes " + std::to_string(effort.nodes);
        if (effort.depth > 0) go += " depth " + std::to_string(effort.depth);
        return go;
    }
    // A clock a few milliseconds into the margin is sent as zero: engines
    // are not required to understand a negative time.
    auto left = [](const GameClock& c) { return std::to_string(std::max<std::int64_t>(c.left_ms(), 0)); };
    return "go wtime " + left(whiteClock) + " btime " + left(blackClock) + " winc " +
           std::to_string(whiteClock.inc_ms()) + " binc " + std::to_string(blackClock.inc_ms());
}

GameRecord play_game(UciEngine& white, UciEngine& black, const std::string& fen, const Adjudication& rules,
                     const std::atomic<bool>& interrupted) {
    GameRecord record;
    record.white = white.setup().name;
    record.black = black.setup().name;
    record.startFen = fen;
    UciEngine* engines[2] = {&white, &black};
    const std::string sideName[2] = {"White", "Black"};

    Referee referee;
    std::string problem;
    if (!referee.set_position(fen, problem)) {
        // Openings are checked when loaded; should one slip through, the game
        // is not played rather than scored.
        record.verdict = {Outcome::Ongoing, Ending::Unterminated, "unplayable opening: " + problem};
        record.interrupted = true;
        return record;
    }
    for (Color c : {WHITE, BLACK}) {
        std::string error;
        if (!engines[c]->prepare_game(error)) {
            record.verdict = loss_of(referee, c, Ending::Abandoned, sideName[c] + " could not start: " + error);
            return record;
        }
    }

    GameClock clocks[2] = {{white.setup().effort.baseMs, white.setup().effort.incMs},
                           {black.setup().effort.baseMs, black.setup().effort.incMs}};
    ScoreTrail trail;
    Verdict verdict;
    while (verdict.outcome == Outcome::Ongoing) {
        const Color us = referee.side_to_move();
        UciEngine& engine = *engines[us];
        const Effort& effort = engine.setup().effort;
        const std::string who = sideName[us] + " (" + engine.setup().name + ")";
        const auto deadline = SteadyClock::now() +
                              std::chrono::milliseconds(effort.timed() ? clocks[us].left_ms() + rules.timeMarginMs
                                                                       : rules.hangTimeoutMs);
        const Reply reply = engine.think(referee.position_command(), go_command(effort, clocks[WHITE], clocks[BLACK]),
                                         deadline, interrupted);
        record.side[us].moves += 1;
        record.side[us].thinkMs += reply.elapsedMs;
        if (reply.kind == Reply::Kind::Interrupted) {
            record.interrupted = true;
            break;
        }
        if (reply.kind == Reply::Kind::Crashed) {
            verdict = loss_of(referee, us, Ending::Abandoned, who + " crashed (" + reply.detail + ")");
            break;
        }
        if (reply.kind == Reply::Kind::Timeout) {
            verdict = effort.timed()
                          ? loss_of(referee, us, Ending::TimeForfeit, sideName[us] + " loses on time")
                          : loss_of(referee, us, Ending::Abandoned,
                                    who + " hung: no bestmove in " + std::to_string(rules.hangTimeoutMs / 1000) + " s");
            break;
        }
        if (effort.timed() && !clocks[us].charge(reply.elapsedMs, rules.timeMarginMs)) {
            verdict = loss_of(referee, us, Ending::TimeForfeit, sideName[us] + " loses on time");
            break;
        }
        const Move move = referee.find_move(reply.move);
        if (!move) {
            verdict = loss_of(referee, us, Ending::RulesInfraction,
                              who + (looks_like_move(reply.move) ? " played an illegal move " + reply.move
                                                                 : " sent an unreadable move '" + reply.move + "'"));
            break;
        }
        referee.play(move);
        trail.push_back(reply.score ? std::optional<int>(us == WHITE ? *reply.score : -*reply.score) : std::nullopt);
        verdict = referee.verdict(rules.tables);
        if (verdict.outcome == Outcome::Ongoing) verdict = score_verdict(trail, referee.game_plies(), rules);
    }
    record.verdict = verdict;
    record.sanMoves = referee.san_moves();
    for (Color c : {WHITE, BLACK})
        if (engines[c]->setup().effort.timed()) record.side[c].clockLeftMs = clocks[c].left_ms();
    return record;
}

}  // namespace match
