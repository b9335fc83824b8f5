#include "config/safe_ranges.h"

#include <iostream>

namespace morvane {

int clamp_to_safe_ranges(const std::string& path, EngineConfig& config) {
    int corrections = 0;
    for (const ConfigField& field : all_fields(config)) {
        const SafeRange range = field.range;
        for (int i = 0; i < field.count; ++i) {
            int& value = field.ptr[i];
            if (value >= range.min && value <= range.max) continue;
            const int bound = value < range.min ? range.min : range.max;
            const std::string name = field.count == 1 ? field.name : field.name + "[" + std::to_string(i) + "]";
            std::cerr << "info string " << path << " : \"" << name << "\" = " << value << " hors bornes, ramene a "
                      << bound << '\n';
            value = bound;
            ++corrections;
        }
    }
    return corrections;
}

}  // namespace morvane
