#include "match/match_runner.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <mutex>
#include <sstream>
#include <thread>

#include "common/replace_file.h"
#include "match/match_state.h"

namespace match {

namespace {

using std::chrono::duration;

double points_for_white(Outcome o) { return o == Outcome::WhiteWins ? 1 : o == Outcome::Draw ? 0.5 : 0; }

// Index of a pair in the pentanomial counts: the first engine's points in
// its two games, in half points.
int pair_index(double firstGamePoints, double secondGamePoints) {
    return static_cast<int>(std::lround(2 * (firstGamePoints + secondGamePoints)));
}

double games_per_hour(std::int64_t games, double seconds) { return seconds > 0 ? games * 3600.0 / seconds : 0; }

double ms_per_move(const EngineTotals& t) { return t.moves ? static_cast<double>(t.thinkMs) / t.moves : 0.0; }

double mean_clock_left_ms(const EngineTotals& t) {
    return t.timedGames ? static_cast<double>(t.clockLeftMs) / t.timedGames : 0.0;
}

std::string progress_line(const MatchSummary& s, const MatchConfig& config) {
    const EloEstimate e = estimate_elo(s.pairs);
    std::ostringstream line;
    line << std::fixed << std::setprecision(1) << "Games " << s.wdl.games() << '/' << config.games << "  +"
         << s.wdl.wins << " -" << s.wdl.losses << " =" << s.wdl.draws << "  " << 100 * s.wdl.score() << "%  Elo " << e.elo
         << " +- " << e.margin;
    if (config.sprt)
        line << std::setprecision(2) << "  LLR " << s.llr << " [" << config.sprt->lower() << ", "
             << config.sprt->upper() << ']';
    line << std::setprecision(0) << "  " << games_per_hour(s.wdl.games(), s.seconds) << " games/h";
    return line.str();
}

// The periodic line of a logged run also carries what the summary would
// report, so a run cut off before its summary (a killed session, a power
// cut) still leaves its pairs and clock use in the log.
std::string logged_progress_line(const MatchSummary& s, const MatchConfig& config) {
    std::ostringstream line;
    line << progress_line(s, config) << "  pairs " << s.pairs[0] << ',' << s.pairs[1] << ',' << s.pairs[2] << ','
         << s.pairs[3] << ',' << s.pairs[4] << std::fixed << std::setprecision(0) << "  ms/move "
         << ms_per_move(s.totals[0]) << '/' << ms_per_move(s.totals[1]);
    if (s.totals[0].timedGames)
        line << "  clock left " << mean_clock_left_ms(s.totals[0]) << '/' << mean_clock_left_ms(s.totals[1]);
    return line.str();
}

}  // namespace

MatchSummary run_match(const MatchConfig& config, std::atomic<bool>& stop, std::ostream& progress,
                       const MatchProgress& resumed) {
    MatchProgress state = resumed;
    state.fingerprint = match_fingerprint(config);
    MatchSummary& summary = state.summary;
    const double secondsBefore = summary.seconds;
    std::mutex mutex;  // guards the state, the PGN file and the progress output
    std::ofstream pgn;
    if (!config.pgnPath.empty()) {
        pgn.open(config.pgnPath, std::ios::app);
        summary.pgnFailed = !pgn;
    }
    const auto start = SteadyClock::now();
    const int pairCount = (config.games + 1) / 2;
    std::atomic<int> nextPair{0};
    std::int64_t lastReported = summary.wdl.games();  // games at the last progress line, without a live line
    bool stateFailed = false;

    auto update_verdict = [&] {
        if (!config.sprt) return;
        summary.llr = sprt_llr(summary.pairs, *config.sprt);
        summary.verdict = sprt_verdict(summary.pairs, summary.llr, *config.sprt);
        if (summary.verdict != SprtVerdict::Continue) stop.store(true);
    };
    update_verdict();  // a resumed test may have decided already

    // Called with the mutex held once a game is over; whiteEngine is the
    // index of the engine that had White. Returns the first engine's points.
    auto record_game = [&](const GameRecord& game, int whiteEngine, int round) {
        const double whitePoints = points_for_white(game.verdict.outcome);
        const double firstPoints = whiteEngine == 0 ? whitePoints : 1 - whitePoints;
        if (firstPoints == 1) ++summary.wdl.wins;
        else if (firstPoints == 0) ++summary.wdl.losses;
        else ++summary.wdl.draws;
        ++summary.reasons[game.verdict.reason];
        for (int color = 0; color < 2; ++color) {
            EngineTotals& t = summary.totals[color == 0 ? whiteEngine : 1 - whiteEngine];
            t.moves += game.side[color].moves;
            t.thinkMs += game.side[color].thinkMs;
            if (game.side[color].clockLeftMs >= 0) {
                ++t.timedGames;
                t.clockLeftMs += game.side[color].clockLeftMs;
            }
        }
        if (pgn.is_open()) {
            PgnHeader header = config.header;
            header.round = round;
            pgn << to_pgn(game, header) << std::flush;
            summary.pgnFailed |= !pgn;
        }
        return firstPoints;
    };

    auto save_state = [&] {
        if (config.statePath.empty() || stateFailed) return;
        std::string error;
        if (!morvane::replace_file(config.statePath, progress_text(state), error)) {
            stateFailed = true;  // said once; the match itself goes on
            progress << (config.liveLine ? "\n" : "") << "match: the state cannot be saved: " << error << '\n';
        }
    };

    auto worker = [&] {
        UciEngine engines[2] = {UciEngine(config.engines[0]), UciEngine(config.engines[1])};
        for (;;) {
            int pair = nextPair.fetch_add(1);
            while (resumed.donePairs.count(pair)) pair = nextPair.fetch_add(1);
            if (pair >= pairCount || stop.load()) break;
            const std::string& fen = config.openings[static_cast<std::size_t>(pair) % config.openings.size()];
            GameRecord games[2];
            bool complete = true;
            for (int g = 0; g < 2 && complete; ++g) {
                // The first engine has White in the pair's first game.
                games[g] = play_game(engines[g], engines[1 - g], fen, config.rules, stop);
                complete = !games[g].interrupted;
            }
            if (!complete) break;
            std::lock_guard lock(mutex);
            double points[2];
            for (int g = 0; g < 2; ++g) points[g] = record_game(games[g], g, 2 * pair + g + 1);
            ++summary.pairs[pair_index(points[0], points[1])];
            summary.seconds = secondsBefore + duration<double>(SteadyClock::now() - start).count();
            state.donePairs.insert(pair);
            update_verdict();
            save_state();
            if (config.liveLine) {
                progress << '\r' << progress_line(summary, config) << "   " << std::flush;
            } else if (summary.wdl.games() >= lastReported + 20) {
                lastReported = summary.wdl.games();
                progress << logged_progress_line(summary, config) << '\n';
            }
        }
        for (auto& e : engines) e.quit();
    };

    std::vector<std::thread> threads;
    if (!stop.load())
        for (int i = 0; i < std::max(config.concurrency, 1); ++i) threads.emplace_back(worker);
    for (auto& t : threads) t.join();
    summary.seconds = secondsBefore + duration<double>(SteadyClock::now() - start).count();
    summary.interrupted = summary.verdict == SprtVerdict::Continue && stop.load();
    if (config.liveLine) progress << '\n';
    return summary;
}

void print_summary(const MatchSummary& s, const MatchConfig& config, std::ostream& out) {
    const EloEstimate e = estimate_elo(s.pairs);
    const std::string& first = config.engines[0].name;
    const std::string& second = config.engines[1].name;
    const int hours = static_cast<int>(s.seconds / 3600), minutes = static_cast<int>(s.seconds / 60) % 60,
              seconds = static_cast<int>(s.seconds) % 60;
    out << std::fixed << std::setprecision(1);
    out << "\n"
        << first << " vs " << second << ": " << s.wdl.games() << " games in " << hours << 'h' << std::setfill('0')
        << std::setw(2) << minutes << 'm' << std::setw(2) << seconds << std::setfill(' ') << "s ("
        << std::setprecision(0) << games_per_hour(s.wdl.games(), s.seconds) << " games/hour)"
        << (s.interrupted ? ", interrupted" : "") << '\n'
        << std::setprecision(1);
    out << "Wins/losses/draws of " << first << ": " << s.wdl.wins << " / " << s.wdl.losses << " / " << s.wdl.draws
        << ",  score " << 100 * s.wdl.score() << " %\n";
    out << "Elo difference: " << e.elo << " +/- " << e.margin << " (95 %),  LOS " << 100 * e.los << " %,  draw ratio "
        << 100 * s.wdl.draw_ratio() << " %\n";
    out << "Pentanomial pairs (0, 1/2, 1, 3/2, 2 points): " << s.pairs[0] << ", " << s.pairs[1] << ", " << s.pairs[2]
        << ", " << s.pairs[3] << ", " << s.pairs[4] << '\n';
    if (config.sprt) {
        const SprtBounds& b = *config.sprt;
        out << std::setprecision(2) << "SPRT (logistic Elo " << b.elo0 << ", " << b.elo1 << "; alpha " << b.alpha
            << ", beta " << b.beta << "): LLR " << s.llr << " [" << b.lower() << ", " << b.upper() << "]  "
            << (s.verdict == SprtVerdict::AcceptH1   ? "H1 accepted: " + first + " is stronger"
                : s.verdict == SprtVerdict::AcceptH0 ? "H0 accepted: " + first + " is not stronger"
                                                     : std::string("no decision yet"))
            << '\n';
    }
    for (int i = 0; i < 2; ++i) {
        const EngineTotals& t = s.totals[i];
        out << std::setprecision(0) << config.engines[i].name << ": " << t.moves << " moves, " << ms_per_move(t)
            << " ms per move";
        if (t.timedGames) out << ", clock left at game end " << mean_clock_left_ms(t) << " ms";
        out << '\n';
    }
    out << "Game endings:\n";
    for (const auto& [reason, count] : s.reasons) out << "  " << std::setw(5) << count << "  " << reason << '\n';
    if (s.pgnFailed) out << "Warning: the PGN file " << config.pgnPath << " could not be written completely\n";
}

}  // namespace match
