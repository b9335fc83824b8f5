// The CSV report of a test-suite run, as read back by --continue: only rows
// that this runner could have written are trusted, since a row cut short by
// a killed run or edited by hand would otherwise change the totals.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace morvane {

inline constexpr const char* stsCsvHeader =
    "id,attendu,joue_san,joue_uci,eval_cp,score,score_max,profondeur,nodes,temps_ms,"
    "rang_coup_attendu,eval_coup_attendu_cp,bm_non_reconnu,resolues_jusqu_ici,analysees_jusqu_ici";

// Score and maximum of every finished position, by id.
using ResumeTable = std::map<std::string, std::pair<int, int>>;

struct PreviousReport {
    ResumeTable finished;
    // Bytes to keep: the file up to its last complete line. Anything after
    // it is the row a killed run was writing.
    std::size_t soundLength = 0;
    bool tornLastRow = false;
    std::vector<std::string> rejected;  // "ligne N : why", one per bad row
};

// Why one CSV row cannot be trusted, or "" when it is sound; a sound row
// gives its id, score and maximum.
std::string csv_row_problem(const std::string& line, std::string& id, int& score, int& scoreMax);

// The rows of a previous CSV report held in `content`.
PreviousReport read_previous_report(const std::string& content);

}  // namespace morvane
