#include "common/tool_arguments.h"

#include <algorithm>
#include <cstdlib>

namespace morvane {

ToolArguments::ToolArguments(int argc, char** argv, const std::vector<std::string>& known) {
    for (int i = 1; i < argc && error_.empty(); i += 2) {
        const std::string option = argv[i];
        const std::string name = option.rfind("--", 0) == 0 ? option.substr(2) : "";
        if (std::find(known.begin(), known.end(), name) == known.end()) error_ = "unknown option " + option;
        else if (i + 1 >= argc) error_ = "missing value after " + option;
        else values_[name].push_back(argv[i + 1]);
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

template <typename T, typename Parse>
T ToolArguments::number(const std::string& name, T fallback, const char* kind, Parse parse) {
    if (!has(name)) return fallback;
    const std::string value = text(name);
    char* end = nullptr;
    const T parsed = parse(value.c_str(), &end);
    if (value.empty() || *end != '\0') {
        if (error_.empty()) error_ = "--" + name + " needs " + kind + ", not \"" + value + "\"";
        return fallback;
    }
    return parsed;
}

long long ToolArguments::integer(const std::string& name, long long fallback) {
    return number(name, fallback, "an integer", [](const char* s, char** end) { return std::strtoll(s, end, 10); });
}

double ToolArguments::real(const std::string& name, double fallback) {
    return number(name, fallback, "a number", [](const char* s, char** end) { return std::strtod(s, end); });
}

}  // namespace morvane
