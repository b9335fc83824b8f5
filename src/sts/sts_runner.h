// The batch test-suite mode: search every position of an EPD suite, score
// the answers and write text and CSV reports as the run goes, resumable.
#pragma once

#include <string>

namespace morvane {

// False, after a message, when the run could not do its job: no position
// loaded, or reports that cannot be written or that another run holds.
bool run_sts_suite(const std::string& epd_path, int depth, long movetime_ms, const std::string& output_base,
                   bool resume);

}  // namespace morvane
