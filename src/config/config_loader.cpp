#include "config/config_loader.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <iostream>
#include <sstream>
#include <string_view>
#include <unordered_map>

#include "config/safe_ranges.h"
#include "core/file_read.h"

namespace morvane {

namespace {

// Base-10 integer with the standard conversion's leniency: leading blanks
// and sign, trailing characters ignored ("12abc" is 12), nothing out of the
// 32-bit range.
bool parse_int(const std::string& token, int& value) {
    try {
        std::size_t used = 0;
        value = std::stoi(token, &used, 10);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

// A configuration holds a few hundred entries; anything near a megabyte is
// not one, and reading it would only stall the command loop.
constexpr std::size_t maxConfigBytes = 1 << 20;
// Past this many bad entries, or this much text about them, the file is
// plainly not a configuration: the rest are only counted, so that stderr is
// not flooded.
constexpr int maxShownProblems = 20;
constexpr std::size_t maxShownProblemBytes = 4096;
// A single token (or the path itself) can be a megabyte long; messages
// quote only its beginning.
constexpr std::size_t maxQuotedTokenChars = 80;
constexpr std::size_t maxQuotedPathChars = 256;

std::string quoted(const std::string& token, std::size_t limit = maxQuotedTokenChars) {
    return token.size() <= limit ? token : token.substr(0, limit) + "...";
}

std::vector<std::string> read_tokens(std::istream& in) {
    std::vector<std::string> tokens;
    std::string line, token;
    while (std::getline(in, line)) {
        std::istringstream words(line.substr(0, line.find('#')));
        while (words >> token) tokens.push_back(token);
    }
    return tokens;
}

struct Bound {
    int EngineConfig::*field;
    const char* name;
    int bound;
    bool upper;
};

// Values below which (or, once, above which) the engine would misbehave:
// zero piece values, negative depths, an empty aspiration window.
constexpr Bound Bounds[] = {
    {&EngineConfig::material_pawn, "material_pawn", 1, false},
    {&EngineConfig::material_knight, "material_knight", 1, false},
    {&EngineConfig::material_bishop, "material_bishop", 1, false},
    {&EngineConfig::material_rook, "material_rook", 1, false},
    {&EngineConfig::material_queen, "material_queen", 1, false},
    {&EngineConfig::rfp_max_depth, "rfp_max_depth", 0, false},
    {&EngineConfig::futility_max_depth, "futility_max_depth", 0, false},
    {&EngineConfig::razor_max_depth, "razor_max_depth", 0, false},
    {&EngineConfig::lmr_min_depth, "lmr_min_depth", 0, false},
    {&EngineConfig::lmr_min_move_index, "lmr_min_move_index", 0, false},
    {&EngineConfig::iir_min_depth, "iir_min_depth", 0, false},
    {&EngineConfig::null_move_reduction, "null_move_reduction", 0, false},
    {&EngineConfig::aspiration_initial_delta, "aspiration_initial_delta", 1, false},
    {&EngineConfig::king_danger_no_queen_reduction_pct, "king_danger_no_queen_reduction_pct", 0, false},
    {&EngineConfig::king_danger_no_queen_reduction_pct, "king_danger_no_queen_reduction_pct", 100, true},
    {&EngineConfig::king_danger_scale_mg_pct, "king_danger_scale_mg_pct", 0, false},
    {&EngineConfig::king_danger_scale_eg_pct, "king_danger_scale_eg_pct", 0, false},
    {&EngineConfig::threat_see_penalty_pct, "threat_see_penalty_pct", 0, false},
    {&EngineConfig::hanging_piece_penalty_pct, "hanging_piece_penalty_pct", 0, false},
    {&EngineConfig::opposite_bishop_scale_pct, "opposite_bishop_scale_pct", 0, false},
};

void enforce_bounds(const std::string& path, EngineConfig& config) {
    int corrections = 0;
    for (const Bound& b : Bounds) {
        int& value = config.*b.field;
        if (b.upper ? value <= b.bound : value >= b.bound) continue;
        std::cerr << "info string " << path << " : \"" << b.name << "\" = " << value << " hors bornes, ramene a "
                  << b.bound << '\n';
        value = b.bound;
        ++corrections;
    }
    if (corrections)
        std::cerr << "info string " << path << " : " << corrections << " valeur(s) ramenee(s) a une borne minimale\n";
}

}  // namespace

void rescale_to_pawn_100(EngineConfig& config) {
    const double factor = 100.0 / config.material_pawn;
    int rescaled = 0;
    for (const ConfigField& field : all_fields(config)) {
        // Search and clock parameters, ordering scores, ratios and switches
        // keep their values; the pawn sets the scale and is reset below.
        if (field.unit != ParameterUnit::Centipawn || field.name == "material_pawn") continue;
        for (int i = 0; i < field.count; ++i) {
            // Halves round away from zero; a product beyond 32 bits (a huge
            // weight with a tiny pawn) saturates instead of wrapping.
            const double scaled = std::round(field.ptr[i] * factor);
            field.ptr[i] = static_cast<int>(std::clamp(scaled, double(INT_MIN), double(INT_MAX)));
        }
        ++rescaled;
    }
    config.material_pawn = 100;
    std::cerr << "info string remise a l'echelle automatique appliquee (facteur=" << factor << ", " << rescaled
              << " champs)\n";
}

bool load_config(const std::string& fullPath, EngineConfig& config, int* loadedEntries) {
    const std::string path = quoted(fullPath, maxQuotedPathChars);  // as messages show it
    std::string content, problem;
    switch (read_regular_file(fullPath, maxConfigBytes, content, problem)) {
        case FileRead::Missing: return false;
        case FileRead::Refused:
            std::cerr << "info string " << path << " : fichier refuse (" << problem << "), configuration non chargee"
                      << std::endl;
            return false;
        case FileRead::Ok: break;
    }
    std::istringstream file(content);
    const std::vector<std::string> tokens = read_tokens(file);
    int problems = 0, shown = 0;
    std::size_t shownBytes = 0;
    bool silenced = false;
    auto report = [&](const std::string& text) {
        ++problems;
        if (silenced) return;
        const std::string line = "info string " + path + " : " + text + '\n';
        if (shown < maxShownProblems && shownBytes + line.size() <= maxShownProblemBytes) {
            std::cerr << line;
            ++shown;
            shownBytes += line.size();
        }
        if (shown == maxShownProblems || shown < problems) {
            std::cerr << "info string " << path << " : trop d'erreurs, les suivantes sont seulement comptees\n";
            silenced = true;
        }
    };

    const std::vector<ConfigField> fields = all_fields(config);
    std::unordered_map<std::string_view, const ConfigField*> byName;
    for (const ConfigField& f : fields) byName.emplace(f.name, &f);

    int loaded = 0, errors = 0;
    std::vector<int> values;
    for (std::size_t i = 0; i < tokens.size();) {
        const auto it = byName.find(tokens[i]);
        if (it == byName.end()) {
            report("cle inconnue ignoree \"" + quoted(tokens[i]) + "\"");
            ++i;
            continue;
        }
        const ConfigField& field = *it->second;
        const std::size_t n = static_cast<std::size_t>(field.count);
        if (i + n >= tokens.size()) {
            report("valeurs manquantes pour \"" + std::string(field.name) + "\" (attendu " + std::to_string(n) +
                   "), entree ignoree");
            ++errors;
            break;
        }
        values.clear();
        for (std::size_t k = 1; k <= n; ++k) {
            int v = 0;
            if (!parse_int(tokens[i + k], v)) {
                report("valeur non entiere pour \"" + std::string(field.name) + "\" (\"" + quoted(tokens[i + k]) +
                       "\"), entree ignoree");
                ++errors;
                break;
            }
            values.push_back(v);
        }
        if (values.size() == n) {
            std::copy(values.begin(), values.end(), field.ptr);
            ++loaded;
        }
        i += n + 1;
    }
    std::cerr << "info string " << path << " charge (" << loaded << " entrees";
    if (errors) std::cerr << ", " << errors << " erreurs ignorees";
    if (problems > shown) std::cerr << ", " << problems - shown << " messages non affiches";
    std::cerr << ")\n";
    if (loadedEntries) *loadedEntries = loaded;

    enforce_bounds(path, config);
    if (config.auto_rescale_on_load && config.material_pawn != 100) {
        std::cerr << "info string " << path << " : auto_rescale_on_load actif, material_pawn=" << config.material_pawn
                  << " != 100\n";
        rescale_to_pawn_100(config);
    }
    clamp_to_safe_ranges(path, config);  // last: rescaling can push values out again
    std::cerr << std::flush;
    return true;
}

}  // namespace morvane
