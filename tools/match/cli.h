// The match tool's command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "match/match_runner.h"
#include "match/openings.h"

namespace match {

struct CommandLine {
    MatchConfig match;
    std::string openingsPath;  // empty: the start position only
    std::uint64_t seed = 1;
    std::optional<OpeningRecipe> makeOpenings;
    std::string outPath;  // of --make-openings
    bool help = false;
};

// Throws std::invalid_argument with a message for people on bad input.
CommandLine parse_command_line(const std::vector<std::string>& args);

// Seconds with an optional increment, "10+0.1" or "60", into milliseconds.
Effort parse_time_control(const std::string& text);

const char* usage();

}  // namespace match
