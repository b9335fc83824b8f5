// The result of one suite position and its CSV row, as the runner writes it
// and as --continue and --merge read it back: only rows that this runner
// could have written are trusted, since a row cut short by a killed run or
// edited by hand would otherwise change the totals.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace morvane {

inline constexpr const char* stsCsvHeader =
    "id,attendu,joue_san,joue_uci,eval_cp,score,score_max,profondeur,nodes,temps_ms,"
    "rang_coup_attendu,eval_coup_attendu_cp,bm_non_reconnu,resolues_jusqu_ici,analysees_jusqu_ici";

struct StsOutcome {
    std::string id, expected, played_uci, played_san;
    int eval_cp = 0, score = 0, score_max = 10;
    std::uint64_t nodes = 0, time_ms = 0;
    int depth = 0;
    bool bm_unrecognised = false;
    int expected_rank = 0, expected_eval_cp = 0;
    bool expected_known = false;
    std::string unplayable;  // why no search could be run, empty when one was
    bool search_failed = false;  // `unplayable` then says how the search process failed
    std::string notes;       // diagnostics for standard error, one per line
};

// Finished positions by id.
using ResumeTable = std::map<std::string, StsOutcome>;

struct PreviousReport {
    ResumeTable finished;
    // Bytes to keep: the file up to its last complete line. Anything after
    // it is the row a killed run was writing.
    std::size_t soundLength = 0;
    bool tornLastRow = false;
    bool foreignHeader = false;  // not a report of this runner: nothing in it is ours
    std::vector<std::string> rejected;  // "ligne N : why", one per bad row
};

// The CSV row of an outcome, line feed included; `solved` and `analysed`
// are the running totals after it.
std::string csv_row(const StsOutcome& outcome, long long solved, long long analysed);

// Why one CSV row cannot be trusted, or "" when it is sound; a sound row
// fills `outcome` (all but `unplayable` and `notes`, which it does not hold).
std::string csv_row_problem(const std::string& line, StsOutcome& outcome);

// The rows of a previous CSV report held in `content`.
PreviousReport read_previous_report(const std::string& content);

}  // namespace morvane
