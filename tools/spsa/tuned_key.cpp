#include "spsa/tuned_key.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <istream>
#include <sstream>

#include "config/engine_config.h"

namespace spsa {

namespace {

const morvane::ConfigField* find_field(const std::vector<morvane::ConfigField>& fields, const std::string& name) {
    const auto it = std::find_if(fields.begin(), fields.end(), [&](const auto& f) { return f.name == name; });
    return it == fields.end() ? nullptr : &*it;
}

// Why the line cannot be used, or empty when it can.
std::string check_key(const TunedKey& key, const morvane::ConfigField* field, const std::vector<TunedKey>& earlier) {
    if (!field) return "unknown key " + key.name;
    if (field->count != 1) return key.name + " is a table, not a single value";
    if (field->unit == morvane::ParameterUnit::Switch) return key.name + " is a switch or a mode: decide it by a match";
    if (key.min < field->range.min || key.max > field->range.max || key.min >= key.max)
        return "bounds of " + key.name + " must lie inside its safe range [" + std::to_string(field->range.min) +
               ", " + std::to_string(field->range.max) + "] with min < max";
    if (key.start < key.min || key.start > key.max) return "start of " + key.name + " is outside its bounds";
    if (!(key.c > 0) || !(key.a > 0) || !std::isfinite(key.c) || !std::isfinite(key.a))
        return "c and a of " + key.name + " must be positive";
    for (const TunedKey& other : earlier)
        if (other.name == key.name) return key.name + " is listed twice";
    return {};
}

}  // namespace

bool read_key_list(std::istream& in, const std::string& source, std::vector<TunedKey>& keys, std::string& error) {
    morvane::EngineConfig config;
    const std::vector<morvane::ConfigField> fields = morvane::all_fields(config);
    keys.clear();
    int lineNumber = 0;
    for (std::string line; std::getline(in, line);) {
        ++lineNumber;
        line = line.substr(0, line.find('#'));
        std::istringstream words(line);
        TunedKey key;
        if (!(words >> key.name)) continue;
        const morvane::ConfigField* field = find_field(fields, key.name);
        if (field) key.min = field->range.min, key.max = field->range.max;
        std::string problem;
        if (!(words >> key.start >> key.c >> key.a)) problem = "expected: name start c a [min max]";
        else if (long long lo, hi; words >> lo) {
            if (!(words >> hi)) problem = "a minimum needs a maximum";
            else if (lo < INT32_MIN || hi > INT32_MAX) problem = "bounds out of range";
            else key.min = static_cast<int>(lo), key.max = static_cast<int>(hi);
        }
        if (std::string extra; problem.empty() && words >> extra) problem = "unexpected \"" + extra + "\"";
        if (problem.empty()) problem = check_key(key, field, keys);
        if (!problem.empty()) {
            error = source + ":" + std::to_string(lineNumber) + ": " + problem;
            return false;
        }
        keys.push_back(key);
    }
    if (keys.empty()) error = source + ": no keys";
    return !keys.empty();
}

bool is_clock_key(const std::string& name) { return name.rfind("time_", 0) == 0; }

}  // namespace spsa
