#include "common/tool_arguments.h"

#include <algorithm>
#include <cstdlib>

namespace morvane {

ToolArguments::ToolArguments(int argc, char** argv, const std::vector<std::string>& known) {
    for (int i = 1; i < argc && error_.empty(); i += 2) {
        const std::string option = argv[i];
        const std::string name = option.rfind("--", 0) == 0 ? option.substr(2) : "";
        if (std::find(known.begin(), known.end(), name) == known.end())
            error_ = "unknown option " + option;
        else if (i + 1 >= argc)
            error_ = "missing value after " + option;
        else
            values_[name].push_back(argv[i + 1]);
    }
}

std::string ToolArguments::text(const std::string& name, const std::string& fallback) const {
    const auto it = values_.find(name);
    return it == values_.end() ? fallback : it->second.back();
}

std::vector<std::string> ToolArguments::all(const std::string& name) const {
    const auto it = values_.find(name);
    return it == values_.end() ? std::vector<std::string>{} : it->second;
}

long long ToolArguments::integer(const std::string& name, long long fallback) {
    if (!has(name)) return fallback;
    const std::string value = text(name);
    char* end = nullptr;
    const long long parsed = std::strtoll(value.c_str(), &end, 10);
    if (value.empty() || *end != '\0') {
        if (error_.empty()) error_ = "--" + name + " needs an integer, not \"" + value + "\"";
        return fallback;
    }
    return parsed;
}

double ToolArguments::real(const std::string& name, double fallback) {
    if (!has(name)) return fallback;
    const std::string value = text(name);
    char* end = nullptr;
    const double parsed = std::strtod(value.c_str(), &end);
    if (value.empty() || *end != '\0') {
        if (error_.empty()) error_ = "--" + name + " needs a number, not \"" + value + "\"";
        return fallback;
    }
    return parsed;
}

}  // namespace morvane
