#include "match/cli.h"

#include <cmath>
#include <filesystem>
#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace match {

namespace {

[[noreturn]] void fail(const std::string& message) { throw std::invalid_argument(message); }

long long parse_integer(const std::string& text, const std::string& what, long long low) {
    std::size_t used = 0;
    long long value = 0;
    try {
        value = std::stoll(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used != text.size() || text.empty() || value < low) fail("bad value for " + what + ": '" + text + "'");
    return value;
}

double parse_real(const std::string& text, const std::string& what, bool negativeAllowed = false) {
    std::size_t used = 0;
    double value = 0;
    try {
        value = std::stod(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used != text.size() || text.empty() || !std::isfinite(value) || (value < 0 && !negativeAllowed))
        fail("bad value for " + what + ": '" + text + "'");
    return value;
}

std::pair<std::string, std::string> key_value(const std::string& setting) {
    const auto eq = setting.find('=');
    if (eq == std::string::npos || eq == 0) fail("expected KEY=VALUE, got '" + setting + "'");
    return {setting.substr(0, eq), setting.substr(eq + 1)};
}

struct IntegerSetting {
    const char* key;
    int* target;
    int lowest;
};

// The KEY=VALUE words of an option like --resign, each naming one setting.
void apply_integers(const std::string& option, const std::vector<std::string>& words,
                    std::initializer_list<IntegerSetting> settings) {
    for (const auto& word : words) {
        const auto [key, value] = key_value(word);
        bool known = false;
        for (const auto& setting : settings)
            if (key == setting.key) {
                *setting.target = static_cast<int>(parse_integer(value, option + " " + key, setting.lowest));
                known = true;
            }
        if (!known) fail("unknown " + option + " setting '" + word + "'");
    }
}

std::string seconds_text(std::int64_t ms) {
    std::ostringstream out;
    out << ms / 1000.0;
    return out.str();
}

// One KEY=VALUE of --engine or --each; pairs that only make sense once per
// engine (cmd, dir, name) are refused in --each by the caller.
void apply_engine_setting(EngineSetup& setup, const std::string& setting) {
    const auto [key, value] = key_value(setting);
    if (key == "cmd") {
        if (value.empty()) fail("empty cmd=");
        setup.argv.insert(setup.argv.begin(), value);
    } else if (key == "arg") {
        setup.argv.push_back(value);
    } else if (key == "dir") {
        setup.dir = value;
    } else if (key == "name") {
        setup.name = value;
    } else if (key.rfind("option.", 0) == 0 && key.size() > 7) {
        setup.options.emplace_back(key.substr(7), value);
    } else if (key == "tc") {
        const Effort e = parse_time_control(value);
        setup.effort.baseMs = e.baseMs;
        setup.effort.incMs = e.incMs;
    } else if (key == "nodes") {
        setup.effort.nodes = parse_integer(value, "nodes", 1);
    } else if (key == "depth") {
        setup.effort.depth = static_cast<int>(parse_integer(value, "depth", 1));
    } else {
        fail("unknown engine setting '" + key + "'");
    }
}

// Relative program paths are taken from where match runs, not from the
// engine's own working directory.
void finish_engine(EngineSetup& setup, int index) {
    if (setup.argv.empty()) fail("engine " + std::to_string(index + 1) + " has no cmd=");
    std::string& program = setup.argv.front();
    if (program.find('/') != std::string::npos && program[0] != '/')
        program = (std::filesystem::current_path() / program).lexically_normal().string();
    if (!setup.dir.empty() && !std::filesystem::is_directory(setup.dir)) fail("no directory " + setup.dir);
    if (setup.name.empty()) setup.name = std::filesystem::path(program).filename().string();
    if (!setup.effort.timed() && setup.effort.nodes == 0 && setup.effort.depth == 0)
        fail("engine " + setup.name + " has no tc=, nodes= or depth=");
    if (setup.effort.timed() && (setup.effort.nodes || setup.effort.depth))
        fail("engine " + setup.name + ": tc= cannot be combined with nodes= or depth=");
}

}  // namespace

Effort parse_time_control(const std::string& text) {
    const auto plus = text.find('+');
    Effort e;
    e.baseMs = std::llround(1000 * parse_real(text.substr(0, plus), "tc"));
    if (plus != std::string::npos) e.incMs = std::llround(1000 * parse_real(text.substr(plus + 1), "tc"));
    if (e.baseMs <= 0) fail("time control '" + text + "' gives no time");
    return e;
}

CommandLine parse_command_line(const std::vector<std::string>& args) {
    CommandLine cl;
    MatchConfig& m = cl.match;
    m.concurrency = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    int engineCount = 0;
    std::vector<std::string> each;
    bool gamesGiven = false;
    std::size_t i = 0;
    auto values = [&] {  // the words up to the next --option
        std::vector<std::string> out;
        while (i + 1 < args.size() && args[i + 1].rfind("--", 0) != 0) out.push_back(args[++i]);
        return out;
    };
    auto one = [&](const std::string& option) {
        if (i + 1 >= args.size()) fail(option + " needs a value");
        return args[++i];
    };
    for (; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--help" || a == "-h") {
            cl.help = true;
        } else if (a == "--engine") {
            if (engineCount == 2) fail("more than two --engine");
            for (const auto& s : values()) apply_engine_setting(m.engines[engineCount], s);
            ++engineCount;
        } else if (a == "--each") {
            for (const auto& s : values()) {
                const std::string key = s.substr(0, s.find('='));
                if (key == "cmd" || key == "dir" || key == "name") fail(key + "= belongs to one --engine");
                each.push_back(s);
            }
        } else if (a == "--openings") {
            cl.openingsPath = one(a);
        } else if (a == "--seed") {
            cl.seed = static_cast<std::uint64_t>(parse_integer(one(a), a, 0));
        } else if (a == "--games") {
            m.games = static_cast<int>(parse_integer(one(a), a, 1));
            gamesGiven = true;
        } else if (a == "--concurrency") {
            m.concurrency = static_cast<int>(parse_integer(one(a), a, 1));
        } else if (a == "--pgn") {
            m.pgnPath = one(a);
        } else if (a == "--state") {
            m.statePath = one(a);
        } else if (a == "--sprt") {
            const auto v = values();
            if (v.size() != 2 && v.size() != 4) fail("--sprt takes elo0 elo1 [alpha beta]");
            SprtBounds b;
            b.elo0 = parse_real(v[0], a, true);
            b.elo1 = parse_real(v[1], a, true);
            if (v.size() == 4) b.alpha = parse_real(v[2], a), b.beta = parse_real(v[3], a);
            if (!(b.elo1 > b.elo0) || !(b.alpha > 0 && b.alpha < 0.5) || !(b.beta > 0 && b.beta < 0.5))
                fail("--sprt needs elo0 < elo1 and 0 < alpha, beta < 0.5");
            m.sprt = b;
        } else if (a == "--resign") {
            m.rules.resign = true;
            apply_integers(a, values(), {{"moves", &m.rules.resignMoves, 1}, {"score", &m.rules.resignScore, 1}});
        } else if (a == "--draw") {
            m.rules.draw = true;
            apply_integers(a, values(),
                           {{"movenumber", &m.rules.drawMoveNumber, 0},
                            {"moves", &m.rules.drawMoves, 1},
                            {"score", &m.rules.drawScore, 0}});
        } else if (a == "--no-tables") {
            m.rules.tables = false;
        } else if (a == "--time-margin") {
            m.rules.timeMarginMs = parse_integer(one(a), a, 0);
        } else if (a == "--hang-timeout") {
            m.rules.hangTimeoutMs = 1000 * parse_integer(one(a), a, 1);
        } else if (a == "--make-openings") {
            OpeningRecipe r;
            r.count = static_cast<int>(parse_integer(one(a), a, 1));
            cl.makeOpenings = r;
        } else if (a == "--depth") {
            if (!cl.makeOpenings) fail("--depth belongs to --make-openings (engines take depth=)");
            cl.makeOpenings->depth = static_cast<int>(parse_integer(one(a), a, 1));
        } else if (a == "--out") {
            cl.outPath = one(a);
        } else {
            fail("unknown argument '" + a + "'");
        }
    }
    if (cl.help) return cl;
    if (cl.makeOpenings) {
        if (cl.outPath.empty()) fail("--make-openings needs --out FILE");
        cl.makeOpenings->seed = cl.seed;
        return cl;
    }
    if (engineCount != 2) fail("two --engine are needed");
    for (int e = 0; e < 2; ++e) {
        // --each first, so that an engine's own settings win.
        EngineSetup own = m.engines[e];
        EngineSetup merged;
        for (const auto& s : each) apply_engine_setting(merged, s);
        merged.argv = own.argv;
        merged.dir = own.dir;
        merged.name = own.name;
        merged.options.insert(merged.options.end(), own.options.begin(), own.options.end());
        if (own.effort.timed() || own.effort.nodes || own.effort.depth) merged.effort = own.effort;
        m.engines[e] = merged;
        finish_engine(m.engines[e], e);
    }
    if (m.engines[0].name == m.engines[1].name) m.engines[1].name += "-2";
    // Without a test to stop it, a match is 100 games; with one, it runs
    // until the test decides.
    if (!gamesGiven) m.games = m.sprt ? 1000000 : 100;
    const Effort& e = m.engines[0].effort;
    m.header.timeControl = e.timed() ? seconds_text(e.baseMs) + (e.incMs ? "+" + seconds_text(e.incMs) : "") : "-";
    return cl;
}

const char* usage() {
    return R"(match: plays two UCI engines against each other.

  match --engine SETTINGS... --engine SETTINGS... [--each SETTINGS...] [options]
  match --make-openings N --out FILE [--seed S] [--depth D]

Engine settings (KEY=VALUE, after --engine; --each gives them to both
engines, an engine's own setting wins):
  cmd=PROGRAM       the engine (a relative path is taken from the current directory)
  arg=WORD          one command-line argument (repeat for more)
  dir=DIRECTORY     its working directory (where it reads its Morvane047.cfg)
  name=NAME         name in the PGN and the results (default: the program's name)
  option.NAME=VALUE sent as "setoption name NAME value VALUE" (repeat for more)
  tc=BASE[+INC]     clock in seconds, e.g. tc=10+0.1
  nodes=N           "go nodes N" for every move (not timed)
  depth=N           "go depth N" for every move (not timed)

Options:
  --openings FILE   EPD or FEN starting positions, each played twice with
                    colours reversed (default: the start position only)
  --seed S          order of the openings (default 1)
  --games N         games to play, rounded up to pairs (default 100; with
                    --sprt, until the test decides)
  --concurrency N   games played at once (default: the number of cores)
  --pgn FILE        appends every finished game to FILE
  --state FILE      keeps the match's progress in FILE, replaced after
                    every game pair; run the same command again to resume
                    (only pairs played in full count, so at most the pairs
                    in flight are replayed). Refused when the engines,
                    openings, rules or SPRT bounds differ from the run that
                    wrote it; --games may be raised.
  --sprt ELO0 ELO1 [ALPHA BETA]
                    sequential probability ratio test of the first engine
                    against the second, stopping when it decides. Bounds
                    are LOGISTIC Elo (the scale of the Elo in the summary);
                    pentanomial model on game pairs, normal approximation
                    of the generalized SPRT. ALPHA, BETA default 0.05.
                    No verdict before 20 game pairs.
  --resign [moves=3] [score=1000]
                    adjudicate a win when both engines report one side
                    ahead by score centipawns for moves moves each (off by default)
  --draw [movenumber=40] [moves=8] [score=10]
                    adjudicate a draw when, from movenumber on, both engines
                    report at most score either way for moves moves each (off by default)
  --no-tables       no endgame-table adjudication (by default positions of
                    four pieces or fewer are decided by the engine's own tables)
  --time-margin MS  lateness tolerated before a loss on time (default 100)
  --hang-timeout S  with nodes= or depth=, longest wait for a move (default 60)

Opening generation: --make-openings N plays random 8-ply lines from the
start position with seed --seed, keeps the positions a depth --depth
(default 6) search of the engine scores within 50 centipawns, drops
repeated positions, and writes N of them to --out as FEN (with the move
number they stand at, which draw adjudication counts from).

A crash, a hang, an illegal or unreadable move, or a fallen flag loses the
game (draws it when the opponent cannot mate by any means); Ctrl-C stops
the match, keeping the PGN and the state written so far, and prints the
summary.
)";
}

}  // namespace match
