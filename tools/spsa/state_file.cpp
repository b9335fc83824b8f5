#include "spsa/state_file.h"

#include <fstream>
#include <iomanip>
#include <map>
#include <sstream>

#include "common/replace_file.h"

namespace spsa {

namespace {

constexpr const char* Magic = "spsa-state 1";

std::string state_text(const TunerState& s) {
    std::ostringstream out;
    out << std::setprecision(17);  // doubles read back bit for bit
    out << Magic << '\n'
        << "seed " << s.seed << '\n'
        << "rng " << s.rng << '\n'
        << "iteration " << s.iteration << '\n'
        << "iterations " << s.iterations << '\n'
        << "A " << s.schedule.A << '\n'
        << "alpha " << s.schedule.alpha << '\n'
        << "gamma " << s.schedule.gamma << '\n'
        << "engine " << s.games.engine << '\n'
        << "openings " << s.games.openings << '\n'
        << "base_ms " << s.games.baseMs << '\n'
        << "inc_ms " << s.games.incMs << '\n'
        << "nodes " << s.games.nodes << '\n'
        << "pairs " << s.games.pairs << '\n'
        << "concurrency " << s.games.concurrency << '\n'
        << "wins " << s.total.wins << '\n'
        << "draws " << s.total.draws << '\n'
        << "losses " << s.total.losses << '\n'
        << "seconds " << s.seconds << '\n';
    for (std::size_t i = 0; i < s.keys.size(); ++i) {
        const TunedKey& k = s.keys[i];
        out << "key " << k.name << ' ' << s.values[i] << ' ' << k.start << ' ' << k.c << ' ' << k.a << ' ' << k.min
            << ' ' << k.max << '\n';
    }
    out << "end\n";
    return out.str();
}

template <typename T>
bool read_number(const std::map<std::string, std::string>& fields, const std::string& name, T& value) {
    const auto it = fields.find(name);
    if (it == fields.end()) return false;
    std::istringstream in(it->second);
    return static_cast<bool>(in >> value) && (in >> std::ws).eof();
}

}  // namespace

bool save_state(const std::string& path, const TunerState& state, std::string& error) {
    return morvane::replace_file(path, state_text(state), error);
}

bool load_state(const std::string& path, TunerState& state, std::string& error) {
    std::ifstream in(path);
    if (!in) {
        error = "cannot read " + path;
        return false;
    }
    std::string line;
    if (!std::getline(in, line) || line != Magic) {
        error = path + " is not a tuner state";
        return false;
    }
    std::map<std::string, std::string> fields;
    std::vector<std::string> keyLines;
    bool ended = false;
    while (std::getline(in, line) && !ended) {
        const auto space = line.find(' ');
        const std::string name = line.substr(0, space);
        const std::string rest = space == std::string::npos ? "" : line.substr(space + 1);
        if (name == "end") ended = true;
        else if (name == "key") keyLines.push_back(rest);
        else fields[name] = rest;
    }
    TunerState s;
    bool ok = ended && !keyLines.empty();
    ok = ok && read_number(fields, "seed", s.seed) && read_number(fields, "rng", s.rng) &&
         read_number(fields, "iteration", s.iteration) && read_number(fields, "iterations", s.iterations) &&
         read_number(fields, "A", s.schedule.A) && read_number(fields, "alpha", s.schedule.alpha) &&
         read_number(fields, "gamma", s.schedule.gamma) && read_number(fields, "base_ms", s.games.baseMs) &&
         read_number(fields, "inc_ms", s.games.incMs) && read_number(fields, "nodes", s.games.nodes) &&
         read_number(fields, "pairs", s.games.pairs) && read_number(fields, "concurrency", s.games.concurrency) &&
         read_number(fields, "wins", s.total.wins) && read_number(fields, "draws", s.total.draws) &&
         read_number(fields, "losses", s.total.losses) && read_number(fields, "seconds", s.seconds) &&
         fields.count("engine") && fields.count("openings");
    if (ok) {
        s.games.engine = fields["engine"];
        s.games.openings = fields["openings"];
    }
    for (const std::string& keyLine : keyLines) {
        if (!ok) break;
        std::istringstream words(keyLine);
        TunedKey key;
        double value = 0;
        ok = static_cast<bool>(words >> key.name >> value >> key.start >> key.c >> key.a >> key.min >> key.max);
        s.keys.push_back(key);
        s.values.push_back(value);
    }
    if (!ok) {
        error = path + " is incomplete or damaged";
        return false;
    }
    state = std::move(s);
    return true;
}

}  // namespace spsa
