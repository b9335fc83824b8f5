// The configuration keys a tuning run moves, read from a plain-text list:
// one key a line, "name start c a [min max]", '#' starting a comment.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace spsa {

struct TunedKey {
    std::string name;
    double start = 0;
    double c = 1;  // perturbation at the first iteration, in the key's units
    double a = 1;  // learning rate: the numerator of the step schedule
    int min = 0, max = 0;
};

// Only integer search parameters of the engine are accepted: switches and
// mode numbers are decided by matches, not by a gradient. Bounds default to
// the key's safe range and may only narrow it. False with a message naming
// the source and line on the first bad line.
bool read_key_list(std::istream& in, const std::string& source, std::vector<TunedKey>& keys, std::string& error);

// A key of the clock: it means something only when games are timed.
bool is_clock_key(const std::string& name);

}  // namespace spsa
