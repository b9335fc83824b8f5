// The "--name value" command lines of the developer tools.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace morvane {

class ToolArguments {
public:
    // Every name must be one of `known`; an option may be repeated.
    ToolArguments(int argc, char** argv, const std::vector<std::string>& known);

    bool has(const std::string& name) const { return values_.count(name) > 0; }
    // The last value given, or the fallback.
    std::string text(const std::string& name, const std::string& fallback = "") const;
    std::vector<std::string> all(const std::string& name) const;
    long long integer(const std::string& name, long long fallback);
    double real(const std::string& name, double fallback);

    // The first problem met, parsing or reading a number; empty when none.
    const std::string& error() const { return error_; }

private:
    template <typename T, typename Parse>
    T number(const std::string& name, T fallback, const char* kind, Parse parse);

    std::map<std::string, std::vector<std::string>> values_;
    std::string error_;
};

}  // namespace morvane
