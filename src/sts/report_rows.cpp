#include "sts/report_rows.h"

#include <charconv>
#include <climits>

namespace morvane {

namespace {

constexpr std::size_t csvFieldCount = 15;

// Text fields are quoted and their quotes doubled, so that an id or a move
// holding a quote or a comma reads back as written. A suite line cannot
// hold a line feed, so neither can a field, and every row is one line.
std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (char ch : text) {
        if (ch == '"') out += '"';
        out += ch;
    }
    return out + '"';
}

// Fields split at commas outside double quotes, a doubled quote inside
// quotes read as one; false when a quote is left open (a row cut inside a
// quoted field).
bool split_csv(const std::string& line, std::vector<std::string>& fields) {
    fields.assign(1, std::string());
    bool inQuotes = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char ch = line[i];
        if (ch == '"' && inQuotes && i + 1 < line.size() && line[i + 1] == '"') {
            fields.back() += '"';
            ++i;
        } else if (ch == '"') {
            inQuotes = !inQuotes;
        } else if (ch == ',' && !inQuotes) {
            fields.emplace_back();
        } else {
            fields.back() += ch;
        }
    }
    return !inQuotes;
}

// The whole field is one base-10 integer within [low, high].
template <typename Int>
bool whole_number(const std::string& text, Int low, Int high, Int& value) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end && !text.empty() && value >= low && value <= high;
}

}  // namespace

std::string csv_row(const StsOutcome& o, long long solved, long long analysed) {
    std::string row = quoted(o.id) + ',' + quoted(o.expected) + ',' + quoted(o.played_san) + ',' + o.played_uci +
                      ',' + std::to_string(o.eval_cp) + ',' + std::to_string(o.score) + ',' +
                      std::to_string(o.score_max) + ',' + std::to_string(o.depth) + ',' + std::to_string(o.nodes) +
                      ',' + std::to_string(o.time_ms) + ',';
    if (o.expected_known) row += std::to_string(o.expected_rank) + ',' + std::to_string(o.expected_eval_cp);
    else row += ',';
    return row + ',' + (o.bm_unrecognised ? "oui" : "non") + ',' + std::to_string(solved) + ',' +
           std::to_string(analysed) + '\n';
}

std::string csv_row_problem(const std::string& line, StsOutcome& o) {
    std::vector<std::string> f;
    if (!split_csv(line, f)) return "guillemet non ferme";
    if (f.size() != csvFieldCount)
        return std::to_string(f.size()) + " champs au lieu de " + std::to_string(csvFieldCount);
    if (f[0].empty()) return "id vide";
    StsOutcome row;
    long long counter = 0;
    if (!whole_number(f[4], INT_MIN, INT_MAX, row.eval_cp)) return "champ 5 non numerique";
    if (!whole_number(f[7], 0, INT_MAX, row.depth)) return "champ 8 non numerique";
    if (!whole_number<std::uint64_t>(f[8], 0, LLONG_MAX, row.nodes)) return "champ 9 non numerique";
    if (!whole_number<std::uint64_t>(f[9], 0, LLONG_MAX, row.time_ms)) return "champ 10 non numerique";
    if (!whole_number(f[13], 0LL, LLONG_MAX, counter)) return "champ 14 non numerique";
    if (!whole_number(f[14], 1LL, LLONG_MAX, counter)) return "champ 15 non numerique";
    if (!whole_number(f[6], 1, INT_MAX, row.score_max)) return "score_max invalide";
    if (!whole_number(f[5], 0, row.score_max, row.score)) return "score hors de 0.." + std::to_string(row.score_max);
    // The expected move's rank and score are written together or not at all.
    row.expected_known = whole_number(f[10], 0, INT_MAX, row.expected_rank) &&
                         whole_number(f[11], INT_MIN, INT_MAX, row.expected_eval_cp);
    if (!row.expected_known && !(f[10].empty() && f[11].empty())) return "rang du coup attendu invalide";
    if (f[12] != "oui" && f[12] != "non") return "bm_non_reconnu ni oui ni non";
    row.bm_unrecognised = f[12] == "oui";
    row.id = f[0];
    row.expected = f[1];
    row.played_san = f[2];
    row.played_uci = f[3];
    o = row;
    return "";
}

PreviousReport read_previous_report(const std::string& content) {
    PreviousReport report;
    const std::size_t lastNewline = content.rfind('\n');
    report.soundLength = lastNewline == std::string::npos ? 0 : lastNewline + 1;
    report.tornLastRow = report.soundLength < content.size();
    // A run killed while writing its header leaves a piece of it, and
    // nothing else; any other text without a line end is someone else's.
    if (report.soundLength == 0 && !content.empty() && std::string(stsCsvHeader).rfind(content, 0) != 0) {
        report.rejected.push_back("ligne 1 : en-tete inattendu");
        report.foreignHeader = true;
    }
    std::size_t start = 0;
    int number = 0;
    while (start < report.soundLength) {
        const std::size_t end = content.find('\n', start);
        std::string line = content.substr(start, end - start);
        start = end + 1;
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (number == 1) {
            if (line != stsCsvHeader) {
                report.rejected.push_back("ligne 1 : en-tete inattendu");
                report.foreignHeader = true;
                report.soundLength = 0;
                return report;
            }
            continue;
        }
        if (line.empty()) continue;
        StsOutcome row;
        if (const std::string why = csv_row_problem(line, row); !why.empty())
            report.rejected.push_back("ligne " + std::to_string(number) + " : " + why);
        else report.finished[row.id] = row;
    }
    return report;
}

}  // namespace morvane
