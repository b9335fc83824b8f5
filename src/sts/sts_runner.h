// The batch test-suite mode: search every position of an EPD suite, score
// the answers and write text and CSV reports as the run goes, resumable.
#pragma once

#include <string>
#include <vector>

namespace morvane {

struct StsRunOptions {
    int depth = 0;          // 0: no depth limit
    long movetimeMs = 0;    // 0: no time limit
    std::string outputBase;
    bool resume = false;    // --continue: keep the finished rows of outputBase.csv
    int jobs = 1;           // searches run at once, each in a process of its own
    int sliceIndex = 1, sliceCount = 1;  // run only positions sliceIndex, +sliceCount, ... (1-based)
    std::vector<std::string> mergeFrom;  // CSV reports whose rows stand in for searches
    long hangLimitSeconds = 0;           // a search taking longer fails; 0: chosen from the limits
};

// False, after a message, when the run could not do its job: no position
// loaded, reports that cannot be written or that another run holds, or a
// previous report that --continue or --merge cannot take back.
bool run_sts_suite(const std::string& epd_path, const StsRunOptions& options);

inline bool run_sts_suite(const std::string& epd_path, int depth, long movetime_ms, const std::string& output_base,
                          bool resume) {
    StsRunOptions options;
    options.depth = depth;
    options.movetimeMs = movetime_ms;
    options.outputBase = output_base;
    options.resume = resume;
    return run_sts_suite(epd_path, options);
}

}  // namespace morvane
