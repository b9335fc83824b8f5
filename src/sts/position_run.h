// One suite position searched and scored, from a fresh board and an empty
// transposition table: its result depends on that position alone, which is
// what lets a suite be split between processes and machines.
#pragma once

#include <string>

#include "search/search.h"
#include "sts/epd.h"
#include "sts/report_rows.h"

namespace morvane {

// The key that names a position in the reports: its id, or its line.
std::string position_key(const StsPosition& pos);

// Why no search can play the position, "" when one can. Notes about a
// FEN that had to be corrected go to `notes`.
std::string unplayable_reason(const StsPosition& pos, std::string& notes);

// The outcome of an unplayable position, or of one whose search failed:
// no move, nothing earned out of what the position was worth.
StsOutcome failed_outcome(const StsPosition& pos, const std::string& why);

// `ctx` is the search's working memory, reset by every search.
StsOutcome run_position(const StsPosition& pos, SearchContext& ctx, int depth, long movetimeMs);

// An outcome as bytes for the pipe from a worker process, and back; false
// when the bytes are not one whole outcome.
std::string encode_outcome(const StsOutcome& outcome);
bool decode_outcome(const std::string& bytes, StsOutcome& outcome);

}  // namespace morvane
