// The match tool's entry: reads the command line, then either writes an
// opening book or plays the match and prints its summary.
#include <signal.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <iostream>
#include <stdexcept>

#include "core/attacks.h"
#include "core/zobrist.h"
#include "match/cli.h"
#include "match/match_state.h"
#include "match/referee.h"

using namespace match;

namespace {

std::atomic<bool> g_stop{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

extern "C" void on_interrupt(int) { g_stop.store(true); }

std::string today() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[16];
    std::strftime(text, sizeof text, "%Y.%m.%d", &utc);
    return text;
}

int make_openings(const CommandLine& cl) {
    std::ofstream out(cl.outPath);
    if (!out) {
        std::cerr << "cannot write " << cl.outPath << '\n';
        return 1;
    }
    generate_openings(*cl.makeOpenings, out, std::cerr);
    return out ? 0 : 1;
}

// The progress of an earlier run of the same match, when --state names an
// existing file. False, with the reason printed, when it cannot be used: a
// state is never overwritten by a match it does not belong to.
bool load_resumed_progress(const MatchConfig& config, MatchProgress& progress) {
    if (config.statePath.empty() || !std::filesystem::exists(config.statePath)) return true;
    std::ifstream in(config.statePath);
    std::ostringstream text;
    text << in.rdbuf();
    std::string error;
    if (!in || !parse_progress(text.str(), progress, error)) {
        std::cerr << "match: cannot resume from " << config.statePath << ": " << error << '\n';
        return false;
    }
    if (progress.fingerprint != match_fingerprint(config)) {
        std::cerr << "match: " << config.statePath
                  << " belongs to a match with other engines, openings, rules or SPRT bounds; give another --state\n";
        return false;
    }
    std::cerr << "match: resuming " << config.statePath << ", " << progress.summary.wdl.games() << " games in "
              << progress.donePairs.size() << " pairs already played\n";
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    morvane::init_zobrist();
    morvane::init_attacks();
    CommandLine cl;
    try {
        cl = parse_command_line(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::invalid_argument& e) {
        std::cerr << "match: " << e.what() << "\n\n" << usage();
        return 1;
    }
    if (cl.help) {
        std::cout << usage();
        return 0;
    }
    if (cl.makeOpenings) return make_openings(cl);

    MatchConfig& config = cl.match;
    if (cl.openingsPath.empty()) {
        config.openings = {morvane::StartFen};
    } else {
        if (!load_openings(cl.openingsPath, config.openings, std::cerr)) {
            std::cerr << "match: cannot read " << cl.openingsPath << '\n';
            return 1;
        }
        if (config.openings.empty()) {
            std::cerr << "match: no playable position in " << cl.openingsPath << '\n';
            return 1;
        }
        shuffle_openings(config.openings, cl.seed);
    }
    if (config.rules.tables && !init_adjudication_tables()) {
        std::cerr << "match: endgame tables unavailable, no table adjudication\n";
        config.rules.tables = false;
    }
    // An engine that cannot even start would lose every game in turn; better
    // to say so at once.
    for (const EngineSetup& setup : config.engines) {
        UciEngine engine(setup);
        std::string error;
        if (!engine.prepare_game(error)) {
            std::cerr << "match: " << error << '\n';
            return 1;
        }
        engine.quit();
    }
    MatchProgress resumed;
    if (!load_resumed_progress(config, resumed)) return 1;
    config.header.date = today();
    config.liveLine = isatty(STDERR_FILENO);

    // Ctrl-C lets the game threads wind down so the summary is still printed.
    struct sigaction action {};
    action.sa_handler = on_interrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);

    const MatchSummary summary = run_match(config, g_stop, std::cerr, resumed);
    print_summary(summary, config, std::cout);
    return 0;
}
