#include "sts/report_rows.h"

#include <charconv>
#include <climits>
#include <cstdint>

namespace morvane {

namespace {

constexpr std::size_t csvFieldCount = 15;

// Fields split at commas outside double quotes, quotes dropped; false when a
// quote is left open (a row cut inside a quoted field).
bool split_csv(const std::string& line, std::vector<std::string>& fields) {
    fields.assign(1, std::string());
    bool quoted = false;
    for (char ch : line) {
        if (ch == '"') quoted = !quoted;
        else if (ch == ',' && !quoted) fields.emplace_back();
        else fields.back() += ch;
    }
    return !quoted;
}

// The whole field is one base-10 integer within [low, high].
bool whole_number(const std::string& text, long long low, long long high, long long& value) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end && !text.empty() && value >= low && value <= high;
}

}  // namespace

std::string csv_row_problem(const std::string& line, std::string& id, int& score, int& scoreMax) {
    std::vector<std::string> f;
    if (!split_csv(line, f)) return "guillemet non ferme";
    if (f.size() != csvFieldCount)
        return std::to_string(f.size()) + " champs au lieu de " + std::to_string(csvFieldCount);
    if (f[0].empty()) return "id vide";
    long long v = 0, s = 0, max = 0;
    // eval_cp, profondeur, nodes, temps_ms, resolues, analysees.
    const struct {
        std::size_t field;
        long long low, high;
    } numbers[] = {{4, INT_MIN, INT_MAX}, {7, 0, INT_MAX},  {8, 0, LLONG_MAX},
                   {9, 0, LLONG_MAX},     {13, 0, INT_MAX}, {14, 1, INT_MAX}};
    for (const auto& n : numbers)
        if (!whole_number(f[n.field], n.low, n.high, v))
            return "champ " + std::to_string(n.field + 1) + " non numerique";
    if (!whole_number(f[6], 1, INT_MAX, max)) return "score_max invalide";
    if (!whole_number(f[5], 0, max, s)) return "score hors de 0.." + std::to_string(max);
    // The expected move's rank and score are written together or not at all.
    const bool ranked = whole_number(f[10], 0, INT_MAX, v) && whole_number(f[11], INT_MIN, INT_MAX, v);
    if (!ranked && !(f[10].empty() && f[11].empty())) return "rang du coup attendu invalide";
    if (f[12] != "oui" && f[12] != "non") return "bm_non_reconnu ni oui ni non";
    id = f[0];
    score = static_cast<int>(s);
    scoreMax = static_cast<int>(max);
    return "";
}

PreviousReport read_previous_report(const std::string& content) {
    PreviousReport report;
    const std::size_t lastNewline = content.rfind('\n');
    report.soundLength = lastNewline == std::string::npos ? 0 : lastNewline + 1;
    report.tornLastRow = report.soundLength < content.size();
    std::size_t start = 0;
    int number = 0;
    while (start < report.soundLength) {
        const std::size_t end = content.find('\n', start);
        std::string line = content.substr(start, end - start);
        start = end + 1;
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (number == 1) {
            // Not our header: nothing in this file can be trusted.
            if (line != stsCsvHeader) {
                report.rejected.push_back("ligne 1 : en-tete inattendu");
                report.soundLength = 0;
                return report;
            }
            continue;
        }
        if (line.empty()) continue;
        std::string id;
        int score = 0, scoreMax = 0;
        if (const std::string why = csv_row_problem(line, id, score, scoreMax); !why.empty())
            report.rejected.push_back("ligne " + std::to_string(number) + " : " + why);
        else report.finished[id] = {score, scoreMax};
    }
    return report;
}

}  // namespace morvane
