#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "config/check_options.h"
#include "config/config_loader.h"
#include "search/search_flags.h"
#include "search/tt.h"
#include "tablebase/syzygy.h"
#include "uci/commands.h"
#include "uci/uci_settings.h"

namespace morvane {

namespace {

std::string join_until(std::istringstream& in, const char* stop) {
    std::string joined, token;
    while (in >> token && token != stop) joined += (joined.empty() ? "" : " ") + token;
    return joined;
}

bool check_value(const CheckOption& option) {
    return option.field ? g_config.*option.field != 0 : g_pruningEnabled.load(std::memory_order_relaxed);
}

constexpr int MaxMultiPv = 64;

// Exactly "true" or "false"; anything else is reported and changes nothing.
bool read_bool_option(const std::string& name, const std::string& value, bool& on) {
    if (value == "true" || value == "false") {
        on = value == "true";
        return true;
    }
    std::cerr << "info string valeur booleenne invalide pour " << name << ": " << value << std::endl;
    return false;
}

bool set_check_option(const std::string& name, const std::string& value) {
    for (const CheckOption& option : check_options()) {
        if (name != option.name) continue;
        bool on = false;
        if (!read_bool_option(name, value, on)) return true;
        if (option.field) g_config.*option.field = on ? 1 : 0;
        else g_pruningEnabled.store(on, std::memory_order_relaxed);
        return true;
    }
    return false;
}

// A size in megabytes; the table clamps it to 1..2048. Text that is no
// 32-bit number is reported and leaves the table as it is.
void set_hash_option(const std::string& value) {
    try {
        std::size_t used = 0;
        const long long mb = std::stoll(value, &used, 10);
        if (mb < INT32_MIN || mb > INT32_MAX) throw std::out_of_range("Hash");
        g_tt.resize_mb(static_cast<int>(mb));
    } catch (const std::exception&) {
        std::cerr << "info string valeur Hash invalide: " << value << std::endl;
    }
}

void set_config_path(const std::string& value) {
    if (value.empty()) {
        std::cerr << "info string ConfigPath vide, ignore" << std::endl;
        return;
    }
    int entries = 0;
    const bool loaded = load_config(value, g_config, &entries);
    if (loaded) {
        std::error_code ec;
        const std::filesystem::path absolute = std::filesystem::absolute(value, ec);
        g_uciSettings.config = {ec ? value : absolute.lexically_normal().string(), entries};
    }
    std::cerr << (loaded ? "info string configuration rechargee depuis "
                         : "info string impossible de charger la configuration depuis ")
              << '"' << value << '"' << std::endl;
}

// Lines per depth; out of range is brought to the nearest bound, as GUIs
// expect of a spin option, and text that is no number is reported.
void set_multi_pv(const std::string& value) {
    try {
        const long long lines = std::stoll(value, nullptr, 10);
        g_uciSettings.multiPv = static_cast<int>(std::clamp<long long>(lines, 1, MaxMultiPv));
    } catch (const std::exception&) {
        std::cerr << "info string valeur MultiPV invalide: " << value << std::endl;
    }
}

void set_syzygy_path(const std::string& value) {
    const bool usable = syzygy_init(value);
    std::cerr << "info string SyzygyPath=\"" << value << "\" -> " << (usable ? "actif" : "aucune tablebase disponible")
              << ", max_pieces=" << TB_LARGEST << std::endl;
}

}  // namespace

void print_options(std::ostream& out) {
    out << "option name Hash type spin default 16 min 1 max 2048\n";
    for (const CheckOption& option : check_options())
        out << "option name " << option.name << " type check default " << (check_value(option) ? "true" : "false")
            << '\n';
    out << "option name SyzygyPath type string default <empty>\n";
    out << "option name ConfigPath type string default <empty>\n";
    out << "option name Ponder type check default false\n";
    out << "option name MultiPV type spin default 1 min 1 max " << MaxMultiPv << '\n';
}

void cmd_setoption(std::istringstream& rest) {
    std::string skipped;
    rest >> skipped;  // "name"
    const std::string name = join_until(rest, "value");
    std::string value = join_until(rest, "");
    if (value == "<empty>") value.clear();
    if (name == "Hash") set_hash_option(value);
    else if (name == "SyzygyPath") set_syzygy_path(value);
    else if (name == "ConfigPath") set_config_path(value);
    else if (name == "MultiPV") set_multi_pv(value);
    else if (name == "Ponder") read_bool_option(name, value, g_uciSettings.ponder);
    else if (!set_check_option(name, value)) std::cerr << "info string option inconnue: " << name << std::endl;
}

}  // namespace morvane
