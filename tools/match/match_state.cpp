#include "match/match_state.h"

#include <iomanip>
#include <sstream>

#include "common/corpus.h"

namespace match {

namespace {

constexpr const char* Magic = "match-state 1";

// Fields joined with separators no argument or FEN contains, so that
// ("ab", "c") and ("a", "bc") differ.
void add_field(std::string& text, const std::string& field) {
    text += field;
    text += '\x1f';
}

void add_effort(std::string& text, const Effort& e) {
    add_field(text, std::to_string(e.baseMs) + '+' + std::to_string(e.incMs) + ' ' + std::to_string(e.nodes) + ' ' +
                        std::to_string(e.depth));
}

}  // namespace

std::uint64_t match_fingerprint(const MatchConfig& config) {
    std::string text;
    for (const EngineSetup& engine : config.engines) {
        for (const auto& word : engine.argv) add_field(text, word);
        add_field(text, "dir=" + engine.dir);
        for (const auto& [name, value] : engine.options) add_field(text, name + '=' + value);
        add_effort(text, engine.effort);
        text += '\x1e';
    }
    for (const auto& fen : config.openings) add_field(text, fen);
    const Adjudication& r = config.rules;
    std::ostringstream rules;
    rules << r.resign << ' ' << r.resignMoves << ' ' << r.resignScore << ' ' << r.draw << ' ' << r.drawMoveNumber
          << ' ' << r.drawMoves << ' ' << r.drawScore << ' ' << r.tables << ' ' << r.timeMarginMs << ' '
          << r.hangTimeoutMs;
    if (config.sprt)
        rules << std::setprecision(17) << " sprt " << config.sprt->elo0 << ' ' << config.sprt->elo1 << ' '
              << config.sprt->alpha << ' ' << config.sprt->beta;
    add_field(text, rules.str());
    return morvane::checksum_of(text);
}

std::string progress_text(const MatchProgress& p) {
    const MatchSummary& s = p.summary;
    std::ostringstream out;
    out << std::setprecision(17);
    out << Magic << '\n' << "fingerprint " << std::hex << p.fingerprint << std::dec << '\n';
    out << "wdl " << s.wdl.wins << ' ' << s.wdl.losses << ' ' << s.wdl.draws << '\n';
    out << "pairs";
    for (const auto count : s.pairs) out << ' ' << count;
    out << '\n' << "seconds " << s.seconds << '\n';
    for (const EngineTotals& t : s.totals)
        out << "totals " << t.moves << ' ' << t.thinkMs << ' ' << t.timedGames << ' ' << t.clockLeftMs << '\n';
    for (const auto& [reason, count] : s.reasons) out << "reason " << count << ' ' << reason << '\n';
    out << "done";
    for (const int pair : p.donePairs) out << ' ' << pair;
    out << '\n' << "end\n";
    return out.str();
}

bool parse_progress(const std::string& text, MatchProgress& result, std::string& error) {
    std::istringstream in(text);
    std::string line;
    if (!std::getline(in, line) || line != Magic) {
        error = "not a match state (first line should be '" + std::string(Magic) + "')";
        return false;
    }
    MatchProgress p;
    MatchSummary& s = p.summary;
    int totalsSeen = 0;
    bool ended = false;
    for (int number = 2; !ended && std::getline(in, line); ++number) {
        std::istringstream fields(line);
        std::string word;
        fields >> word;
        bool ok = true;
        if (word == "fingerprint") {
            ok = static_cast<bool>(fields >> std::hex >> p.fingerprint);
        } else if (word == "wdl") {
            ok = static_cast<bool>(fields >> s.wdl.wins >> s.wdl.losses >> s.wdl.draws);
        } else if (word == "pairs") {
            for (auto& count : s.pairs) ok = ok && static_cast<bool>(fields >> count);
        } else if (word == "seconds") {
            ok = static_cast<bool>(fields >> s.seconds);
        } else if (word == "totals") {
            ok = totalsSeen < 2;
            if (ok) {
                EngineTotals& t = s.totals[totalsSeen++];
                ok = static_cast<bool>(fields >> t.moves >> t.thinkMs >> t.timedGames >> t.clockLeftMs);
            }
        } else if (word == "reason") {
            int count = 0;
            std::string reason;
            ok = fields >> count && std::getline(fields >> std::ws, reason) && !reason.empty();
            if (ok) s.reasons[reason] = count;
        } else if (word == "done") {
            for (int pair; fields >> pair;) ok = ok && pair >= 0 && p.donePairs.insert(pair).second;
            ok = ok && fields.eof();
        } else if (word == "end") {
            ended = true;
        } else {
            ok = false;
        }
        if (!ok) {
            error = "line " + std::to_string(number) + " unreadable: '" + line + "'";
            return false;
        }
    }
    std::int64_t pairCount = 0;
    for (const auto count : s.pairs) pairCount += count;
    if (!ended || totalsSeen != 2) {
        error = "incomplete state (no 'end' line or missing totals)";
        return false;
    }
    if (pairCount != static_cast<std::int64_t>(p.donePairs.size()) || s.wdl.games() != 2 * pairCount) {
        error = "the pair counts, the games and the list of played pairs disagree";
        return false;
    }
    result = std::move(p);
    return true;
}

}  // namespace match
