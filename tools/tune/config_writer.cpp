#include "tune/config_writer.h"

#include <algorithm>

namespace morvane {

void write_config(std::ostream& out, const EngineConfig& config, const std::vector<std::string>& header) {
    for (const std::string& line : header) out << "# " << line << '\n';
    // all_fields wants records it may write through; these copies are only read.
    EngineConfig written = config, defaults;
    const std::vector<ConfigField> fields = all_fields(written), defaultFields = all_fields(defaults);
    for (std::size_t f = 0; f < fields.size(); ++f) {
        const ConfigField& field = fields[f];
        if (std::equal(field.ptr, field.ptr + field.count, defaultFields[f].ptr)) continue;
        out << field.name;
        if (field.count == 64) {
            for (int rank = 0; rank < 8; ++rank) {
                out << "\n   ";
                for (int file = 0; file < 8; ++file) out << ' ' << field.ptr[rank * 8 + file];
                out << "  # rank " << rank + 1;
            }
        } else {
            for (int i = 0; i < field.count; ++i) out << ' ' << field.ptr[i];
        }
        out << '\n';
    }
}

}  // namespace morvane
