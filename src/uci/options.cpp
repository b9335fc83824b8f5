#include <iostream>

#include "uci/commands.h"

namespace morvane {

namespace {

std::string join_until(std::istringstream& in, const char* stop) {
    std::string joined, token;
    while (in >> token && token != stop) joined += (joined.empty() ? "" : " ") + token;
    return joined;
}

}  // namespace

void print_options(std::ostream& out) {
    out << "option name Hash type spin default 16 min 1 max 2048\n";
    out << "option name SyzygyPath type string default <empty>\n";
    out << "option name ConfigPath type string default <empty>\n";
}

void cmd_setoption(std::istringstream& rest) {
    std::string skipped;
    rest >> skipped;  // "name"
    const std::string name = join_until(rest, "value");
    std::string value = join_until(rest, "");
    if (value == "<empty>") value.clear();
    std::cerr << "info string option inconnue: " << name << std::endl;
}

}  // namespace morvane
