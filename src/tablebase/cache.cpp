// Cache extraction of the embedded tables. A file is trusted by its size
// alone: comparing 12 MB of content at every start would cost more than
// the rare damaged file, and a partly written file always has a wrong size.
#include "tablebase/cache.h"

#include <fstream>
#include <iostream>
#include <system_error>

#include "tablebase/embedded.h"

namespace morvane {

bool write_embedded_file(const std::filesystem::path& dir, const char* name, const unsigned char* data,
                         std::size_t size) {
    std::ofstream out(dir / name, std::ios::binary | std::ios::trunc);
    if (!out) return false;
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    bool ok = !out.fail();
    out.close();
    return ok;
}

std::string extract_embedded_to_cache() {
    std::error_code ec;
    std::filesystem::path tmp = std::filesystem::temp_directory_path(ec);
    if (ec) return "";
    std::filesystem::path dir = tmp / "morvane_syzygy_cache";
    std::filesystem::create_directories(dir, ec);
    if (ec) return "";

    int extracted = 0, cached = 0, failed = 0;
    auto handle = [&](const syzygy_embedded::EmbeddedFile& f) {
        std::error_code sizeError;
        std::uintmax_t size = std::filesystem::file_size(dir / f.name, sizeError);
        if (!sizeError && size == f.size) {
            ++cached;
            return;
        }
        if (write_embedded_file(dir, f.name, f.data, static_cast<std::size_t>(f.size)))
            ++extracted;
        else
            ++failed;
    };
    for (const auto& f : syzygy_embedded::files_3) handle(f);
    for (const auto& f : syzygy_embedded::files_4) handle(f);

    std::cerr << "info string Syzygy (repli embarque) : " << extracted << " fichier(s) extrait(s), " << cached
              << " deja en cache";
    if (failed > 0) std::cerr << ", " << failed << " ECHEC(s) d'ecriture";
    std::cerr << ", dossier=" << dir.string() << "\n";
    return dir.string();
}

}  // namespace morvane
